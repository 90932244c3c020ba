// What the devices of the board share: its registers, its physical memory and its time.
#pragma once

#include "vcam/board/board_time.h"
#include "vcam/board/registers.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

struct Board {
    BoardRegisters &registers;
    int memoryFd; // physical memory: byte n of the file is at physical address n
    BoardTime &time;
    std::uint64_t start = 0; // the clock when this process was started; 0: it is not timed
};

// Bytes that the file of physical memory spans; most of them are never written.
constexpr std::uint64_t physicalMemorySize = std::uint64_t{1} << 32;

// Where the media memory zones hand out blocks.
constexpr std::uint32_t zoneBase = 0x80000000;
constexpr std::uint32_t zoneSize = 0x04000000;
constexpr std::uint32_t pageSize = 0x1000;

// Maps physical memory (whole pages) where its address fits a record's 32-bit word. Null with
// errno.
void *boardMapMemory(const Board &board, std::uint32_t phys, std::size_t length);
void boardUnmapMemory(void *address, std::size_t length);

// Copies `count` (at most 2) blocks of `size` bytes that a caller's record points at, as a driver
// does: an address that is not mapped is an error, not a fault.
struct CallerBlock {
    void *to;
    std::uint32_t from;
};
bool boardCopyFromCaller(const CallerBlock *blocks, std::size_t count, std::size_t size);

// Appends to the kernel's log.
[[gnu::format(printf, 2, 3)]] void boardLog(const Board &board, const char *format, ...);

// Notes how long after its start this process reached a mark, if it is the first to do so.
void boardMark(const Board &board, Register &mark);

// Whether a process runs.
bool isProcessAlive(std::uint32_t pid);

// One open descriptor of a device.
struct BoardFile {
    std::uint32_t channel; // that it was bound to, all ones: none
};

// A device of the board as its driver presents it: what open, ioctl, mmap and read on its file do.
// Results and errno are a driver's.
class BoardDevice {
public:
    explicit BoardDevice(Board &board) : board_(board) {}
    BoardDevice(const BoardDevice &) = delete;
    BoardDevice &operator=(const BoardDevice &) = delete;

    virtual int command(BoardFile &file, std::uint32_t command, void *record);
    virtual void *map(BoardFile &file, std::size_t length, std::uint64_t offset);
    virtual ssize_t read(BoardFile &file, void *buffer, std::size_t size);

protected:
    ~BoardDevice() = default;

    Board &board() const { return board_; }
    BoardRegisters &registers() const { return board_.registers; }

private:
    Board &board_;
};

// Answers of a driver that has no such command, or was handed no record.
int refuseCommand();
int refuseRecord();
