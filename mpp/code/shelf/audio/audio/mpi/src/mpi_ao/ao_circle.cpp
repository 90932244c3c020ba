#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_circle.h"

#include "mpp/code/mpp_report.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_device.h"

#include <cstring>

namespace {

constexpr std::uint32_t device = 0;

void assertWrapped(const AoCircle &circle, CallSite site) {
    mppAssert(circle.bWriteJump != 0, "HI_TRUE == pstAoChn->stCirBuf[u32Chn].bWriteJump", site);
}

void assertNotWrapped(const AoCircle &circle, CallSite site) {
    mppAssert(circle.bWriteJump == 0, "HI_FALSE == pstAoChn->stCirBuf[u32Chn].bWriteJump", site);
}

// The period's bytes by the device's attributes as they are now: false when they cannot be read, or
// tell no period that can be.
bool readPeriod(std::uint32_t bitWidth, std::uint32_t *period, CallSite site) {
    AIO_ATTR_S attr = {};
    if (aoReadAttr(&attr) != 0) {
        mppReport(site, "Get AO(%d) pub attr failed.\n", shown(device));
        return false;
    }
    *period = aoPeriodBytes(attr.u32PtNumPerFrm, bitWidth);
    return *period != 0;
}

bool holds(const AoCircle &circle, std::uint32_t period, CallSite site) {
    const std::uint32_t end = circle.u32Read + period;
    if (circle.u32Read == circle.u32Write) {
        return circle.bWriteJump != 0;
    }
    if (circle.u32Read < circle.u32Write) {
        assertNotWrapped(circle, site);
        return end <= circle.u32Write;
    }
    assertWrapped(circle, site);
    return end <= circle.length || end - circle.length <= circle.u32Write;
}

void moveReader(AoCircle &circle, std::uint32_t period, CallSite site) {
    const std::uint32_t end = circle.u32Read + period;
    if (circle.u32Read < circle.u32Write) {
        assertNotWrapped(circle, site);
        mppAssert(end <= circle.u32Write, "0", site);
        circle.u32Read = end;
    } else {
        assertWrapped(circle, site);
        if (end > circle.length) {
            mppAssert(end - circle.length <= circle.u32Write, "0", site);
            circle.u32Read = end - circle.length;
            circle.bWriteJump = 0;
        } else {
            circle.u32Read = end;
        }
    }
    if (circle.u32Read == circle.length) {
        circle.u32Read = 0;
        circle.bWriteJump = 0;
    }
}

bool hasRoom(const AoCircle &circle, std::uint32_t size, CallSite site) {
    const std::uint64_t end = std::uint64_t{circle.u32Write} + size;
    if (circle.u32Write == circle.u32Read) {
        return circle.bWriteJump == 0 && size <= circle.length;
    }
    if (circle.u32Write < circle.u32Read) {
        assertWrapped(circle, site);
        return end <= circle.u32Read;
    }
    assertNotWrapped(circle, site);
    return end <= circle.length || end - circle.length <= circle.u32Read;
}

} // namespace

std::uint32_t aoPeriodBytes(std::uint32_t points, std::uint32_t bitWidth) {
    if (bitWidth > AUDIO_BIT_WIDTH_24 || points > AO_PERIOD_MAX >> bitWidth) {
        return 0;
    }
    return points << bitWidth;
}

void aoClearCircle(AoCircle &circle) {
    circle.u32Read = 0;
    circle.u32Write = 0;
    circle.bWriteJump = 0;
}

std::int32_t MPI_AO_QueryCircleBufferWriteData(std::uint32_t chn, std::uint32_t k,
                                               const AUDIO_FRAME_S *frame) {
    return hasRoom(aoChannels[chn].stCirBuf[k], frame->u32Len, CallSite::here()) ? 0 : -1;
}

std::int32_t MPI_AO_PutDataToCircleBufferAndUpdateWritePtr(std::uint32_t chn, std::uint32_t k,
                                                           const AUDIO_FRAME_S *frame) {
    AoCircle &circle = aoChannels[chn].stCirBuf[k];
    const std::uint32_t size = frame->u32Len;
    const auto *const data = static_cast<const unsigned char *>(frame->pVirAddr[k]);
    if (!hasRoom(circle, size, CallSite::here())) {
        mppReport(CallSite::here(),
                  "It's no free buffer to save data! frame len:%d, u32Write:%d, u32Read:%d\n",
                  shown(size), shown(circle.u32Write), shown(circle.u32Read));
        return -1;
    }
    const std::uint32_t toEnd = circle.length - circle.u32Write;
    if (circle.u32Write < circle.u32Read || size <= toEnd) {
        std::memcpy(circle.virt + circle.u32Write, data, size);
        circle.u32Write += size;
        if (circle.u32Write == circle.length) {
            circle.u32Write = 0;
            circle.bWriteJump = 1;
        }
        return 0;
    }
    std::memcpy(circle.virt + circle.u32Write, data, toEnd);
    std::memcpy(circle.virt, data + toEnd, size - toEnd);
    circle.u32Write = size - toEnd;
    circle.bWriteJump = 1;
    return 0;
}

std::int32_t MPI_AO_QueryCircleBufferReadData(std::uint32_t chn, std::uint32_t k,
                                              std::uint32_t bitWidth, std::uint32_t *period) {
    if (!readPeriod(bitWidth, period, CallSite::here())) {
        return -1;
    }
    return holds(aoChannels[chn].stCirBuf[k], *period, CallSite::here()) ? 0 : -1;
}

void aoCopyPeriod(const AoCircle &circle, std::uint32_t period, unsigned char *destination) {
    const std::uint32_t toEnd = circle.length - circle.u32Read;
    const std::uint32_t first = period < toEnd ? period : toEnd;
    std::memcpy(destination, circle.virt + circle.u32Read, first);
    std::memcpy(destination + first, circle.virt, period - first);
}

std::int32_t MPI_AO_UpdateCircleBufferReadPtr(std::uint32_t chn, std::uint32_t k,
                                              std::uint32_t bitWidth, std::uint32_t period) {
    std::uint32_t current = 0;
    const bool agrees = readPeriod(bitWidth, &current, CallSite::here()) && current == period;
    moveReader(aoChannels[chn].stCirBuf[k], period, CallSite::here());
    return agrees ? 0 : -1;
}
