// The daemon's audio output: five calls that play interleaved PCM blocks on the camera's
// loudspeaker.
//
// Results are 0 for success and -1 for failure; the reason of a failure is reported on standard
// output, by each layer that it passes. The output keeps two sample buffers for the process, so the
// calls are for one thread.
#pragma once

#include <cstdint>

// What an output is opened with.
struct AudioOutParam {
    std::int32_t aoDevId;     // audio-output device, 0
    std::int32_t aoChn;       // its channel, 0 to 15
    std::int32_t iSamprate;   // Hz: 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100 or 48000
    std::int32_t iSampfmt;    // bits per sample: 8, 16 or 24
    std::int32_t iSamp_frmPt; // sample points per frame and channel
};

// Starts the media platform, closes any earlier use of the device, and opens it for two channels.
// Waits for the camera's video side: up to 60 seconds for its process, up to 8 seconds for each of
// two configurations; none of it when the platform is up. A platform start that fails is reported
// and does not stop the opening.
std::int32_t audioout_open(std::int32_t aoDevId, std::int32_t aoChn, std::int32_t iSamprate,
                           std::int32_t iSampfmt, std::int32_t iSamp_frmPt);

// Plays a block of `iFrameSize` bytes (1 or more): interleaved samples of the opened width in the
// processor's byte order, two channels, at most 16384 bytes a channel. May wait up to 1000 ms for
// room in the device. A block that is not accepted is lost; when its size is not the device's frame
// size, the device is reopened for that size, so that the next block of the size is accepted. The
// codec is then at its loudest until the volume is set again. A reopening that failed leaves the
// device closed: blocks of its frame size are refused until audioout_open.
std::int32_t audioout_write(std::int32_t aoDevId, std::int32_t aoChn, const void *block,
                            std::int32_t iFrameSize);

// Sets the codec's output volume on both sides. `volume` is an attenuation code, 0 the loudest,
// that the codec's driver takes as it is.
std::int32_t audioout_set_volume(std::uint32_t volume);

// Drops the audio queued on the channel.
std::int32_t audioout_clear_audio_buffer(std::int32_t aoDevId, std::int32_t aoChn);

// Disables channel and device and frees the sample buffers.
std::int32_t audioout_close(std::int32_t aoDevId, std::int32_t aoChn);
