// The daemon's parts in the test's own process, on the scripted device.
#pragma once

#include "audioout/audioout.h"
#include "mpp/include/mpp_sys.h"
#include "src/voxo/context.h"
#include "src/voxo/stream.h"
#include "tests/settings/fake_tessel.h"
#include "tests/support/captured.h"
#include "tests/support/redirect.h"
#include "tests/support/scripted_device.h"
#include "tests/support/system_log.h"
#include "wav/wav.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

// A daemon whose output is open and whose decoder is ready; what reaches the driver is in heard().
class DaemonTest : public testing::Test {
protected:
    DaemonTest() {
        std::filesystem::create_directories(dir_.path() / "var/run/voxo/c0");
        std::ofstream(dir_.path() / "var/run/venc.pid") << "1\n";
        device().reset();
        voxoContext = {};
        voxoContext.audioOut = {0, 0, 8000, 16, 640};
        clipStart = 0;
        clipOpen = 0;
        quitRequested = 0;
        const Captured quiet;
        G711Dec_GetOps(&voxoContext.decoder);
        EXPECT_EQ(0, audioout_open(0, 0, 8000, 16, 640));
        EXPECT_EQ(0, voxoContext.decoder.init(&voxoContext.decoder.codecDesc->handle));
        device().watch(driverCommand::aoSend, [this](const void *record) { hear(record); });
        takeSystemLog();
    }
    ~DaemonTest() override {
        const Captured quiet;
        WAV_Release(&wavHandle);
        voxoContext.decoder.release(&voxoContext.decoder.codecDesc->handle);
        device().reset();
        audioout_close(0, 0);
        HI_MPI_SYS_Exit();
    }

    // Interleaved samples that have reached the driver.
    const std::vector<std::int16_t> &heard() const { return heard_; }
    void forgetHeard() { heard_.clear(); }

    // Pushes what waits in the platform's buffer to the driver.
    void flush() {
        const std::vector<std::int16_t> silence(1280);
        for (int i = 0; i < 4; ++i) {
            audioout_write(0, 0, silence.data(), 2560);
        }
    }

    TemporaryDirectory dir_;
    RedirectedPaths paths_{dir_.path()};

private:
    void hear(const void *record) {
        const auto right = periodOf<std::int16_t>(record, 0);
        const auto left = periodOf<std::int16_t>(record, 1);
        for (std::size_t i = 0; i < left.size(); ++i) {
            heard_.insert(heard_.end(), {left[i], right[i]});
        }
    }

    std::vector<std::int16_t> heard_;
};

// Stream records.
using Record = std::vector<std::uint8_t>;

inline void putWord(Record &record, std::uint32_t offset, std::uint32_t word) {
    setRecordWord(record.data(), offset, word);
}

inline std::uint32_t codeOf(const char *text) {
    return fourCharacterCode(text[0], text[1], text[2], text[3]);
}

inline Record newRecord(const char *type, std::uint32_t size) {
    Record record(size);
    putWord(record, recordSizeWord, size);
    putWord(record, recordTypeWord, codeOf(type));
    return record;
}

inline Record audioRecord(const std::vector<std::uint8_t> &payload, std::uint32_t extra = 0) {
    Record record = newRecord("G711", recordBody + extra);
    record.insert(record.end(), payload.begin(), payload.end());
    putWord(record, recordSizeWord, static_cast<std::uint32_t>(record.size()));
    putWord(record, recordExtraWord, extra);
    return record;
}

inline Record codecInfo(const char *codec, std::uint32_t word44, std::uint32_t word48,
                        std::uint32_t flag = 0) {
    Record record = newRecord("CONF", g711ConfSize);
    putWord(record, recordCodecWord, codeOf(codec));
    putWord(record, g711LawWord, word44);
    putWord(record, g711ChannelsWord, word48);
    putWord(record, g711FlagWord, flag);
    return record;
}

inline Record lawInfo(const char *law) {
    return codecInfo("G711", codeOf(law), 1, 1);
}
