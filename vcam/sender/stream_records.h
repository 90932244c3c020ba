// Stream records as senders make them, sound and unsound ones.
#pragma once

#include "vcam/sender/law_codec.h"

#include <cstdint>
#include <random>
#include <span>
#include <vector>

constexpr std::size_t streamPayload = 640; // bytes of a usual record: 80 ms

using StreamRecord = std::vector<std::uint8_t>;

// Codec information: the law of the payloads to come, or plain 8000 Hz.
StreamRecord lawRecord(Law law);
StreamRecord plainRecord();

// Codec information of another codec, of which the daemon takes the rate.
StreamRecord aacRecord(std::uint32_t rate);
StreamRecord amrRecord(std::uint32_t rate);

// `extra` bytes of further header, of no meaning, stand in front of the payload.
StreamRecord audioRecord(std::span<const std::uint8_t> payload, std::uint32_t extra = 0);

// A record of a type that the daemon passes over.
StreamRecord unknownRecord();

// A datagram of noise: empty, short, too long, with sizes that lie, or, now and then, right.
StreamRecord hostileRecord(std::mt19937 &random);
