#include "vcam/board/mem_device.h"

void *MemDevice::map(BoardFile & /*file*/, std::size_t length, std::uint64_t offset) {
    return boardMapMemory(board(), static_cast<std::uint32_t>(offset), length);
}
