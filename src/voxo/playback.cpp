#include "src/voxo/playback.h"

#include "audioout/audioout.h"
#include "settings/settings_request.h"
#include "src/voxo/context.h"
#include "wav/wav.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::int32_t requestNumber1 = 99;
constexpr std::size_t replyRoom = 256;

} // namespace

int voxoSendToTessel(const char *body, const char *method, std::int32_t number3, int getFlag,
                     char *reply, std::uint32_t room) {
    if (quitRequested != 0) {
        return 0; // each request to a daemon that hangs would keep the end waiting
    }
    SETTINGS_REQUEST request = {};
    request.kind = getFlag == 0 ? SETTINGS_KIND_SET : SETTINGS_KIND_GET;
    std::memcpy(request.method, method, strnlen(method, sizeof request.method - 1));
    request.body = body;
    request.number1 = requestNumber1;
    request.number3 = number3;
    if (settings_request(&request, reply, room) != 0 && room > 0) {
        reply[0] = '\0'; // what a failed request leaves there is no reply
    }
    return 0;
}

int voxoCheck2WayAudio() {
    char reply[replyRoom] = {};
    voxoSendToTessel("status_onlinenum_sip", "Value", 0, 1, reply, sizeof reply);
    const int status = std::atoi(reply);
    std::printf("i2WayAudioStatus = %d\n", status);
    if (status == twoWayInProgress) {
        std::puts("2-way audio in progress");
        voxoStopClip();
    }
    return status;
}

void voxoReleaseClip() {
    if (clipOpen == 0) {
        return;
    }
    if (WAV_Release(&wavHandle) != 0) {
        std::fprintf(stderr, "WAV_Release fail.\n");
    }
    clipOpen = 0;
}

void voxoEndClip() {
    audioout_clear_audio_buffer(voxoContext.audioOut.aoDevId, voxoContext.audioOut.aoChn);
    clipStart = 0;
    char reply[replyRoom] = {};
    voxoSendToTessel("status_audioclip_playing=0", "NameValue", 0, 0, reply, sizeof reply);
}

void voxoStopClip() {
    voxoReleaseClip();
    voxoEndClip();
}
