// The SoC layer of the audio output: drives the audio-output unit through the media platform and
// the audio codec through its control.
//
// Results are 0 for success and -1 for failure, reported on standard output. Devices are 0,
// channels 0 to 15. The two channel buffers are the process's, so the operations are for one
// thread.
#pragma once

#include <cstdint>

// Bytes of a block that a channel may carry.
constexpr std::int32_t HI3516A_AO_CHN_BUFFER_SIZE = 16384;

// The platform's sample rate for `rate` in Hz (the same number), or -1 after a report when it has
// none.
std::int32_t xfer_hi3516a_samp_rate(std::int32_t rate);

// The platform's bit-width code for `bits` (8: 0, 16: 1, 24: 2), or -1 after a report.
std::int32_t xfer_hi3516a_bit_width(std::int32_t bits);

// Starts the media platform.
std::int32_t hi3516a_sys_init();

// Waits for the camera's video side ("/var/run/venc.pid": up to 31 looks, 2 seconds apart, then
// goes on) and for the platform's two configurations (up to 9 tries each, 1 second apart, then
// fails); enables device and channel, sets the device's volume to -2 dB, allocates the channel
// buffers. What an earlier step has enabled stays enabled when a later one fails.
std::int32_t hi3516a_ao_open(std::int32_t aoDevId, std::int32_t aoChn);

// Disables channel and device and frees the channel buffers; on failure the buffers are kept.
std::int32_t hi3516a_ao_close(std::int32_t aoDevId, std::int32_t aoChn);

// Drops queued audio.
std::int32_t hi3516a_ao_clear_audio_buffer(std::int32_t aoDevId, std::int32_t aoChn);

// Sets the device's attributes (two channels, 30 frames queued) and prepares the codec: reset,
// sample rate, left side unmuted. `rate` in Hz, `bits` per sample, `points` per frame and channel.
// A rate or width that the platform does not have is reported and handed on as -1, for the driver
// to refuse.
std::int32_t hi3516a_ao_init_cfg(std::int32_t aoDevId, std::int32_t rate, std::int32_t bits,
                                 std::int32_t points);

// Sets the codec's attenuation on both sides.
std::int32_t hi3516a_ao_reset_volume(std::uint32_t volume);

// Sends a block of `bytes` bytes as one frame: interleaved samples, of which the first, third, ...
// go to the second channel buffer and the others to the first. Waits up to 1000 ms for room. -1
// also while the output is not open, and for more than HI3516A_AO_CHN_BUFFER_SIZE bytes a channel.
std::int32_t hi3516a_ao_pcm_write(std::int32_t aoDevId, std::int32_t aoChn, const void *block,
                                  std::int32_t bytes);

// Whether a block of `bytes` bytes has as many points as the device's frames: 0, or -1 after a
// report.
std::int32_t hi3516a_ao_frmPt_check(std::int32_t aoDevId, std::int32_t bytes);

// Reopens the device with as many points per frame as a block of `bytes` bytes has, at the same
// rate and width. The codec is reset with it; its volume is not restored. A block that has no
// point, or a device whose attributes make no sense, is reported and left alone.
std::int32_t hi3516a_ao_pcm_reset(std::int32_t aoDevId, std::int32_t aoChn, std::int32_t bytes);
