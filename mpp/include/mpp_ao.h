// The audio output (AO): one device with 16 channels, each fed with frames that reach the driver in
// periods.
//
// Playing takes HI_MPI_SYS_Init, HI_MPI_AO_SetPubAttr, HI_MPI_AO_Enable, HI_MPI_AO_EnableChn, then
// frames with HI_MPI_AO_SendFrame, then HI_MPI_AO_DisableChn and HI_MPI_AO_Disable. The attributes
// and the device's state live in the driver; an order that it does not like it refuses itself.
//
// Results are 0, an error value of mpp_errors.h, or a driver's result passed through unchanged.
// Most refusals are reported on standard error. Every operation first checks the device (only 0:
// ERR_AO_INVALID_DEV) and, where it takes one, the channel (0 to 15: ERR_AO_INVALID_CHN). Before a
// command "/dev/ao" is opened for its channel, or for the device, if it is not yet
// (ERR_AO_NOT_READY).
//
// All operations may be called from any thread. Those that touch a channel's buffers or processing
// exclude each other, those on different channels never wait for each other; operations on the
// device, resuming, and the channel's state and descriptor take no lock.
#pragma once

#include "mpp/include/mpp_errors.h"

#include <cstdint>

constexpr std::uint32_t AO_DEV_NUM = 1;
constexpr std::uint32_t AO_CHN_NUM = 16;
constexpr std::uint32_t MAX_AO_POINT_NUM = 4096; // points per channel of a frame
constexpr std::uint32_t AO_CIRCLE_SIZE = 32768;  // bytes that wait for the driver, per sub-channel
constexpr std::uint32_t AO_PERIOD_MAX = 16384;   // bytes of a period, per sub-channel

// Sample rates of a sound, in Hz, in rising order. A device may have more.
constexpr std::uint32_t audioSampleRates[] = {8000,  11025, 12000, 16000, 22050,
                                              24000, 32000, 44100, 48000};

enum : std::uint32_t { AUDIO_BIT_WIDTH_8 = 0, AUDIO_BIT_WIDTH_16 = 1, AUDIO_BIT_WIDTH_24 = 2 };
enum : std::uint32_t { AUDIO_SOUND_MODE_MONO = 0, AUDIO_SOUND_MODE_STEREO = 1 };

// Device attributes, as the driver keeps them. A sample takes 1 << enBitwidth bytes: samples of 24
// bits take 4 in everything that is handed to this module. A caller whose samples of 24 bits take
// 3, as those of the daemon's output do, is heard garbled; 8 and 16 bits work from end to end.
struct AIO_ATTR_S {
    std::uint32_t enSamplerate;   // Hz
    std::uint32_t enBitwidth;     // AUDIO_BIT_WIDTH_...
    std::uint32_t enWorkmode;     // of the interface; the driver's
    std::uint32_t enSoundmode;    // AUDIO_SOUND_MODE_...
    std::uint32_t u32EXFlag;      // the driver's
    std::uint32_t u32FrmNum;      // periods that the driver queues
    std::uint32_t u32PtNumPerFrm; // points (samples per sub-channel) of a period
    std::uint32_t u32ChnCnt;      // channels that the device has
    std::uint32_t u32ClkSel;      // the driver's
};
static_assert(sizeof(AIO_ATTR_S) == 36);

// A frame: one block of samples per sub-channel. On the 32-bit target this is also the first part
// of the driver's record.
struct alignas(8) AUDIO_FRAME_S {
    std::uint32_t enBitwidth;    // must be the device's
    std::uint32_t enSoundmode;   // must be the device's
    void *pVirAddr[2];           // samples of the mono or left, and of the right sub-channel
    std::uint32_t u32PhyAddr[2]; // passed to the driver
    std::uint64_t u64TimeStamp;  // passed to the driver
    std::uint32_t u32Seq;        // passed to the driver
    std::uint32_t u32Len;        // bytes of each sub-channel: 1 to 4096 points
    std::uint32_t u32PoolId[2];  // passed to the driver
};

// A channel's state; what is counted is the driver's.
struct AO_CHN_STATE_S {
    std::uint32_t au32Counter[3];
};

// How a change of mute fades; the words are the driver's.
struct AO_FADE_S {
    std::uint32_t au32Word[3];
};

// Where the data before and after voice-quality processing is written to files.
struct AO_DUMP_S {
    std::uint32_t bEnable;
    char acPath[256];        // directory, terminated
    char acName[256];        // last part of the files' names, terminated
    std::uint32_t u32KBytes; // size limit of each file
};
static_assert(sizeof(AO_DUMP_S) == 520);

// What the driver is told of a channel's resampling, for its debug output.
struct AO_RESMP_DBG_S {
    std::uint32_t bEnable;
    std::uint32_t u32PtNumPerFrm;
    std::uint32_t enInSampleRate;
    std::uint32_t enOutSampleRate;
};
static_assert(sizeof(AO_RESMP_DBG_S) == 16);

// What the driver is told of a channel's voice-quality processing; the words are the driver's.
struct AO_VQE_DBG_S {
    std::uint32_t au32Word[272];
};
static_assert(sizeof(AO_VQE_DBG_S) == 1088);

// Attributes of a channel's voice-quality processing.
struct AO_VQE_ATTR_S {
    std::uint32_t u32WorkSampleRate; // Hz, the rate at which the engine works: 8000 or 16000
    std::uint32_t u32FrameSample;    // points that it takes at a time: 1 to 4096
    std::uint32_t au32Effect[14];    // parameters of the effects; the engine's
};

// Start and end of the module, called by the system layer. 0, also when it runs already or not.
std::int32_t MPI_AO_Init();
std::int32_t MPI_AO_Exit();

// Device attributes. ERR_AO_NULL_PTR; which values are allowed is the driver's decision.
std::int32_t HI_MPI_AO_SetPubAttr(std::uint32_t AoDev, const AIO_ATTR_S *pstAttr);
std::int32_t HI_MPI_AO_GetPubAttr(std::uint32_t AoDev, AIO_ATTR_S *pstAttr);
std::int32_t HI_MPI_AO_ClrPubAttr(std::uint32_t AoDev);

std::int32_t HI_MPI_AO_Enable(std::uint32_t AoDev);
std::int32_t HI_MPI_AO_Disable(std::uint32_t AoDev);

// Enables a channel: allocates its buffers, empty. 0 also when it is enabled already, whose buffers
// then stay. ERR_AO_NOMEM, or the driver's refusal; nothing is held then.
std::int32_t HI_MPI_AO_EnableChn(std::uint32_t AoDev, std::uint32_t AoChn);

// Disables a channel, with its resampling and effects, and frees its buffers with what they hold. 0
// also when it is not enabled. When the driver refuses, its result is returned, and the channel is
// disabled here all the same: to disable it again gives 0 and does not ask the driver, until it is
// enabled.
std::int32_t HI_MPI_AO_DisableChn(std::uint32_t AoDev, std::uint32_t AoChn);

std::int32_t HI_MPI_AO_PauseChn(std::uint32_t AoDev, std::uint32_t AoChn);
std::int32_t HI_MPI_AO_ResumeChn(std::uint32_t AoDev, std::uint32_t AoChn);

// Descriptors of "/dev/ao" for select(2) and the like; they stay the module's.
std::int32_t HI_MPI_AO_GetFd(std::uint32_t AoDev, std::uint32_t AoChn);
std::int32_t HI_MPI_AO_GetFileHandle(std::uint32_t AoDev);

// Which sub-channel goes to which side; the modes are the driver's. ERR_AO_NULL_PTR.
std::int32_t HI_MPI_AO_SetTrackMode(std::uint32_t AoDev, std::uint32_t enTrackMode);
std::int32_t HI_MPI_AO_GetTrackMode(std::uint32_t AoDev, std::uint32_t *penTrackMode);

// Direction of the clock, 0 or 1. ERR_AO_ILLEGAL_PARAM, ERR_AO_NULL_PTR.
std::int32_t HI_MPI_AO_SetClkDir(std::uint32_t AoDev, std::uint32_t enClkDir);
std::int32_t HI_MPI_AO_GetClkDir(std::uint32_t AoDev, std::uint32_t *penClkDir);

// Sends a frame. First the driver is handed the periods that already wait whole in the channel's
// circular buffer, for as long as it takes them; then the frame is appended. So a frame reaches the
// driver on a later call, a period that the driver refuses waits for the next call, and the last
// frame stays in the buffer. The caller's memory is only read, and only during the call.
//
// `s32MilliSec`, -1 or more, is how long the driver may wait for room for each period: 0 not at
// all, -1 without limit. The library itself never waits.
//
// ERR_AO_ILLEGAL_PARAM for a time-out below -1, a frame of 0 or more than 4096 points, an unknown
// bit width or sound mode, or device attributes whose period is empty or larger than AO_PERIOD_MAX;
// ERR_AO_NULL_PTR; ERR_AO_NOT_ENABLED; ERR_AO_NOT_PERM when the driver is not ready;
// ERR_AO_NOT_CONFIG when the attributes cannot be read; ERR_AO_NOT_MATCH when the frame's bit width
// or sound mode is not the device's; ERR_AO_ENGINE; ERR_AO_BUF_FULL when the frame does not fit the
// circular buffer, and nothing of it is stored.
std::int32_t HI_MPI_AO_SendFrame(std::uint32_t AoDev, std::uint32_t AoChn,
                                 const AUDIO_FRAME_S *pstFrame, std::int32_t s32MilliSec);

// The receive callback that the module registers with the binder: sends an audio frame (data type
// 5) with time-out -1. Another data type, or no data, ends the process.
std::int32_t MPI_AO_ReceiveFrm(std::uint32_t AoDev, std::uint32_t AoChn, std::uint32_t u32Argument,
                               std::uint32_t enDataType, void *pData);

// Drops what waits in the channel's buffers, in its engine, and in the driver. The channel need not
// be enabled. The buffers are empty even when a later step fails: ERR_AO_NOT_CONFIG, ERR_AO_ENGINE,
// or the driver's result.
std::int32_t HI_MPI_AO_ClearChnBuf(std::uint32_t AoDev, std::uint32_t AoChn);

// ERR_AO_NULL_PTR, or the driver's result.
std::int32_t HI_MPI_AO_QueryChnStat(std::uint32_t AoDev, std::uint32_t AoChn,
                                    AO_CHN_STATE_S *pstState);

// Volume of the device in dB; the range is the driver's. ERR_AO_NULL_PTR.
std::int32_t HI_MPI_AO_SetVolume(std::uint32_t AoDev, std::int32_t s32VolumeDb);
std::int32_t HI_MPI_AO_GetVolume(std::uint32_t AoDev, std::int32_t *ps32VolumeDb);

// Mutes (1) or unmutes (0) the device, with a fade or, given null, without. Asking takes either
// pointer or both: ERR_AO_NULL_PTR without any.
std::int32_t HI_MPI_AO_SetMute(std::uint32_t AoDev, std::uint32_t bEnable,
                               const AO_FADE_S *pstFade);
std::int32_t HI_MPI_AO_GetMute(std::uint32_t AoDev, std::uint32_t *pbEnable, AO_FADE_S *pstFade);

// Resamples a channel's frames from `enInSampleRate` Hz (of audioSampleRates) to the device's rate.
// For an enabled channel of a mono device whose rate differs and is neither 64000 nor 96000. 0 also
// when it is on at the same rate. ERR_AO_NOT_ENABLED, ERR_AO_ILLEGAL_PARAM, ERR_AO_NOT_CONFIG,
// ERR_AO_NOT_PERM, ERR_AO_INVALID_CHN (channel not below the device's channel count),
// ERR_AO_ENGINE.
std::int32_t HI_MPI_AO_EnableReSmp(std::uint32_t AoDev, std::uint32_t AoChn,
                                   std::uint32_t enInSampleRate);
std::int32_t HI_MPI_AO_DisableReSmp(std::uint32_t AoDev, std::uint32_t AoChn);

// Voice-quality processing of a channel, under the same conditions on channel and device: the
// attributes are set while it is off, and before it is enabled (ERR_AO_NOT_PERM). Asking for them
// without any set: ERR_AO_NOT_CONFIG.
std::int32_t HI_MPI_AO_SetVqeAttr(std::uint32_t AoDev, std::uint32_t AoChn,
                                  const AO_VQE_ATTR_S *pstAttr);
std::int32_t HI_MPI_AO_GetVqeAttr(std::uint32_t AoDev, std::uint32_t AoChn, AO_VQE_ATTR_S *pstAttr);
std::int32_t HI_MPI_AO_EnableVqe(std::uint32_t AoDev, std::uint32_t AoChn);
std::int32_t HI_MPI_AO_DisableVqe(std::uint32_t AoDev, std::uint32_t AoChn);

// Multi-band compression of a channel, under the same conditions.
std::int32_t HI_MPI_AO_EnableMBC(std::uint32_t AoDev, std::uint32_t AoChn);
std::int32_t HI_MPI_AO_DisableMBC(std::uint32_t AoDev, std::uint32_t AoChn);

// Asks for a dump of a channel's voice-quality processing, and whether one is on (1) or done (0).
// ERR_AO_NULL_PTR without a message.
std::int32_t HI_MPI_AO_SaveFile(std::uint32_t AoDev, std::uint32_t AoChn, const AO_DUMP_S *pstDump);
std::int32_t HI_MPI_AO_QueryFileStatus(std::uint32_t AoDev, std::uint32_t AoChn,
                                       std::uint32_t *pbEnable);

// Hands the driver a debug record. ERR_AO_NULL_PTR, or the driver's result.
std::int32_t MPI_AO_SetResmpDbgInfo(std::uint32_t AoDev, std::uint32_t AoChn,
                                    const AO_RESMP_DBG_S *pstInfo);
std::int32_t MPI_AO_SetVqeDbgInfo(std::uint32_t AoDev, std::uint32_t AoChn,
                                  const AO_VQE_DBG_S *pstInfo);
