#include "src/voxo/fifo.h"

#include "camera/message/message.h"
#include "src/voxo/clip.h"
#include "src/voxo/input.h"
#include "src/voxo/tessel.h"
#include "tests/daemon/daemon_fixture.h"
#include "vcam/sender/message_sender.h"

#include <unistd.h>

#include <thread>

namespace {

using namespace driverCommand;

// A message, perhaps with a longer header.
std::string message(std::uint32_t type, const std::string &body, char header = 4) {
    std::string bytes = framedMessage(type, body);
    bytes[1] = header;
    return bytes.insert(MESSAGE_HEADER_LENGTH, static_cast<std::size_t>(header) - 4, 'h');
}

std::string control(const std::string &entries) {
    return message(MESSAGE_TYPE_CONTROL, "<message>" + entries + "</message>");
}

std::string location(const std::string &path, const std::string &type = "5") {
    return message(MESSAGE_TYPE_DATA,
                   "<message><data type=\"" + type + "\">" + path + "</data></message>");
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
    device().clearCalls();
    EXPECT_EQ("Get control message!!\nGet start!!\nGet stop!!\n",
              outputFor(control(start + other + stop)));
    EXPECT_EQ(0, clipStart);
    EXPECT_EQ(1U, device().callsOf(aoClearChn).size()); // the output is cleared
    EXPECT_EQ((std::vector<std::string>{"set NameValue 99 0 0\nstatus_audioclip_playing=0"}),
              tessel.requests());
    quitRequested = 1; // nobody is told of a stop any more
    outputFor(control(start + stop));
    EXPECT_EQ(1U, tessel.requests().size());
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
        {message(2, std::string(1019, 'x')), error}, // too long
        {message(2, std::string(60000, 'x')), error}};
    for (const auto &[bytes, log] : cases) {
        SCOPED_TRACE(testing::PrintToString(bytes.substr(0, 8)));
        const Received received = receive(bytes);
        EXPECT_EQ(-1, received.result);
        EXPECT_EQ("", received.out);
        EXPECT_EQ(log, received.log);
        EXPECT_EQ("Get location: /good\n", outputFor(good)); // all of it was taken
    }
    // The longest.
    const std::string path = "<m><data type='7'>" + std::string(1019 - 31, 'x') + "</data></m>";
    EXPECT_EQ("Unknown data type: 7\n", outputFor(message(3, path + " ")));
    // Drained never past what it declared.
    EXPECT_EQ(-1, receive(message(2, std::string(2000, 'x')) + good).result);
    EXPECT_EQ("Get location: /good\n", outputFor(""));
}

TEST_F(FifoTest, ReportsWhatItCannotParse) {
    for (const auto &[type, kind] :
         {std::pair(MESSAGE_TYPE_CONTROL, "control"), {MESSAGE_TYPE_DATA, "data"}}) {
        for (const char *body : {"<message><control", "no XML", "<a/><b/>", "<m>\x01</m>",
                                 "<!DOCTYPE m [<!ENTITY e 'e'>]><m>&e;</m>"}) {
            const std::string log = receive(message(type, body)).log;
            EXPECT_NE(std::string::npos, log.find("debug [FIFO Message] Parse " +
                                                  std::string(kind) + " message error! [LINE:"))
                << body;
        }
    }
    EXPECT_EQ(0x80000002U, Message_GetDataType(voxoContext.xmlParser, "<m>", 3));
    EXPECT_EQ(0x80000003U, Message_GetDataType(voxoContext.xmlParser, "<m/>", 4));
    // A header in front of its body. In other halves, what comes first is refused, and so is the
    // rest.
    const std::string whole = location("/split");
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_LT(0, write(fifo_, whole.data() + 4, whole.size() - 4));
    });
    EXPECT_EQ("Get location: /split\n", outputFor(whole.substr(0, 4)));
    writer.join();
    EXPECT_EQ(0, receive(whole.substr(0, 30)).result);
    EXPECT_EQ(-1, receive(whole.substr(30, 4)).result);
    EXPECT_EQ("Get location: /good\n", outputFor(location("/good")));
}

// Empty datagrams in front of a message that another reader then takes.
TEST_F(FifoTest, KeepsHearingTheStream) {
    int sockets[2] = {};
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, sockets));
    char byte = 'x';
    EXPECT_EQ(1, write(fifo_, &byte, 1));
    for (int i = 0; i < 9; ++i) {
        send(sockets[1], &byte, i < 8 ? 0 : 1, 0);
        EXPECT_TRUE(i < 8 || read(fifo_, &byte, 1) == 1);
        EXPECT_EQ(-1, voxoWaitInput(sockets[0], recvBuf, sizeof recvBuf, 0));
    }
    EXPECT_EQ(0, voxoWaitInput(sockets[0], recvBuf, sizeof recvBuf, 0));
    close(sockets[0]);
    close(sockets[1]);
}

TEST_F(FifoTest, AsksForTwoWayAudio) {
    const std::string query = "get Value 99 0\nstatus_onlinenum_sip";
    const std::string stopped = "set NameValue 99 0 0\nstatus_audioclip_playing=0";
    const struct {
        const char *answer;
        const char *out;
        std::vector<std::string> requests;
    } cases[] = {{"0", "i2WayAudioStatus = 0\n", {query}},
                 {"1\n", "i2WayAudioStatus = 1\n2-way audio in progress\n", {query, stopped}}};
    clipStart = 1;
    for (const auto &talk : cases) {
        EXPECT_EQ(1, clipStart);
        const FakeTessel tessel(dir_.path(), talk.answer);
        EXPECT_EQ(talk.out, outputOf([] { voxoCheck2WayAudio(); }));
        EXPECT_EQ(talk.requests, tessel.requests());
    }
    EXPECT_EQ(0, clipStart);
    // A method's name is cut where its field ends.
    const FakeTessel tessel(dir_.path(), "");
    voxoSendToTessel("body", "sixteencharacter", 0, 1, nullptr, 0);
    EXPECT_EQ("get sixteencharacte 99 0\nbody", tessel.requests().at(0));
}

TEST_F(FifoTest, MakesTheFifoOrReusesIt) {
    const std::filesystem::path path = dir_.path() / "var/run/voxo/c0/controlfifo";
    EXPECT_TRUE(std::filesystem::is_fifo(path));
    const std::string again = outputOf([] { EXPECT_EQ(0, voxoInitFIFO()); });
    EXPECT_EQ("Initial FIFO succeeded, fd = " + std::to_string(voxoContext.fifoFd) + "\n", again);
    close(voxoContext.fifoFd);
    std::filesystem::remove(path);
    std::ofstream(path) << "a plain file would be readable for ever";
    EXPECT_EQ("[voxo] src/voxo:#: Open FIFO fail, path = /var/run/voxo/c0/controlfifo\n"
              "[voxo] src/voxo:#: /var/run/voxo/c0/controlfifo is no FIFO\n",
              outputOf([] { EXPECT_EQ(-1, voxoInitFIFO()); }));
    std::filesystem::remove_all(path.parent_path());
    EXPECT_EQ("[voxo] src/voxo:#: Make a FIFO file fail, path = /var/run/voxo/c0/controlfifo\n",
              outputOf([] { EXPECT_EQ(-1, voxoInitFIFO()); }));
}

} // namespace
