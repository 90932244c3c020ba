// The audio-quality tuning hook: with the driver in tuning mode, a thread waits for tuning runs and
// lends each to the tuning library "libaqcontrol.so", which it loads when the first run comes.
#pragma once

// Starts the thread when the driver is in tuning mode and no thread exists. Failures are reported
// and have no other effect.
void aqTuningStart();

// Ends the thread, if there is one.
void aqTuningStop();
