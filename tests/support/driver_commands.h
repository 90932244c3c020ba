// The drivers' commands by name. The values are written out, apart from the library's own tables,
// so that a slip in those shows.
#pragma once

#include <cstdint>

namespace driverCommand {

constexpr std::uint32_t acodecReset = 0x00004100, acodecSetRate = 0xC0044106,
                        acodecSetLeftVolume = 0xC008410C, acodecSetRightVolume = 0xC008410D,
                        acodecSetMute = 0xC0044112;

constexpr std::uint32_t vbCreatePool = 0xC0244201, vbDestroyPool = 0xC0044202,
                        vbGetBlock = 0xC0244203, vbReleaseBlock = 0xC0044204,
                        vbBlockToPhys = 0xC0044205, vbBlockToPool = 0xC0044206, vbInit = 0x00004207,
                        vbExit = 0x00004208, vbGetConfig = 0x81844209, vbSetConfig = 0x4184420A,
                        vbPoolInfo = 0xC010420B, vbPoolUse = 0xC004420C, vbInitUser = 0x4004420D;

constexpr std::uint32_t logSetLevel = 0x40184C00, logGetLevel = 0xC0184C01,
                        logSetWaitFlag = 0x40044C03;

constexpr std::uint32_t aoBind = 0x40045800, aoSetAttr = 0x40245801, aoGetAttr = 0x80245802,
                        aoEnable = 0x00005803, aoDisable = 0x00005804, aoSend = 0xC0785805,
                        aoEnableChn = 0x00005806, aoDisableChn = 0x00005807,
                        aoPauseChn = 0x00005808, aoResumeChn = 0x00005809, aoClearChn = 0x0000580C,
                        aoSetResampleDebug = 0x4010580E, aoSetVqeDebug = 0x4440580F,
                        aoSetTrackMode = 0x40045810, aoSetClkDir = 0x40045812,
                        aoSetVolume = 0x40045814, aoSetMute = 0x40105816, aoGetMute = 0xC0105817,
                        aoClearAttr = 0x00005818, aoSetDump = 0x42085819, aoGetDump = 0x8208581A,
                        aoGetReady = 0x8004581B;

constexpr std::uint32_t sysInit = 0x00005900, sysExit = 0x00005901, sysSetConfig = 0x40045902,
                        sysGetConfig = 0x80045903, sysGetKernelConfig = 0x8008590E,
                        sysFlushCache = 0x400C5915, sysGetTuningMode = 0x80045918,
                        sysWaitTuning = 0xC008591A, sysWakeTuning = 0x0000591B;

constexpr std::uint32_t mmzFlushAll = 0x00006328, mmzFlushRange = 0x400C6432, mmzAlloc = 0xC04C6D0A,
                        mmzFree = 0x404C6D0C, mmzMap = 0xC04C6D14, mmzMapCached = 0xC04C6D15,
                        mmzUnmap = 0xC04C6D16, mmzLookUp = 0xC04C6D17;

} // namespace driverCommand
