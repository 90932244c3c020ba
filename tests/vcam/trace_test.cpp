#include "tests/support/camera_process.h"
#include "tests/support/driver_commands.h"
#include "tests/wav/wav_bytes.h"
#include "vcam/camera/camera.h"
#include "vcam/trace/trace_reader.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

namespace {

// A trace's records, and how many bytes of one that is not whole follow.
std::pair<std::vector<TraceRecord>, std::uint64_t> recordsOf(const std::string &file) {
    TraceReader reader(file);
    std::vector<TraceRecord> records;
    while (std::optional<TraceRecord> record = reader.next()) {
        records.push_back(*std::move(record));
    }
    return {records, reader.cutBytes()};
}

// Runs `script` with the library at descriptor 9, the trace's file as $1 and `argument` as $2.
std::vector<std::string> traced(const std::string &script, const std::string &file,
                                const std::string &argument = "") {
    const std::string begin = R"(exec 9<"$0"; export VOXO_TRACE="$1"; )";
    return {"/bin/sh", "-c", begin + script, underTest("lib/libvcam_trace.so"), file, argument};
}

// A daemon on a camera, behind a sanitizer's library and in front of the board's, whose life goes
// to `file`.
void startTraced(Child &daemon, const CameraProcess &camera, const std::string &file,
                 const std::string &out) {
    const std::string script = R"(board=${LD_PRELOAD##*:}; set -- "$2"
        LD_PRELOAD=${LD_PRELOAD%"$board"}/proc/self/fd/9:$board
        exec "$1" -c "$VCAM_DIR/voxo.xml" -p /var/run/voxo.pid)";
    std::vector<std::string> command = traced(script, file, underTest("bin/voxo"));
    command.insert(command.begin(), {vcamPath(), "--dir", camera.dir(), "exec"});
    start(daemon, command, out, out);
    eventually([&] { return contentsOf(out).find("initialized!") != std::string::npos; });
}

// The library sees all that is played.
TEST(Trace, HoldsWhatTheDaemonPlayed) {
    const CameraProcess camera({"--bare", "--fast"});
    const TemporaryFile file("");
    const TemporaryFile out("");
    Child daemon;
    startTraced(daemon, camera, file.path(), out.path());
    camera.expectPlaysSpeech();
    const TemporaryFile clip(riff(fmtChunk({.channels = 2}) + chunk("data", samples(20000))));
    EXPECT_EQ(0, camera.vcam({"clip", "start", clip.path()}).status); // its sides differ
    eventually([&] { return contentsOf(out.path()).find("to the end") != std::string::npos; });
    kill(daemon.pid(), SIGTERM);
    EXPECT_EQ(0, waitFor(daemon)) << contentsOf(out.path());

    std::string played; // bytes, left and right
    std::vector<TraceRecord> records = recordsOf(file.path()).first;
    EXPECT_EQ(TraceKind::end, records.back().kind());
    std::erase_if(records, [](const auto &record) { return record.kind() != TraceKind::command; });
    for (const TraceRecord &record : records) {
        const TraceCommand sent = commandOf(record);
        const auto &[left, right] = sent.sides;
        for (auto l = left.begin(), r = right.begin(); l < left.end(); l += 2, r += 2) {
            played.append(l, l + 2).append(r, r + 2);
        }
    }
    const std::vector<std::int16_t> heard = camera.heard();
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(heard.data()), 2 * heard.size()), played);
}

// A trace stops with a whole record where there is no more room, and its program goes on.
TEST(Trace, EndsWholeWhereRoomEnds) {
    const TemporaryFile read(std::string(300'000, 'x'));
    for (const std::string limit : {"ulimit -f 64", "export VOXO_TRACE_LIMIT=32768"}) {
        const TemporaryFile file("");
        const std::string script = R"(; LD_PRELOAD=/proc/self/fd/9 cat "$2" | wc -c)";
        EXPECT_EQ("300000\n", runProgram(traced(limit + script, file.path(), read.path())).out);
        const auto [records, cutBytes] = recordsOf(file.path());
        EXPECT_EQ(std::pair(limit[0] == 'e', std::uint64_t{0}),
                  std::pair(records.back().kind() == TraceKind::end, cutBytes));
        EXPECT_GE(32768U, std::filesystem::file_size(file.path()));
    }
}

TEST(Trace, NamesTheDamagedByte) {
    const TemporaryFile file("");
    runProgram(traced("LD_PRELOAD=/proc/self/fd/9 exec true", file.path()));
    const std::string whole = contentsOf(file.path());
    EXPECT_EQ(15U, recordsOf(TemporaryFile(whole.substr(0, 31)).path()).second);
    using Damage = std::tuple<std::size_t, char, std::string>; // byte, value, byte that is named
    for (const auto &[byte, value, place] :
         {Damage{0, 'v', "0:"}, Damage{8, 5, "8:"}, Damage{16, 99, "16:"}, Damage{18, 2, "16:"},
          Damage{20, 31, "16:"}, Damage{22, 2, "16:"}, Damage{52, 1, "16:"}}) {
        try {
            recordsOf(TemporaryFile(std::string(whole).replace(byte, 1, 1, value)).path());
            ADD_FAILURE() << byte;
        } catch (const CameraError &error) {
            EXPECT_NE(std::string::npos, std::string(error.what()).find(" at byte " + place));
        }
    }
}

// Makes the n-th answer to a command another one.
void changeAnswer(const std::string &file, std::uint32_t command, int n) {
    TraceReader reader(file);
    std::uint64_t begin = reader.position();
    for (std::optional<TraceRecord> record; n > 0 && (record = reader.next());) {
        if (record->kind() == TraceKind::command && record->call.argument == command && --n == 0) {
            std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
            bytes.seekp(static_cast<std::streamoff>(begin + sizeof(TraceHeader)));
            bytes.put('\x05');
        }
        begin = reader.position();
    }
}

// A life is lived again as it was, and a driver that answers otherwise is found out.
TEST(Replay, ComparesEachCommand) {
    const CameraProcess camera({"--bare"});
    const TemporaryFile file("");
    const TemporaryFile out("");
    Child daemon;
    startTraced(daemon, camera, file.path(), out.path());
    const auto says = [&](const char *text) {
        return eventually([&] { return contentsOf(out.path()).find(text) != std::string::npos; });
    };
    const TemporaryFile clip(riff(fmtChunk({}) + chunk("data", samples(10000))));
    EXPECT_EQ(0, camera.vcam({"cast", clip.path()}).status);
    EXPECT_EQ(0, camera.vcam({"clip", "start", clip.path()}).status);
    EXPECT_TRUE(says("to the end"));
    EXPECT_EQ(0, camera.vcam({"set", "audioout_c0_volume", "30"}).status);
    EXPECT_TRUE(says("dwVolume = 30"));
    EXPECT_EQ(0, camera.vcam({"talk", "on"}).status);
    EXPECT_EQ(0, camera.vcam({"clip", "start", clip.path()}).status);
    EXPECT_TRUE(says("2-way audio in progress"));
    kill(daemon.pid(), SIGTERM);
    EXPECT_EQ(0, waitFor(daemon)) << contentsOf(out.path());

    const TemporaryDirectory dir;
    const auto vcam = [&](std::vector<std::string> command) {
        command.insert(command.begin(), {vcamPath(), "--dir", dir.path() / "camera"});
        return runProgram(command);
    };
    const Finished same = vcam({"replay", file.path()});
    EXPECT_NE(std::string::npos, same.out.find(" 0 differences")) << same.out << same.err;
    EXPECT_EQ(0, same.status);
    const std::string scenario = dir.path() / "life.yaml";
    EXPECT_EQ(0, vcam({"replay", file.path(), "--scenario", scenario}).status);
    const Finished played = vcam({"play", scenario});
    EXPECT_EQ(0, played.status) << played.err;
    const std::string life = contentsOf(dir.path() / "camera/life.log");
    EXPECT_NE(std::string::npos, life.find("[play to the end of the file]"));
    EXPECT_NE(std::string::npos, life.find("2-way audio in progress"));
    EXPECT_NE(std::string::npos, life.find("dwVolume = 30"));

    const std::string whole = contentsOf(file.path());
    const TemporaryFile half(whole.substr(0, whole.size() / 2));
    const Finished begun = vcam({"replay", half.path()});
    EXPECT_NE(std::string::npos, begun.out.find(" 0 differences up to")) << begun.out << begun.err;
    EXPECT_EQ(0, begun.status);

    changeAnswer(file.path(), driverCommand::aoSend, 3);
    const Finished other = vcam({"replay", file.path()});
    EXPECT_NE(std::string::npos, other.out.find("the first difference is at command"))
        << other.out << other.err;
    EXPECT_EQ(1, other.status);
}

} // namespace
