// What a camera keeps of its sound.
#pragma once

#include "vcam/camera/camera.h"
#include "vcam/speaker/loudspeaker.h"
#include "vcam/speaker/wav_speaker.h"

// Writes what the loudspeaker plays to the camera's two files, of at most so many bytes of sound.
void keepSound(Loudspeaker &loudspeaker, const CameraDir &dir, LossRegisters &loss,
               std::uint64_t longest = longestWavSound);
