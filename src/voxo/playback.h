// What every stop of a clip takes, and the exchanges with the settings daemon around it.
#pragma once

#include <cstdint>

// Sends one request to the settings daemon: a set, or, with `getFlag` not 0, a get. The reply goes
// into `reply` of `replyRoom` bytes, which the caller has filled with zeros; whether there is one is
// not told. Once the daemon's end is asked for, nothing is sent any more. Returns 0.
int voxoSendToTessel(const char *body, const char *method, std::int32_t number3, int getFlag,
                     char *reply, std::uint32_t replyRoom);

constexpr int twoWayInProgress = 1;

// Asks whether two-way audio is in progress; if so, stops the clip and reports it stopped. Returns
// the status number, twoWayInProgress when it is.
int voxoCheck2WayAudio();

// Closes the open clip, if there is one.
void voxoReleaseClip();

// Drops what the output still holds of a clip, ends the request for it, and reports that no clip is
// playing.
void voxoEndClip();

// Stops a clip at once, whether one plays or not.
void voxoStopClip();
