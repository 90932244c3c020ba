// The binder: routes data between the platform's modules without their knowing each other.
//
// A module registers as a sender or as a receiver with its numbers of devices and channels. A
// source channel is bound to destination channels, and what the sender hands to the binder reaches
// the receive callback of every destination bound to that source. A source has at most 64
// destinations, a destination one source.
//
// Results are 0 or an error value of mpp_errors.h. Refusals change nothing and are reported on
// standard error, but for a module id above 51 in a registration or its end, and what a receiver's
// callback returns. Registration is for start-up, from one thread; all else may be called from any
// thread. No callback is called with a lock of the binder held, so a callback may itself send,
// bind, unbind or query.
#pragma once

#include "mpp/include/mpp_errors.h"

#include <cstdint>

constexpr std::uint32_t BIND_MOD_NUM = 52;      // module ids are 0 to 51
constexpr std::uint32_t BIND_DEST_MAX = 64;     // destinations of one source
constexpr std::uint32_t BIND_DATA_TYPE_NUM = 6; // data types are 0 to 5
constexpr std::uint32_t BIND_DATA_AUDIO_FRAME = 5;

// Modules known by a number here.
constexpr std::uint32_t MOD_ID_AO = 22;
constexpr std::uint32_t MOD_ID_ADEC = 24;

// Names a channel.
struct BIND_CHN_S {
    std::uint32_t u32ModId;
    std::uint32_t u32DevId;
    std::uint32_t u32ChnId;
};

// The destinations of a source, oldest binding first.
struct BIND_DEST_S {
    std::uint32_t u32Num;
    BIND_CHN_S astChn[BIND_DEST_MAX];
};

// A sender's registration. pfnNotify (may be null) hears of each change of a source channel's
// bindings, with the destinations as they are then; the binder tells it for module 7 only.
struct BIND_SENDER_S {
    std::uint32_t u32ModId;
    std::uint32_t u32DevCnt;
    std::uint32_t u32ChnCnt; // per device
    void (*pfnNotify)(std::uint32_t dev, std::uint32_t chn, const BIND_DEST_S *destinations);
};

// A receiver's registration. pfnReceive takes data, pfnReset (may be null) resets; the device and
// channel are the destination's.
struct BIND_RECEIVER_S {
    std::uint32_t u32ModId;
    std::uint32_t u32DevCnt;
    std::uint32_t u32ChnCnt; // per device
    std::int32_t (*pfnReceive)(std::uint32_t dev, std::uint32_t chn, std::uint32_t argument,
                               std::uint32_t dataType, void *data);
    void (*pfnReset)(std::uint32_t dev, std::uint32_t chn, void *data);
};

// Starts the binder, empty: registrations and bindings of an earlier start are freed. Returns 0.
std::int32_t SYS_BIND_Init();

// Frees what the binder keeps for sending. Registrations stay until they are taken back.
std::int32_t SYS_BIND_Exit();

// Registers a module. ERR_SYS_NULL_PTR for a null registration or receive callback,
// ERR_SYS_ILLEGAL_PARAM for a module id above 51 or no channels, ERR_SYS_NOT_PERM when the module
// is registered already, ERR_SYS_NOMEM.
std::int32_t SYS_BIND_RegisterSender(const BIND_SENDER_S *sender);
std::int32_t SYS_BIND_RegisterReceiver(const BIND_RECEIVER_S *receiver);

// Takes a registration back and frees what belongs to it. Of its bindings the other side's half
// stays: a destination whose sender has gone counts as bound until it is unbound; a receiver that
// has gone stays among its senders' destinations, what is sent to it is reported and lost, and
// should it register again it is sent to as before, though it counts as unbound.
// ERR_SYS_ILLEGAL_PARAM for a module id above 51, ERR_SYS_NOT_PERM when the module is not
// registered.
std::int32_t SYS_BIND_UnRegisterSender(std::uint32_t modId);
std::int32_t SYS_BIND_UnRegisterReceiver(std::uint32_t modId);

// Binds a destination to a source. ERR_SYS_NULL_PTR; ERR_SYS_ILLEGAL_PARAM for a channel that no
// module has registered; ERR_SYS_NOT_PERM for a destination that has a source or a source with 64
// destinations; ERR_SYS_NOMEM.
std::int32_t SYS_Bind(const BIND_CHN_S *source, const BIND_CHN_S *destination);

// Frees a destination from its source; 0 also when it had none. ERR_SYS_NULL_PTR,
// ERR_SYS_ILLEGAL_PARAM.
std::int32_t SYS_UnBind(const BIND_CHN_S *destination);

// The source of a destination. ERR_SYS_NULL_PTR; ERR_SYS_ILLEGAL_PARAM, also when it has none.
std::int32_t SYS_GetBindbyDest(const BIND_CHN_S *destination, BIND_CHN_S *source);

// The destinations of a source. ERR_SYS_NULL_PTR, ERR_SYS_ILLEGAL_PARAM.
std::int32_t SYS_GetBindbySrc(const BIND_CHN_S *source, BIND_DEST_S *destinations);

// Hands data (not null, of a type from 0 to 5) to every destination bound to the channel, in
// binding order, and returns the callbacks' results combined with bitwise or. ERR_SYS_NULL_PTR;
// ERR_SYS_NOT_PERM when there is no such source or nothing is bound to it. The device is taken as 0
// for modules 5 and 16, the channel as 0 for module 15. A module id above 51 or a data type above 5
// ends the process.
std::int32_t SYS_BIND_SendData(std::uint32_t modId, std::uint32_t dev, std::uint32_t chn,
                               std::uint32_t argument, std::uint32_t dataType, void *data);

// Hands a reset to every destination bound to the channel that takes resets. Returns 0, also when
// nothing is bound; ERR_SYS_NULL_PTR for null data, ERR_SYS_NOT_PERM when there is no such source.
std::int32_t SYS_BIND_ResetData(std::uint32_t modId, std::uint32_t dev, std::uint32_t chn,
                                void *data);
