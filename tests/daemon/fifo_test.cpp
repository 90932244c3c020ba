#include "src/voxo/fifo.h"

#include "base/unique_fd.h"
#include "src/voxo/input.h"
#include "src/voxo/playback.h"
#include "tests/daemon/daemon_fixture.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string message(unsigned char type, const std::string &body, unsigned char header = 4) {
    std::string bytes = {static_cast<char>(type), static_cast<char>(header),
                         static_cast<char>(body.size() & 0xFF),
                         static_cast<char>(body.size() >> 8)};
    return bytes + std::string(header > 4 ? header - 4U : 0U, 'h') + body;
}

std::string control(const std::string &entries) {
    return message(2, "<message>" + entries + "</message>");
}

std::string location(const std::string &path, const std::string &type = "5") {
    return message(3, "<message><data type=\"" + type + "\">" + path + "</data></message>");
}

const std::string start = R"(<control class="1" value="1"/>)";
const std::string stop = R"(<control class="1" value="0"/>)";
const std::string other = R"(<control class="2" value="1"/>)";

class FifoTest : public DaemonTest {
protected:
    FifoTest() {
        voxoContext.xmlParser = XML_ParserCreate(nullptr);
        voxoContext.audioclipCapability = 1;
        const Captured quiet;
        EXPECT_EQ(0, voxoInitFIFO());
        fifo_ = voxoContext.fifoFd;
    }
    ~FifoTest() override {
        XML_ParserFree(voxoContext.xmlParser);
        close(fifo_);
    }

    // What the daemon says of bytes in the FIFO.
    struct Received {
        int result;
        std::string out;
        std::string log;
    };
    Received receive(const std::string &bytes) {
        takeSystemLog();
        EXPECT_EQ(static_cast<ssize_t>(bytes.size()), write(fifo_, bytes.data(), bytes.size()));
        Received received = {};
        received.out = outputOf([&] { received.result = voxoReceiveFIFOCmd(fifo_); });
        received.log = takeSystemLog();
        return received;
    }

    // The output of a message that was handed on, behind the line that shows it.
    std::string outputFor(const std::string &bytes) {
        const Received received = receive(bytes);
        EXPECT_EQ(0, received.result);
        EXPECT_TRUE(received.out.starts_with("[voxo] src/voxo:#: Receive FIFO command: <"));
        return received.out.substr(received.out.find('\n') + 1);
    }

    int fifo_ = -1;
};

TEST_F(FifoTest, ObeysControlMessages) {
    const FakeTessel tessel(dir_.path(), "");
    EXPECT_EQ("Get control message!!\nGet start!!\n", outputFor(control(start)));
    EXPECT_EQ(1, clipStart);
    EXPECT_EQ("Get control message!!\n", outputFor(control(other)));
    EXPECT_EQ(1, clipStart);
    device().clearCalls();
    EXPECT_EQ("Get control message!!\nGet start!!\nGet stop!!\n",
              outputFor(control(start + other + stop)));
    EXPECT_EQ(0, clipStart);
    EXPECT_EQ(1U, device().callsOf(0x0000580C).size()); // the output is cleared
    EXPECT_EQ("Get control message!!\nGet stop!!\n", outputFor(control(stop)));
    const std::string report = "set NameValue 99 0 0\nstatus_audioclip_playing=0";
    EXPECT_EQ((std::vector<std::string>{report, report}), tessel.requests());
    // More entries than there is room for.
    std::string entries;
    std::string expected = "Get control message!!\n";
    for (int i = 0; i < 15; ++i) {
        entries += start;
        expected += i < 10 ? "Get start!!\n" : "";
    }
    EXPECT_EQ(expected, outputFor(control(entries)));
}

TEST_F(FifoTest, TakesLocations) {
    EXPECT_EQ("Get location: /a/clip.wav\n", outputFor(location("/a/clip.wav")));
    EXPECT_STREQ("/a/clip.wav", voxoContext.clipLocation);
    EXPECT_EQ("Get location: /b\n", outputFor(message(3, "<m><data type='5'>/b</data></m>", 60)));
    EXPECT_EQ("Get location: a&b\n", outputFor(location("a&amp;b")));
    EXPECT_EQ("Unknown data type: 7\n", outputFor(location("/c", "7")));
    EXPECT_STREQ("a&b", voxoContext.clipLocation);
    // A longer one is cut where the item ends, and shown as it was taken.
    EXPECT_EQ("Get location: " + std::string(59, 'x') + "\n",
              outputFor(location(std::string(300, 'x'))));
    EXPECT_EQ("", outputFor(message(1, "<ignored/>")));
    EXPECT_EQ("", outputFor(message(4, "<ignored/>")));
}

TEST_F(FifoTest, ReportsWhatItCannotFrame) {
    const std::string good = location("/good");
    const std::string error = "debug Receive FIFO Cmd error!\n";
    const std::pair<std::string, std::string> cases[] = {
        {{"\2\4\1", 3}, ""},                         // short
        {{"\0\4\1\0", 4}, ""},                       // type 0
        {{"\5\4\1\0", 4}, ""},                       // type 5
        {{"\2\0\1\0", 4}, ""},                       // second byte 0
        {{"\2\3\1\0", 4}, error},                    // header length 3
        {{"\2\4\5\0", 4}, error},                    // no body
        {{"\2\4\0\0", 4}, error},                    // nothing at all
        {message(2, std::string(1020, 'x')), error}, // too long
        {message(2, std::string(60000, 'x')), error}};
    for (const auto &[bytes, log] : cases) {
        SCOPED_TRACE(testing::PrintToString(bytes.substr(0, 8)));
        const Received received = receive(bytes);
        EXPECT_EQ(-1, received.result);
        EXPECT_EQ("", received.out);
        EXPECT_EQ(log, received.log);
        char byte = 0;
        EXPECT_EQ(-1, read(fifo_, &byte, 1)); // drained
        EXPECT_EQ("Get location: /good\n", outputFor(good));
    }
    // The longest that fits with a terminator.
    const std::string path = "<m><data type='7'>" + std::string(1019 - 31, 'x') + "</data></m>";
    ASSERT_EQ(1017U, path.size());
    EXPECT_EQ("Unknown data type: 7\n", outputFor(message(3, path + "  ")));
    // Drained never past what it declared.
    EXPECT_EQ(-1, receive(message(2, std::string(2000, 'x')) + good).result);
    EXPECT_EQ("Get location: /good\n", outputFor(""));
}

TEST_F(FifoTest, ReportsWhatItCannotParse) {
    const auto expectRefused = [&](unsigned char type, const char *body) {
        const std::string log = receive(message(type, body)).log;
        const std::string kind = type == 2 ? "control" : "data";
        EXPECT_NE(std::string::npos,
                  log.find("debug [FIFO Message] Parse " + kind + " message error! [LINE:"))
            << body;
    };
    for (const char *body : {"<message><control", "no XML", "<a/><b/>", "<m>\x01</m>"}) {
        expectRefused(2, body);
        expectRefused(3, body);
    }
    expectRefused(3, "<m><other/></m>");
    // A message cut in two: the half that came is refused, and so is what comes behind it.
    const std::string whole = location("/split");
    EXPECT_EQ(0, receive(whole.substr(0, 30)).result);
    EXPECT_EQ(-1, receive(whole.substr(30, 4)).result);
    EXPECT_EQ("Get location: /good\n", outputFor(location("/good")));
}

TEST_F(FifoTest, AsksForTwoWayAudio) {
    // What the daemon says when it is answered this, and what it asks.
    const auto check = [&](const std::string &status, std::vector<std::string> expected) {
        const FakeTessel tessel(dir_.path(), status);
        const std::string out = outputOf([] { voxoCheck2WayAudio(); });
        EXPECT_EQ(expected, tessel.requests());
        return out;
    };
    const std::string query = "get Value 99 0\nstatus_onlinenum_sip";
    clipStart = 1;
    EXPECT_EQ("i2WayAudioStatus = 0\n", check("0", {query}));
    EXPECT_EQ("i2WayAudioStatus = 0\n", check("", {query}));
    EXPECT_EQ(1, clipStart);
    EXPECT_EQ("i2WayAudioStatus = 1\n2-way audio in progress\n",
              check("1\n", {query, "set NameValue 99 0 0\nstatus_audioclip_playing=0"}));
    EXPECT_EQ(0, clipStart);
    EXPECT_EQ("i2WayAudioStatus = 0\n", check("1" + std::string(299, ' '), {query})); // too long
}

TEST_F(FifoTest, HearsAMessageUnderAFloodOfEmptyDatagrams) {
    int sockets[2] = {};
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, sockets));
    const UniqueFd receiver(sockets[0]);
    const UniqueFd flood(sockets[1]);
    const std::string bytes = control(start);
    const Captured quiet;
    ASSERT_LT(0, write(fifo_, bytes.data(), bytes.size()));
    for (int i = 0; i < 20 && clipStart == 0; ++i) {
        ASSERT_EQ(0, send(flood.get(), "", 0, 0));
        EXPECT_EQ(-1, voxoWaitInput(receiver.get(), recvBuf, sizeof recvBuf, 1));
    }
    EXPECT_EQ(1, clipStart);
}

TEST_F(FifoTest, MakesTheFifoOrReusesIt) {
    const std::filesystem::path path = dir_.path() / "var/run/voxo/c0/controlfifo";
    EXPECT_TRUE(std::filesystem::is_fifo(path));
    const std::string again = outputOf([] { EXPECT_EQ(0, voxoInitFIFO()); });
    EXPECT_EQ("Initial FIFO succeeded, fd = " + std::to_string(voxoContext.fifoFd) + "\n", again);
    close(voxoContext.fifoFd);
    std::filesystem::remove(path);
    std::ofstream(path) << "a plain file would be readable for ever";
    EXPECT_EQ("[voxo] src/voxo:#: Open FIFO fail, path = /var/run/voxo/c0/controlfifo\n",
              outputOf([] { EXPECT_EQ(-1, voxoInitFIFO()); }));
    std::filesystem::remove_all(path.parent_path());
    EXPECT_EQ("[voxo] src/voxo:#: Make a FIFO file fail, path = /var/run/voxo/c0/controlfifo\n",
              outputOf([] { EXPECT_EQ(-1, voxoInitFIFO()); }));
}

} // namespace
