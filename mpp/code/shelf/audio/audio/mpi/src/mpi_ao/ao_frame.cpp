// Frame delivery.
#include "mpp/code/record_address.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_circle.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_dump.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_engine.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_operation.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"
#include "mpp/device/device.h"
#include "mpp/include/mpp_bind.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::int32_t foreverMilliSec = -1;
constexpr int engineFailureLine = 2220; // as its report has always given it

// One call's delivery, under the channel's lock.
struct Delivery {
    std::uint32_t dev;
    std::uint32_t chn;
    std::int32_t fd;
    AoChannel &channel;
    AIO_ATTR_S attr;     // the device's
    AUDIO_FRAME_S frame; // the caller's, or what the engine made of it
};

bool isReady(std::int32_t fd) {
    std::uint32_t ready = 0;
    return Device_Ioctl(fd, AO_CMD_GET_READY, &ready) == 0 && ready == AO_READY;
}

std::int32_t AoCheckFrameInfo(const AUDIO_FRAME_S &frame, const AIO_ATTR_S &attr) {
    if (frame.enSoundmode > AUDIO_SOUND_MODE_STEREO) {
        mppReport(CallSite::here(), "Invalid Soundmode(%d)!\n", shown(frame.enSoundmode));
        return ERR_AO_ILLEGAL_PARAM;
    }
    if (frame.enBitwidth > AUDIO_BIT_WIDTH_24) {
        mppReport(CallSite::here(), "Invalid Bitwidth(%d)!\n", shown(frame.enBitwidth));
        return ERR_AO_ILLEGAL_PARAM;
    }
    if (frame.enSoundmode != attr.enSoundmode) {
        mppReport(CallSite::here(), "Soundmode(%d), stAioAttr.enSoundmode(%d)!\n",
                  shown(frame.enSoundmode), shown(attr.enSoundmode));
        return ERR_AO_NOT_MATCH;
    }
    if (frame.enBitwidth != attr.enBitwidth) {
        mppReport(CallSite::here(), "enBitwidth(%d), stAioAttr.enBitwidth(%d)!\n",
                  shown(frame.enBitwidth), shown(attr.enBitwidth));
        return ERR_AO_NOT_MATCH;
    }
    if (frame.pVirAddr[0] == nullptr) {
        mppReport(CallSite::here(), "NULL pointer pVirAddr[0]!\n");
        return ERR_AO_NULL_PTR;
    }
    if (frame.enSoundmode == AUDIO_SOUND_MODE_STEREO && frame.pVirAddr[1] == nullptr) {
        mppReport(CallSite::here(), "NULL pointer pVirAddr[1]!\n");
        return ERR_AO_NULL_PTR;
    }
    return 0;
}

// What device, frame and period must be for a delivery to begin. The channel's lock is given back
// before a refusal is reported.
std::int32_t checkDelivery(Delivery &delivery, AoOperation &operation, CallSite site) {
    if (aoReadAttr(&delivery.attr) != 0) {
        operation.unlock();
        mppReport(site, "can't get aodev%d's attribute!\n", shown(delivery.dev));
        return ERR_AO_NOT_CONFIG;
    }
    const std::int32_t error = AoCheckFrameInfo(delivery.frame, delivery.attr);
    if (error != 0) {
        operation.unlock();
        mppReport(site, "Ao dev: %d, ao chn:%d, frame info error.\n", shown(delivery.dev),
                  shown(delivery.chn));
        return error;
    }
    const std::uint32_t points = delivery.frame.u32Len >> delivery.frame.enBitwidth;
    if (points < 1 || points > MAX_AO_POINT_NUM) {
        operation.unlock();
        mppReport(site,
                  "PointNum of input frame is:%d, it's big than MAX_AO_POINT_NUM:%d, or small "
                  "than 0\n",
                  shown(points), shown(MAX_AO_POINT_NUM));
        return ERR_AO_ILLEGAL_PARAM;
    }
    if (aoPeriodBytes(delivery.attr.u32PtNumPerFrm, delivery.attr.enBitwidth) == 0) {
        operation.unlock();
        mppReport(site, "Ao dev: %d, PtNumPerFrm:%u is out of range.\n", shown(delivery.dev),
                  delivery.attr.u32PtNumPerFrm);
        return ERR_AO_ILLEGAL_PARAM;
    }
    return 0;
}

bool isProcessed(const AoChannel &channel) {
    return channel.vqeEnabled != 0 || channel.mbcEnabled != 0 || channel.resampleEnabled != 0;
}

// How many points the engine is asked for; 0, after a message, when the frame would grow too long.
std::uint32_t outputPoints(const Delivery &delivery, std::uint32_t points, CallSite site) {
    const AoChannel &channel = delivery.channel;
    if (channel.resampleEnabled == 0) {
        return std::max(points, delivery.attr.u32PtNumPerFrm);
    }
    const std::uint64_t inRate = channel.resample.enInSampleRate;
    const std::uint64_t result =
        (std::uint64_t{points} * channel.resample.enOutSampleRate + inRate - 1) / inRate;
    if (result < 1 || result > MAX_AO_POINT_NUM) {
        mppReport(site,
                  "PointNum after ao resample is:%d, it's biger than MAX_AO_POINT_NUM:%d, or small "
                  "than 0\n",
                  static_cast<int>(result), shown(MAX_AO_POINT_NUM));
        return 0;
    }
    return static_cast<std::uint32_t>(result);
}

// Passes the frame through the channel's engine. Only the first sub-channel goes through it.
std::int32_t process(Delivery &delivery, CallSite site) {
    AoChannel &channel = delivery.channel;
    AUDIO_FRAME_S &frame = delivery.frame;
    // Only the first sub-channel would change its length.
    if (channel.resampleEnabled != 0 && frame.enSoundmode != AUDIO_SOUND_MODE_MONO) {
        mppReport(site, "resample don't support stereo!\n");
        return ERR_AO_ILLEGAL_PARAM;
    }
    const std::uint32_t bitWidth = frame.enBitwidth;
    const std::uint32_t points = frame.u32Len >> bitWidth;
    const std::uint32_t wanted = outputPoints(delivery, points, site);
    if (wanted == 0) {
        return ERR_AO_ILLEGAL_PARAM;
    }
    // Whole points: a few bytes past the last one would not fit the staging buffer.
    std::memcpy(channel.staging[0], frame.pVirAddr[0], points << bitWidth);
    const std::int32_t error =
        aoEngineWriteFrame(channel.engine, channel.staging[0], points, bitWidth);
    if (error != 0) {
        mppReport(site, "HI_DNVQE_WriteFrame failed, s32Ret:0x%x.!\n",
                  static_cast<unsigned>(error));
        return channel.resampleEnabled != 0 ? ERR_AO_ENGINE : 0;
    }
    const std::int32_t produced = aoEngineReadFrame(channel.engine, channel.staging[2], wanted);
    if (produced == -1) {
        std::printf("####%s, %d , Ret:%d######\n", site.function, engineFailureLine, ERR_AO_ENGINE);
        return ERR_AO_ENGINE;
    }
    frame.u32Len = static_cast<std::uint32_t>(produced) << bitWidth;
    frame.pVirAddr[0] = channel.staging[2];
    if (channel.vqeEnabled != 0) {
        AoSaveFile(channel, delivery.chn, points, bitWidth);
    }
    return 0;
}

// Finds the next whole period: its bytes, the same in every sub-channel that the record names.
// False when there is none, or when the driver has left nonsense in the record.
bool findPeriod(std::uint32_t chn, const AoFrameRecord &record, std::uint32_t *period) {
    if (record.enSoundmode > AUDIO_SOUND_MODE_STEREO || record.enBitwidth > AUDIO_BIT_WIDTH_24) {
        return false;
    }
    std::uint32_t first = 0;
    for (std::uint32_t k = 0; k <= record.enSoundmode; ++k) {
        if (MPI_AO_QueryCircleBufferReadData(chn, k, record.enBitwidth, period) != 0) {
            return false;
        }
        if (k == 0) {
            first = *period;
        }
    }
    return *period == first;
}

// Hands the driver one period of `period` bytes. False when it refuses it.
bool handOver(const Delivery &delivery, std::uint32_t period, AoSendRecord *record) {
    const AoChannel &channel = delivery.channel;
    for (std::uint32_t k = 0; k <= record->frame.enSoundmode; ++k) {
        aoCopyPeriod(channel.stCirBuf[k], period, channel.staging[k]);
        record->frame.virAddr[k] = recordAddress(channel.staging[k]);
    }
    record->frame.len = period;
    return Device_Ioctl(delivery.fd, AO_CMD_SEND, record) == 0;
}

// Hands the driver every whole period, for as long as it takes them. The record is built once; what
// the driver changes of its width and mode holds for the next period.
void drain(const Delivery &delivery, std::int32_t milliSec) {
    AoSendRecord record = {};
    record.frame = aoFrameRecord(delivery.frame);
    record.frame.enBitwidth = delivery.attr.enBitwidth;
    record.frame.enSoundmode = delivery.attr.enSoundmode;
    record.s32MilliSec = milliSec;
    std::uint32_t period = 0;
    while (findPeriod(delivery.chn, record.frame, &period)) {
        const std::uint32_t bitWidth = record.frame.enBitwidth;
        const std::uint32_t lastSubChannel = record.frame.enSoundmode;
        if (!handOver(delivery, period, &record)) {
            return;
        }
        // Attributes that have changed since are found out with the next period.
        for (std::uint32_t k = 0; k <= lastSubChannel; ++k) {
            MPI_AO_UpdateCircleBufferReadPtr(delivery.chn, k, bitWidth, period);
        }
    }
}

// Appends the frame to the circular buffers: to all of its sub-channels or to none.
std::int32_t store(const Delivery &delivery) {
    for (std::uint32_t k = 0; k <= delivery.attr.enSoundmode; ++k) {
        if (MPI_AO_QueryCircleBufferWriteData(delivery.chn, k, &delivery.frame) != 0) {
            return ERR_AO_BUF_FULL;
        }
    }
    for (std::uint32_t k = 0; k <= delivery.attr.enSoundmode; ++k) {
        if (MPI_AO_PutDataToCircleBufferAndUpdateWritePtr(delivery.chn, k, &delivery.frame) != 0) {
            return ERR_AO_BUF_FULL;
        }
    }
    return 0;
}

} // namespace

AoFrameRecord aoFrameRecord(const AUDIO_FRAME_S &frame) {
    return {frame.enBitwidth,
            frame.enSoundmode,
            {recordAddress(frame.pVirAddr[0]), recordAddress(frame.pVirAddr[1])},
            {frame.u32PhyAddr[0], frame.u32PhyAddr[1]},
            static_cast<std::uint32_t>(frame.u64TimeStamp),
            static_cast<std::uint32_t>(frame.u64TimeStamp >> 32),
            frame.u32Seq,
            frame.u32Len,
            {frame.u32PoolId[0], frame.u32PoolId[1]}};
}

std::int32_t HI_MPI_AO_SendFrame(std::uint32_t AoDev, std::uint32_t AoChn,
                                 const AUDIO_FRAME_S *pstFrame, std::int32_t s32MilliSec) {
    AoOperation operation(AoDev, AoChn);
    if (operation.acquire().failed()) {
        return operation.error();
    }
    if (s32MilliSec < foreverMilliSec) {
        mppReport(CallSite::here(), "s32MilliSec(%d) can not be lower than -1.\n", s32MilliSec);
        return ERR_AO_ILLEGAL_PARAM;
    }
    if (pstFrame == nullptr) {
        mppReport(CallSite::here(), "the AUDIO_FRAME_S pointer for is Ao(%d, %d) NULL!\n",
                  shown(AoDev), shown(AoChn));
        return ERR_AO_NULL_PTR;
    }
    if (operation.lockEnabled().failed()) {
        return operation.error();
    }
    if (!isReady(operation.fd())) {
        return ERR_AO_NOT_PERM;
    }
    Delivery delivery = {AoDev, AoChn, operation.fd(), operation.channel(), {}, *pstFrame};
    std::int32_t error = checkDelivery(delivery, operation, CallSite::here());
    if (error == 0 && isProcessed(delivery.channel)) {
        error = process(delivery, CallSite::here());
    }
    if (error != 0) {
        return error;
    }
    drain(delivery, s32MilliSec);
    return store(delivery);
}

std::int32_t MPI_AO_ReceiveFrm(std::uint32_t AoDev, std::uint32_t AoChn,
                               std::uint32_t /*u32Argument*/, std::uint32_t enDataType,
                               void *pData) {
    mppAssert(enDataType == BIND_DATA_AUDIO_FRAME, "MPP_DATA_AUDIO_FRAME == enDataType");
    mppAssert(pData != nullptr, "NULL != pData");
    return HI_MPI_AO_SendFrame(AoDev, AoChn, static_cast<const AUDIO_FRAME_S *>(pData),
                               foreverMilliSec);
}
