#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_dump.h"

#include "base/unique_file.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_operation.h"
#include "mpp/code/shelf/audio/audio/mpi/src/mpi_ao/ao_record.h"
#include "mpp/device/device.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <initializer_list>

namespace {

constexpr std::uint32_t device = 0;
constexpr std::uint32_t unprocessedBuffer = 0;
constexpr std::uint32_t processedBuffer = 2;
constexpr std::uint32_t flushThreshold = 51200;
constexpr std::uint32_t doneSize = 1;

// Bytes since the last flush, one count for the input and one for the output files of all channels.
std::atomic<std::uint32_t> unflushedIn{0};
std::atomic<std::uint32_t> unflushedOut{0};

// "%s/Sin_AoDev%d_Chn%d_%dK_%s.pcm" with room for every part.
constexpr std::size_t nameRoom = 2 * 256 + 64;

int lengthOf(const char (&text)[256]) {
    return static_cast<int>(strnlen(text, sizeof text));
}

UniqueFile openFile(const AO_DUMP_S &config, const char *kind, std::uint32_t chn,
                    std::uint32_t rate) {
    char name[nameRoom];
    std::snprintf(name, sizeof name, "%.*s/%s_AoDev%d_Chn%d_%dK_%.*s.pcm", lengthOf(config.acPath),
                  config.acPath, kind, shown(device), shown(chn), shown(rate / 1000),
                  lengthOf(config.acName), config.acName);
    return UniqueFile(std::fopen(name, "wb+"));
}

bool openFiles(AoChannel &channel, std::uint32_t chn, const AO_DUMP_S &config) {
    AIO_ATTR_S attr = {};
    if (aoReadAttr(&attr) != 0) {
        return false;
    }
    const std::uint32_t inRate =
        channel.resampleEnabled != 0 ? channel.resample.enInSampleRate : attr.enSamplerate;
    UniqueFile in = openFile(config, "Sin", chn, inRate);
    UniqueFile out = openFile(config, "Sou", chn, attr.enSamplerate);
    if (in == nullptr || out == nullptr) {
        std::printf("DevId:%d, AoChn:%d, File: InFilePath/OutFilePath open failed!Please check "
                    "your Filepath!\n",
                    shown(device), shown(chn));
        return false;
    }
    channel.dumpIn = {in.release(), 0};
    channel.dumpOut = {out.release(), 0};
    return true;
}

void append(AoDumpFile &dump, const void *data, std::uint32_t size, std::uint64_t limit,
            std::atomic<std::uint32_t> &unflushed) {
    if (dump.written >= limit) {
        return;
    }
    if (std::fwrite(data, 1, size, dump.file) != size) {
        mppReport(CallSite::here("AoSaveFile"), "Write Error\n");
    }
    dump.written += size;
    if (unflushed.fetch_add(size) + size > flushThreshold) {
        unflushed = 0;
        std::fflush(dump.file);
        fsync(fileno(dump.file));
    }
}

// Tells the driver that the dump is done.
void finish(std::int32_t fd, AoChannel &channel, AO_DUMP_S config) {
    config.bEnable = 0;
    config.u32KBytes = doneSize;
    if (Device_Ioctl(fd, AO_CMD_SET_DUMP, &config) != 0) {
        mppReport(CallSite::here("AoSaveFile"), "Set ao dumpfile cfg error!\n");
        return;
    }
    aoDumpEnd(channel);
}

} // namespace

void AoSaveFile(AoChannel &channel, std::uint32_t chn, std::uint32_t inPoints,
                std::uint32_t bitWidth) {
    const std::int32_t fd = aoAcquire(chn);
    if (fd < 0) {
        return;
    }
    AO_DUMP_S config = {};
    if (Device_Ioctl(fd, AO_CMD_GET_DUMP, &config) != 0) {
        mppReport(CallSite::here(), "get ao dumpfile cfg error!\n");
        return;
    }
    if (config.bEnable == 0) {
        aoDumpEnd(channel);
        return;
    }
    if (channel.dumpIn.file == nullptr && !openFiles(channel, chn, config)) {
        return;
    }
    const std::uint32_t size = inPoints << bitWidth;
    const std::uint64_t limit = std::uint64_t{config.u32KBytes} * 1024;
    append(channel.dumpIn, channel.staging[unprocessedBuffer], size, limit, unflushedIn);
    append(channel.dumpOut, channel.staging[processedBuffer], size, limit, unflushedOut);
    if (channel.dumpIn.written >= limit || channel.dumpOut.written >= limit) {
        finish(fd, channel, config);
    }
}

void aoDumpEnd(AoChannelState &channel) {
    for (AoDumpFile *const dump : {&channel.dumpIn, &channel.dumpOut}) {
        if (dump->file != nullptr) {
            std::fclose(dump->file);
        }
        *dump = {};
    }
}

std::int32_t HI_MPI_AO_SaveFile(std::uint32_t AoDev, std::uint32_t AoChn,
                                const AO_DUMP_S *pstDump) {
    AoOperation operation(AoDev, AoChn);
    if (operation.given(pstDump).lock().failed()) {
        return operation.error();
    }
    AO_DUMP_S record = *pstDump;
    return aoCommand(AoChn, AO_CMD_SET_DUMP, &record);
}

std::int32_t HI_MPI_AO_QueryFileStatus(std::uint32_t AoDev, std::uint32_t AoChn,
                                       std::uint32_t *pbEnable) {
    AoOperation operation(AoDev, AoChn);
    if (operation.given(pbEnable).lock().failed()) {
        return operation.error();
    }
    AO_DUMP_S record = {};
    const std::int32_t result = aoCommand(AoChn, AO_CMD_GET_DUMP, &record);
    if (result == 0) {
        *pbEnable = record.bEnable;
    }
    return result;
}
