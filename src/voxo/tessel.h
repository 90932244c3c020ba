// What the settings daemon is asked and told of clips. Whether it answers makes no difference to
// the caller: without it clips play on.
#pragma once

#include <cstdint>

// Sends one request: a set, or, with `getFlag` not 0, a get. The reply goes into `reply` of
// `replyRoom` bytes, which the caller has filled with zeros; whether there is one is not told. Once
// the daemon's end is asked for, nothing is sent any more. Returns 0.
int voxoSendToTessel(const char *body, const char *method, std::int32_t number3, int getFlag,
                     char *reply, std::uint32_t replyRoom);

// Asks for the status number of two-way audio; 0 without an answer.
int voxoAskTwoWayStatus();

// Tells that a clip plays, or that none does.
void voxoTellClipStarted();
void voxoTellClipStopped();
