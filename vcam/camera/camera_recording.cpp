#include "vcam/camera/camera_recording.h"

void keepSound(Loudspeaker &loudspeaker, const CameraDir &dir, LossRegisters &loss,
               std::uint64_t longest) {
    loudspeaker.addRaw(
        std::make_unique<WavSpeaker>(dir.rawSpeakerFile(), Gaps::leftOut, loss, longest));
    loudspeaker.addHeard(
        std::make_unique<WavSpeaker>(dir.speakerFile(), Gaps::kept, loss, longest));
}
