#include "vcam/preload/replayed_commands.h"

#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"
#include "vcam/board/answers.h"
#include "vcam/board/command_words.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

const unsigned char *file = nullptr;
std::uint32_t fileSize = 0;

constexpr std::size_t sideRoom = 16384;

bool holds(std::uint32_t offset, std::uint32_t size) {
    return offset <= fileSize && size <= fileSize - offset;
}

// The n-th answer, from 0 on, or null.
const Answer *answerAt(std::uint32_t n) {
    AnswersHead head = {};
    std::memcpy(&head, file, sizeof head);
    const std::uint64_t offset = sizeof head + std::uint64_t{n} * sizeof(Answer);
    if (n >= head.count || offset + sizeof(Answer) > fileSize) {
        return nullptr;
    }
    return reinterpret_cast<const Answer *>(file + offset);
}

// Whether two records are the same, but for what is each process's or each board's own.
bool isSameRecord(std::uint32_t command, const unsigned char *one, const unsigned char *other,
                  std::size_t size) {
    if (isAboutMemory(command)) {
        return true;
    }
    for (std::size_t at = 0; at < size; ++at) {
        if (one[at] != other[at] && !isCallersAddress(command, at / sizeof(std::uint32_t))) {
            return false;
        }
    }
    return true;
}

// Whether the period that a record points at is the one that was handed over then.
bool isSamePeriod(const Answer &answer, const void *record) {
    AoSendRecord send = {};
    std::memcpy(&send, record, sizeof send);
    static unsigned char side[sideRoom];
    for (std::size_t i = 0; i < 2; ++i) {
        if (answer.sides[i] == 0) {
            continue;
        }
        const CallerBlock block = {side, static_cast<std::uint32_t>(send.frame.virAddr[i])};
        const std::uint32_t size = answer.sideSize;
        if (send.frame.len != size || size > sizeof side || !holds(answer.sides[i], size) ||
            !boardCopyFromCaller(&block, 1, size) ||
            std::memcmp(side, file + answer.sides[i], size) != 0) {
            return false;
        }
    }
    return true;
}

void noteDifference(ReplayRegisters &replay, std::uint32_t command, const void *record,
                    bool hasOtherPeriod) {
    const std::size_t size = record != nullptr ? commandRecordSize(command) : 0;
    replay.differsAt = replay.issued.load();
    replay.command = command;
    replay.hasOtherPeriod = hasOtherPeriod ? 1 : 0;
    replay.recordSize = static_cast<std::uint32_t>(size);
    if (record != nullptr) {
        std::memcpy(replay.record, record, size);
    }
}

} // namespace

bool loadAnswers(int fd) {
    struct stat status = {};
    if (fd < 0 || fstat(fd, &status) != 0 ||
        status.st_size < static_cast<off_t>(sizeof(AnswersHead))) {
        return false;
    }
#ifdef SYS_mmap2
    const long address = syscall(SYS_mmap2, nullptr, status.st_size, PROT_READ, MAP_PRIVATE, fd, 0);
#else
    const long address = syscall(SYS_mmap, nullptr, status.st_size, PROT_READ, MAP_PRIVATE, fd, 0);
#endif
    if (address == -1) {
        return false;
    }
    file = reinterpret_cast<const unsigned char *>(address);
    fileSize = static_cast<std::uint32_t>(status.st_size);
    return true;
}

bool isReplaying() {
    return file != nullptr;
}

void compareWithRecorded(ReplayRegisters &replay, std::uint32_t command, const void *record) {
    const Answer *const answer = answerAt(replay.issued++);
    if (replay.differsAt != 0) {
        return;
    }
    const std::uint32_t size =
        record != nullptr ? static_cast<std::uint32_t>(commandRecordSize(command)) : 0;
    if (answer == nullptr || answer->command != command || answer->size != size ||
        !holds(answer->before, size) ||
        (size > 0 && !isSameRecord(command, static_cast<const unsigned char *>(record),
                                   file + answer->before, size))) {
        noteDifference(replay, command, record, false);
    } else if (record != nullptr && answer->sideSize > 0 && !isSamePeriod(*answer, record)) {
        noteDifference(replay, command, record, true);
    }
}

int answerAsRecorded(ReplayRegisters &replay, std::uint32_t command, void *record, int result) {
    const Answer *const answer = answerAt(replay.issued - 1);
    if (replay.differsAt != 0 || answer == nullptr || isAboutMemory(command)) {
        return result;
    }
    const std::size_t size = holds(answer->after, answer->size) ? answer->size : 0;
    for (std::size_t at = 0; at < size; ++at) {
        if (!isCallersAddress(command, at / sizeof(std::uint32_t))) {
            static_cast<unsigned char *>(record)[at] = file[answer->after + at];
        }
    }
    errno = answer->result < 0 ? answer->error : errno;
    return answer->result;
}
