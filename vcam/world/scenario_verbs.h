// The verbs of scenarios, and what goes with each.
//
// Deeds
//     cast: FILE, noise or tone    streams it as G.711 records
//           law: alaw or ulaw; seconds, seed, hertz: of noise and tones; payload: bytes of a record;
//           fast: yes: as fast as it is taken
//     conf: alaw, ulaw or plain    codec information alone
//     record: HEX                  a datagram as it stands
//     clip: FILE, noise or tone    names a clip and starts it; with a / in front: a path of the
//                                  camera, as it stands
//           seconds, seed; rate, channels, bits: of the WAV file that is made
//     stop: clip                   stops whatever plays
//     message: TEXT                a message with this body; type: 1 to 4
//     bytes: HEX                   into the FIFO as they stand
//     talk: on or off              two-way audio
//     set: KEY                     a setting; to: its value
//     signal: TERM, INT, HUP, KILL, USR1 or PIPE, to the daemon
//     fail: CALL or COMMAND        makes its nth issue from now on fail; result: of a command
//     tessel: good, slow, silent, garbage, full or gone; delay: of a slow one, in seconds
//     file: PATH                   a file of the camera appears or changes; text: what it holds
//     vanish: PATH                 it goes
//     video: here or gone          the video side, which the output waits for
//     start: daemon                the next one, when one has ended
// Expectations: with `within`, that it comes so many seconds after the step's time at the latest;
// without, that it has come before it, or is so then.
//     log: TEXT                    a line of the daemon or the system log holds it
//     never: TEXT                  no line or request so far, or since `since`, holds it
//     request: TEXT                of the settings daemon
//     gain: NUMBER                 of the codec, both sides
//     sound: FILE, noise or tone   what was heard since `since` (seconds) is the beginning of that, at
//           least `least` seconds of it (else all); law: if it was cast; seconds, seed, hertz
//     silence: SECONDS             nothing was heard for so long
//     exit: STATUS                 of the daemon's last end; 128 and the signal's number if one ended it
//     encoder: COUNT               of signals that the audio encoder has had
//     path: PATH                   of the camera; is: there or gone
#pragma once

#include "vcam/world/scenario.h"

bool isVerb(const std::string &word);

// Throws a CameraError with the step's place for what no verb takes.
void checkStep(const Step &step);

// When a step has had its effect, or its expectation is over.
Moment endOfStep(const Step &step);
