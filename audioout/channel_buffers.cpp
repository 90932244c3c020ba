#include "audioout/channel_buffers.h"

#include "audioout/hi3516a_ao.h"

#include <cstdlib>

namespace {

unsigned char *buffers[2];

} // namespace

bool channelBuffersAllocate() {
    for (unsigned char *&buffer : buffers) {
        if (buffer == nullptr) {
            buffer = static_cast<unsigned char *>(std::calloc(1, HI3516A_AO_CHN_BUFFER_SIZE));
        }
        if (buffer == nullptr) {
            channelBuffersFree();
            return false;
        }
    }
    return true;
}

void channelBuffersFree() {
    for (unsigned char *&buffer : buffers) {
        std::free(buffer);
        buffer = nullptr;
    }
}

unsigned char *channelBuffer(std::uint32_t index) {
    return buffers[index];
}
