#include "vcam/board/acodec_device.h"

#include "audioout/acodec_record.h"

#include <cerrno>

namespace {

constexpr std::uint32_t lowestRateCode = 24;
constexpr std::uint32_t highestRateCode = 26;
constexpr std::uint32_t quietestVolume = 127;

int invalid() {
    errno = EINVAL;
    return -1;
}

int setVolume(Register &place, const AcodecVolumeRecord &record) {
    if (record.volume > quietestVolume || record.mute > 1) {
        return invalid();
    }
    place = record.volume;
    return 0;
}

} // namespace

int AcodecDevice::command(BoardFile & /*file*/, std::uint32_t command, void *record) {
    AcodecRegisters &codec = registers().acodec;
    if (command == ACODEC_CMD_RESET) {
        ++codec.resets;
        codec.rateCode = 0;
        codec.volume[0] = 0;
        codec.volume[1] = 0;
        codec.daclMute = 1;
        boardLog(board(), "acodec: reset\n");
        return 0;
    }
    if (record == nullptr) {
        return refuseRecord();
    }
    const std::uint32_t word = *static_cast<const std::uint32_t *>(record);
    switch (command) {
    case ACODEC_CMD_SET_RATE:
        if (word < lowestRateCode || word > highestRateCode) {
            return invalid();
        }
        codec.rateCode = word;
        return 0;
    case ACODEC_CMD_SET_DACL_VOLUME:
        return setVolume(codec.volume[0], *static_cast<const AcodecVolumeRecord *>(record));
    case ACODEC_CMD_SET_DACR_VOLUME:
        return setVolume(codec.volume[1], *static_cast<const AcodecVolumeRecord *>(record));
    case ACODEC_CMD_SET_DACL_MUTE:
        if (word > 1) {
            return invalid();
        }
        codec.daclMute = word;
        return 0;
    default:
        return refuseCommand();
    }
}
