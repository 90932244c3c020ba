#include "mpp/code/shelf/audio/audio/mpi/src/mpi_adec.h"

#include "mpp/include/mpp_bind.h"

namespace {

constexpr std::uint32_t deviceCount = 1;
constexpr std::uint32_t channelCount = 32;

bool isInitialised = false;

} // namespace

std::int32_t MPI_ADEC_Init() {
    if (isInitialised) {
        return 0;
    }
    const BIND_SENDER_S sender = {MOD_ID_ADEC, deviceCount, channelCount, nullptr};
    if (SYS_BIND_RegisterSender(&sender) != 0) {
        return -1;
    }
    isInitialised = true;
    return 0;
}

std::int32_t MPI_ADEC_Exit() {
    if (isInitialised) {
        SYS_BIND_UnRegisterSender(MOD_ID_ADEC);
        isInitialised = false;
    }
    return 0;
}
