// One request to the settings daemon over its local stream socket: connect, send the text, read the
// reply, close. Nothing is kept between calls.
//
// The request is a line, "get METHOD N1 N3", "set METHOD N1 N2 N3" or "apply METHOD N1 N2
// ARGUMENT", and the body behind its line feed, at most 8190 characters in all; a longer one is
// cut. The reply is free text of the settings daemon's choice.
#pragma once

#include <cstdint>

enum : std::uint32_t {
    SETTINGS_KIND_GET = 0,
    SETTINGS_KIND_SET = 1,
    SETTINGS_KIND_APPLY = 2,
};

// Zero-filled and set by the caller; only read here.
struct SETTINGS_REQUEST {
    std::uint32_t kind;      // SETTINGS_KIND_...
    char method[16];         // terminated, not empty
    char applyArgument[128]; // terminated; not empty when the kind is apply, else not used
    const char *body;        // terminated, not owned, not null
    std::int32_t number1;    // the settings daemon's; the camera's programs send 99, 0 and 0
    std::int32_t number2;    // not sent with a get
    std::int32_t number3;    // not sent with an apply
};

// Sends `request` to the daemon at "/tmp/tessel". Connecting, sending and each read of the reply
// wait at most 10 seconds; a signal ends only a read.
//
// With a reply buffer of `room` bytes, one read is made: success means that its text, terminated,
// is in the buffer; a reply of `room` bytes or more is a failure. Without one (null), the reply is
// copied to standard output until the daemon closes.
//
// Returns 0, or -1 with the reason on standard output (none for a request that is refused before
// connecting and for a reply that does not fit); the buffer's contents are then unspecified.
std::int32_t settings_request(const SETTINGS_REQUEST *request, char *reply, std::uint32_t room);
