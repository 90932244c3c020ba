// The drivers' commands by name. The values are written out, apart from the library's own tables,
// so that a slip in those shows.
#pragma once

#include <cstdint>

namespace driverCommand {

constexpr std::uint32_t acodecReset = 0x00004100;
constexpr std::uint32_t acodecSetRate = 0xC0044106;
constexpr std::uint32_t acodecSetLeftVolume = 0xC008410C;
constexpr std::uint32_t acodecSetRightVolume = 0xC008410D;
constexpr std::uint32_t acodecSetMute = 0xC0044112;

constexpr std::uint32_t vbCreatePool = 0xC0244201;
constexpr std::uint32_t vbDestroyPool = 0xC0044202;
constexpr std::uint32_t vbGetBlock = 0xC0244203;
constexpr std::uint32_t vbReleaseBlock = 0xC0044204;
constexpr std::uint32_t vbBlockToPhys = 0xC0044205;
constexpr std::uint32_t vbBlockToPool = 0xC0044206;
constexpr std::uint32_t vbInit = 0x00004207;
constexpr std::uint32_t vbExit = 0x00004208;
constexpr std::uint32_t vbGetConfig = 0x81844209;
constexpr std::uint32_t vbSetConfig = 0x4184420A;
constexpr std::uint32_t vbPoolInfo = 0xC010420B;
constexpr std::uint32_t vbPoolUse = 0xC004420C;
constexpr std::uint32_t vbInitUser = 0x4004420D;

constexpr std::uint32_t logSetLevel = 0x40184C00;
constexpr std::uint32_t logGetLevel = 0xC0184C01;
constexpr std::uint32_t logSetWaitFlag = 0x40044C03;

constexpr std::uint32_t aoBind = 0x40045800;
constexpr std::uint32_t aoSetAttr = 0x40245801;
constexpr std::uint32_t aoGetAttr = 0x80245802;
constexpr std::uint32_t aoEnable = 0x00005803;
constexpr std::uint32_t aoDisable = 0x00005804;
constexpr std::uint32_t aoSend = 0xC0785805;
constexpr std::uint32_t aoEnableChn = 0x00005806;
constexpr std::uint32_t aoDisableChn = 0x00005807;
constexpr std::uint32_t aoPauseChn = 0x00005808;
constexpr std::uint32_t aoResumeChn = 0x00005809;
constexpr std::uint32_t aoClearChn = 0x0000580C;
constexpr std::uint32_t aoSetResampleDebug = 0x4010580E;
constexpr std::uint32_t aoSetVqeDebug = 0x4440580F;
constexpr std::uint32_t aoSetTrackMode = 0x40045810;
constexpr std::uint32_t aoSetClkDir = 0x40045812;
constexpr std::uint32_t aoSetVolume = 0x40045814;
constexpr std::uint32_t aoSetMute = 0x40105816;
constexpr std::uint32_t aoGetMute = 0xC0105817;
constexpr std::uint32_t aoClearAttr = 0x00005818;
constexpr std::uint32_t aoSetDump = 0x42085819;
constexpr std::uint32_t aoGetDump = 0x8208581A;
constexpr std::uint32_t aoGetReady = 0x8004581B;

constexpr std::uint32_t sysInit = 0x00005900;
constexpr std::uint32_t sysExit = 0x00005901;
constexpr std::uint32_t sysSetConfig = 0x40045902;
constexpr std::uint32_t sysGetConfig = 0x80045903;
constexpr std::uint32_t sysGetKernelConfig = 0x8008590E;
constexpr std::uint32_t sysFlushCache = 0x400C5915;
constexpr std::uint32_t sysGetTuningMode = 0x80045918;
constexpr std::uint32_t sysWaitTuning = 0xC008591A;
constexpr std::uint32_t sysWakeTuning = 0x0000591B;

constexpr std::uint32_t mmzFlushAll = 0x00006328;
constexpr std::uint32_t mmzFlushRange = 0x400C6432;
constexpr std::uint32_t mmzAlloc = 0xC04C6D0A;
constexpr std::uint32_t mmzFree = 0x404C6D0C;
constexpr std::uint32_t mmzMap = 0xC04C6D14;
constexpr std::uint32_t mmzMapCached = 0xC04C6D15;
constexpr std::uint32_t mmzUnmap = 0xC04C6D16;
constexpr std::uint32_t mmzLookUp = 0xC04C6D17;

} // namespace driverCommand
