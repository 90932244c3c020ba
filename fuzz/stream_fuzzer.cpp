// Stream records: what reaches the driver is, sample by sample, what a plain model of the stream
// plays, and a good record behind them is heard.
#include "fuzz/fuzz.h"
#include "tests/daemon/stream_model.h"

namespace {

struct StreamFuzz : DaemonTest {
    StreamFuzz() { device().keepsCalls = false; }
    void TestBody() override {}

    void run(Input input) {
        model_ = {};
        state_ = {};
        while (!input.isEmpty()) { // a length, up to 64 bytes as they are, and the rest by rule
            Record record(input.below(sizeof recvBuf + 1));
            const std::string head = input.text(std::min<std::size_t>(record.size(), 64));
            std::iota(record.begin(), record.end(), static_cast<std::uint8_t>(head.size()));
            std::copy(head.begin(), head.end(), record.begin());
            handle(record);
        }
        handle(codecInfo("G726", 0, 0));
        handle(lawInfo("ULAW"));
        handle(audioRecord(std::vector<std::uint8_t>(640, 0x34)));
        flush();
        require(heard().size() >= 2 * model_.played.size(), "all is heard");
        for (std::size_t i = 0; i < 2 * model_.played.size(); ++i) {
            require(heard()[i] == model_.played[i / 2], "it is heard as it was sent");
        }
        audioout_clear_audio_buffer(0, 0);
        forgetHeard();
        takeSystemLog();
    }

    void handle(const Record &record) {
        std::copy(record.begin(), record.end(), recvBuf);
        recvLength = static_cast<std::uint32_t>(record.size());
        require(voxoHandleRecord(&voxoContext, &state_) == RecordResult::goOn, "the daemon stays");
        model_.take(record);
    }

    StreamModel model_;
    VoxoLoopState state_;
};

} // namespace

void fuzz(Input input) {
    static StreamFuzz fuzz;
    fuzz.run(std::move(input));
}
