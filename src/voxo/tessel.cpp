#include "src/voxo/tessel.h"

#include "settings/settings_request.h"
#include "src/voxo/context.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::int32_t requestNumber1 = 99;
constexpr std::size_t statusRoom = 64;
constexpr std::size_t startedReplyRoom = 128;
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

int voxoAskTwoWayStatus() {
    char reply[replyRoom] = {};
    voxoSendToTessel("status_onlinenum_sip", "Value", 0, 1, reply, sizeof reply);
    return std::atoi(reply);
}

void voxoTellClipStarted() {
    char status[statusRoom] = {};
    std::snprintf(status, sizeof status, "status_audioclip_playing=%d\n", clipStart);
    std::printf("Send to tessel: %s\n", status);
    char reply[startedReplyRoom] = {};
    voxoSendToTessel(status, "NameValue", 0, 0, reply, sizeof reply);
}

void voxoTellClipStopped() {
    char reply[replyRoom] = {};
    voxoSendToTessel("status_audioclip_playing=0", "NameValue", 0, 0, reply, sizeof reply);
}
