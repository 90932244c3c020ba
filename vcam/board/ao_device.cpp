#include "vcam/board/ao_device.h"

#include "base/among.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"
#include "mpp/include/mpp_ao.h"
#include "vcam/board/ao_queue.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace {

constexpr std::uint32_t highRates[] = {64000, 96000}; // besides a sound's
constexpr std::uint32_t fewestFrames = 2;
constexpr std::uint32_t fewestPoints = 80;
constexpr std::uint32_t mostPoints = 4096;
constexpr std::int32_t quietestDb = -121;
constexpr std::int32_t loudestDb = 6;
constexpr std::uint32_t trackModes = 8;
constexpr std::uint64_t forever = UINT64_MAX;

// Word of the attributes that holds how many periods are queued.
constexpr std::size_t frameNumWord = offsetof(AIO_ATTR_S, u32FrmNum) / sizeof(std::uint32_t);

// A sender that waits without limit looks this often whether anybody still plays.
constexpr std::uint64_t dacLook = 100 * nanosecondsPerMillisecond;

bool isAllowed(const AIO_ATTR_S &attr) {
    return (isAmong(audioSampleRates, attr.enSamplerate) ||
            isAmong(highRates, attr.enSamplerate)) &&
           attr.enBitwidth <= AUDIO_BIT_WIDTH_24 && attr.enWorkmode <= 3 &&
           attr.enSoundmode <= AUDIO_SOUND_MODE_STEREO && attr.u32FrmNum >= fewestFrames &&
           attr.u32FrmNum <= aoQueueRoom && attr.u32PtNumPerFrm >= fewestPoints &&
           attr.u32PtNumPerFrm <= mostPoints && attr.u32ChnCnt >= 1 &&
           attr.u32ChnCnt <= aoChannelCount && attr.u32ClkSel <= 1;
}

void copyWords(Register *to, const void *from, std::size_t words) {
    for (std::size_t i = 0; i < words; ++i) {
        to[i] = static_cast<const std::uint32_t *>(from)[i];
    }
}

void copyWords(void *to, const Register *from, std::size_t words) {
    for (std::size_t i = 0; i < words; ++i) {
        static_cast<std::uint32_t *>(to)[i] = from[i];
    }
}

int setWithin(Register &place, std::uint32_t value, std::uint32_t highest) {
    if (value > highest) {
        return ERR_AO_ILLEGAL_PARAM;
    }
    place = value;
    return 0;
}

} // namespace

int AoDevice::command(BoardFile &file, std::uint32_t command, void *record) {
    if ((command >> 16 & 0x3FFF) != 0 && record == nullptr) {
        return refuseRecord();
    }
    if (command == AO_CMD_BIND) {
        file.channel = *static_cast<const std::uint32_t *>(record);
        return file.channel < aoChannelCount ? 0 : ERR_AO_INVALID_CHN;
    }
    if (file.channel >= aoChannelCount) {
        return ERR_AO_NOT_READY;
    }
    switch (command) {
    case AO_CMD_SEND:
    case AO_CMD_ENABLE_CHN:
    case AO_CMD_DISABLE_CHN:
    case AO_CMD_PAUSE_CHN:
    case AO_CMD_RESUME_CHN:
    case AO_CMD_CLEAR_CHN_BUF:
    case AO_CMD_QUERY_CHN_STAT:
    case AO_CMD_SET_RESMP_DBG:
    case AO_CMD_SET_VQE_DBG:
    case AO_CMD_SET_DUMP:
    case AO_CMD_GET_DUMP:
    case AO_CMD_GET_READY:
        return channelCommand(file.channel, command, record);
    default:
        return deviceCommand(command, record);
    }
}

int AoDevice::deviceCommand(std::uint32_t command, void *record) {
    AoRegisters &ao = registers().ao;
    auto *const word = static_cast<std::uint32_t *>(record);
    switch (command) {
    case AO_CMD_SET_PUB_ATTR:
        return setAttr(word);
    case AO_CMD_GET_PUB_ATTR:
        copyWords(record, ao.attr, std::size(ao.attr));
        return ao.hasAttr != 0 ? 0 : ERR_AO_NOT_CONFIG;
    case AO_CMD_CLR_PUB_ATTR:
        if (ao.enabled != 0) {
            return ERR_AO_NOT_PERM;
        }
        ao.hasAttr = 0;
        return 0;
    case AO_CMD_ENABLE:
        return enable();
    case AO_CMD_DISABLE:
        return disable();
    case AO_CMD_SET_TRACK_MODE:
        return setWithin(ao.trackMode, *word, trackModes - 1);
    case AO_CMD_GET_TRACK_MODE:
        *word = ao.trackMode;
        return 0;
    case AO_CMD_SET_CLK_DIR:
        return setWithin(ao.clkDir, *word, 1);
    case AO_CMD_GET_CLK_DIR:
        *word = ao.clkDir;
        return 0;
    case AO_CMD_SET_VOLUME: {
        const auto decibels = static_cast<std::int32_t>(*word);
        if (decibels < quietestDb || decibels > loudestDb) {
            return ERR_AO_ILLEGAL_PARAM;
        }
        ao.volumeDb = *word;
        return 0;
    }
    case AO_CMD_GET_VOLUME:
        *word = ao.volumeDb;
        return 0;
    case AO_CMD_SET_MUTE:
        copyWords(ao.mute, record, std::size(ao.mute));
        return 0;
    case AO_CMD_GET_MUTE:
        copyWords(record, ao.mute, std::size(ao.mute));
        return 0;
    default:
        return refuseCommand();
    }
}

int AoDevice::setAttr(const std::uint32_t *attr) {
    AoRegisters &ao = registers().ao;
    AIO_ATTR_S wanted = {};
    std::memcpy(&wanted, attr, sizeof wanted);
    if (!isAllowed(wanted)) {
        return ERR_AO_ILLEGAL_PARAM;
    }
    if (ao.enabled != 0) {
        return ERR_AO_NOT_PERM;
    }
    copyWords(ao.attr, attr, std::size(ao.attr));
    ao.hasAttr = 1;
    return 0;
}

int AoDevice::enable() {
    AoRegisters &ao = registers().ao;
    if (ao.hasAttr == 0) {
        return ERR_AO_NOT_CONFIG;
    }
    ao.enabled = 1;
    boardLog(board(), "ao: device enabled\n");
    boardMark(board(), registers().start.deviceOpen);
    announce();
    return 0;
}

int AoDevice::disable() {
    AoRegisters &ao = registers().ao;
    for (AoChannelRegisters &channel : ao.channels) {
        if (channel.enabled == 0) {
            continue;
        }
        if (isProcessAlive(channel.owner)) {
            return ERR_AO_NOT_PERM;
        }
        disableChannel(channel); // the kernel has closed the descriptors of a process that died
    }
    ao.enabled = 0;
    boardLog(board(), "ao: device disabled\n");
    announce();
    return 0;
}

int AoDevice::channelCommand(std::uint32_t number, std::uint32_t command, void *record) {
    AoRegisters &ao = registers().ao;
    AoChannelRegisters &channel = ao.channels[number];
    switch (command) {
    case AO_CMD_SEND:
        return send(number, *static_cast<const AoSendRecord *>(record));
    case AO_CMD_ENABLE_CHN:
        return enableChannel(channel);
    case AO_CMD_DISABLE_CHN:
        disableChannel(channel);
        return 0;
    case AO_CMD_PAUSE_CHN:
    case AO_CMD_RESUME_CHN:
        if (channel.enabled == 0) {
            return ERR_AO_NOT_ENABLED;
        }
        channel.paused = command == AO_CMD_PAUSE_CHN ? 1 : 0;
        announce();
        return 0;
    case AO_CMD_CLEAR_CHN_BUF:
        clear(channel);
        return 0;
    case AO_CMD_QUERY_CHN_STAT: {
        const std::uint32_t total = ao.attr[frameNumWord];
        const std::uint32_t busy = aoQueueFill(channel);
        *static_cast<AO_CHN_STATE_S *>(record) = {{total, total - std::min(busy, total), busy}};
        return 0;
    }
    case AO_CMD_SET_RESMP_DBG:
        copyWords(channel.resampleDebug, record, std::size(channel.resampleDebug));
        return 0;
    case AO_CMD_SET_VQE_DBG:
        ++channel.vqeDebugWrites;
        return 0;
    case AO_CMD_SET_DUMP:
        std::memcpy(channel.dump, record, sizeof channel.dump);
        return 0;
    case AO_CMD_GET_DUMP:
        std::memcpy(record, channel.dump, sizeof channel.dump);
        return 0;
    default: // AO_CMD_GET_READY
        *static_cast<std::uint32_t *>(record) = ao.enabled != 0 && channel.enabled != 0 ? 1 : 0;
        return 0;
    }
}

int AoDevice::enableChannel(AoChannelRegisters &channel) {
    if (registers().ao.enabled == 0) {
        return ERR_AO_NOT_ENABLED;
    }
    clear(channel);
    channel.paused = 0;
    channel.owner = static_cast<std::uint32_t>(getpid());
    channel.enabled = 1;
    return 0;
}

void AoDevice::disableChannel(AoChannelRegisters &channel) {
    clear(channel);
    channel.enabled = 0;
}

int AoDevice::send(std::uint32_t number, const AoSendRecord &record) {
    AoRegisters &ao = registers().ao;
    AoChannelRegisters &channel = ao.channels[number];
    if (ao.enabled == 0 || channel.enabled == 0) {
        return ERR_AO_NOT_ENABLED;
    }
    channel.owner =
        static_cast<std::uint32_t>(getpid()); // it may have detached since it enabled it
    AIO_ATTR_S attr = {};
    copyWords(&attr, ao.attr, std::size(ao.attr));
    const AoFrameRecord &frame = record.frame;
    if (frame.enBitwidth != attr.enBitwidth || frame.enSoundmode != attr.enSoundmode ||
        frame.len != attr.u32PtNumPerFrm << attr.enBitwidth) {
        return ERR_AO_NOT_MATCH;
    }
    boardMark(board(), registers().start.firstPeriod);
    if (registers().pace == paceDropped) {
        ++channel.queued;
        channel.played = channel.queued.load();
        ++ao.periodsPlayed;
        return 0;
    }
    if (!waitForRoom(channel, record.s32MilliSec)) {
        ++channel.refused;
        return ERR_AO_BUF_FULL;
    }
    AoPeriodSlot &slot = registers().queue[number][channel.queued % aoQueueRoom];
    slot.bytes = frame.len;
    slot.subChannels = attr.enSoundmode + 1;
    const CallerBlock blocks[] = {{slot.data[0], frame.virAddr[0]},
                                  {slot.data[1], frame.virAddr[1]}};
    if (!boardCopyFromCaller(blocks, slot.subChannels, frame.len)) {
        return -1;
    }
    ++channel.queued;
    announce();
    return 0;
}

bool AoDevice::waitForRoom(const AoChannelRegisters &channel, std::int32_t milliSec) {
    AoRegisters &ao = registers().ao;
    BoardTime &time = board().time;
    const std::uint64_t deadline =
        milliSec < 0
            ? forever
            : time.now() + static_cast<std::uint64_t>(milliSec) * nanosecondsPerMillisecond;
    for (;;) {
        const std::uint32_t seen = ao.space;
        if (aoQueueFill(channel) < ao.attr[frameNumWord] && aoQueueHasSlot(channel)) {
            return true;
        }
        const std::uint64_t now = time.now();
        if (now >= deadline || (deadline == forever && !isProcessAlive(registers().dacPid))) {
            return false;
        }
        time.waitForChange(ao.space, seen, std::min(deadline, now + dacLook));
    }
}

// Drops what waits. The DAC lets go of the slots when it sees it.
void AoDevice::clear(AoChannelRegisters &channel) {
    channel.flushed = channel.queued.load();
    announce();
}

void AoDevice::announce() {
    ++registers().ao.work;
    board().time.wake(registers().ao.work);
}
