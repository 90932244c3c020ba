// The platform's error values: 0xA0000000, the module's id from bit 16 on (1 video buffers, 2
// system and binder, 22 audio output), 0x8000, and the number of the error.
#pragma once

#include <cstdint>

constexpr std::int32_t mppError(std::uint32_t module, std::uint32_t number) {
    return static_cast<std::int32_t>(0xA0000000U | module << 16 | 0x8000U | number);
}

constexpr std::int32_t ERR_VB_ILLEGAL_PARAM = mppError(1, 0x03);
constexpr std::int32_t ERR_VB_NULL_PTR = mppError(1, 0x06);
constexpr std::int32_t ERR_VB_NOMEM = mppError(1, 0x0C);
constexpr std::int32_t ERR_VB_NOT_READY = mppError(1, 0x10);
constexpr std::int32_t ERR_VB_BUSY = mppError(1, 0x12);

constexpr std::int32_t ERR_SYS_ILLEGAL_PARAM = mppError(2, 0x03);
constexpr std::int32_t ERR_SYS_NULL_PTR = mppError(2, 0x06);
constexpr std::int32_t ERR_SYS_NOT_PERM = mppError(2, 0x09);
constexpr std::int32_t ERR_SYS_NOMEM = mppError(2, 0x0C);
constexpr std::int32_t ERR_SYS_NOT_READY = mppError(2, 0x10);

constexpr std::int32_t ERR_AO_INVALID_DEV = mppError(22, 0x01);
constexpr std::int32_t ERR_AO_INVALID_CHN = mppError(22, 0x02);
constexpr std::int32_t ERR_AO_ILLEGAL_PARAM = mppError(22, 0x03);
constexpr std::int32_t ERR_AO_NOT_ENABLED = mppError(22, 0x05);
constexpr std::int32_t ERR_AO_NULL_PTR = mppError(22, 0x06);
constexpr std::int32_t ERR_AO_NOT_CONFIG = mppError(22, 0x07);
constexpr std::int32_t ERR_AO_NOT_MATCH = mppError(22, 0x08);
constexpr std::int32_t ERR_AO_NOT_PERM = mppError(22, 0x09);
constexpr std::int32_t ERR_AO_NOMEM = mppError(22, 0x0C);
constexpr std::int32_t ERR_AO_BUF_FULL = mppError(22, 0x0F);
constexpr std::int32_t ERR_AO_NOT_READY = mppError(22, 0x10);
constexpr std::int32_t ERR_AO_ENGINE = mppError(22, 0x41);
