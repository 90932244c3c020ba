#include "settings/settings_request.h"

#include "tests/settings/fake_tessel.h"
#include "tests/support/captured.h"
#include "tests/support/redirect.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

SETTINGS_REQUEST makeRequest(std::uint32_t kind, const char *method, const char *body) {
    SETTINGS_REQUEST request = {};
    request.kind = kind;
    std::memcpy(request.method, method, strnlen(method, sizeof request.method));
    std::strcpy(request.applyArgument, "now");
    request.body = body;
    request.number1 = 99;
    request.number2 = -2;
    request.number3 = 7;
    return request;
}

class RequestTest : public testing::Test {
protected:
    // Sends a request to a daemon that says `reply`; what it was sent is in `received`.
    std::int32_t ask(const SETTINGS_REQUEST &request, const std::string &reply, char *buffer,
                     std::uint32_t room) {
        const FakeTessel tessel(dir_.path(), [&](int fd) {
            received = FakeTessel::receive(fd);
            send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
        });
        return settings_request(&request, buffer, room);
    }

    TemporaryDirectory dir_;
    RedirectedPaths paths_{dir_.path()};
    std::string received;
    char reply_[64] = {};
};

TEST_F(RequestTest, FormatsEachKind) {
    ask(makeRequest(0, "Value", "some_key"), "", reply_, sizeof reply_);
    EXPECT_EQ("get Value 99 7\nsome_key", received);
    ask(makeRequest(1, "NameValue", "key=1\n"), "", reply_, sizeof reply_);
    EXPECT_EQ("set NameValue 99 -2 7\nkey=1\n", received);
    ask(makeRequest(2, "All", "body"), "", reply_, sizeof reply_);
    EXPECT_EQ("apply All 99 -2 now\nbody", received);
    // A method that fills its field has no terminator.
    ask(makeRequest(0, "sixteencharacter", ""), "", reply_, sizeof reply_);
    EXPECT_EQ("get sixteencharacter 99 7\n", received);
}

TEST_F(RequestTest, CutsALongRequest) {
    const std::string body(9000, 'b');
    ask(makeRequest(1, "M", body.c_str()), "", reply_, sizeof reply_);
    EXPECT_EQ(8190U, received.size());
    EXPECT_TRUE(received.starts_with("set M 99 -2 7\nbbb"));
}

TEST_F(RequestTest, RefusesBeforeItConnects) {
    SETTINGS_REQUEST noArgument = makeRequest(2, "M", "body");
    noArgument.applyArgument[0] = '\0';
    const SETTINGS_REQUEST refused[] = {makeRequest(3, "M", "body"), makeRequest(0, "", "body"),
                                        makeRequest(0, "M", nullptr), noArgument};
    for (const SETTINGS_REQUEST &request : refused) {
        EXPECT_EQ("", outputOf([&] { EXPECT_EQ(-1, settings_request(&request, reply_, 64)); }));
    }
}

TEST_F(RequestTest, SaysThatNobodyIsThere) {
    const SETTINGS_REQUEST request = makeRequest(0, "M", "body");
    EXPECT_EQ("connect failed!",
              outputOf([&] { EXPECT_EQ(-1, settings_request(&request, reply_, 64)); }));
}

TEST_F(RequestTest, TakesAReplyThatFits) {
    const SETTINGS_REQUEST request = makeRequest(0, "M", "body");
    EXPECT_EQ(0, ask(request, "1234567", reply_, 8));
    EXPECT_STREQ("1234567", reply_);
    EXPECT_EQ("", outputOf([&] { EXPECT_EQ(-1, ask(request, "12345678", reply_, 8)); }));
    EXPECT_EQ(0, ask(request, "", reply_, 8)); // closed without an answer
    EXPECT_STREQ("", reply_);
    EXPECT_EQ(-1, ask(request, "1", reply_, 0));
}

TEST_F(RequestTest, PrintsAReplyThatNobodyTakes) {
    const SETTINGS_REQUEST request = makeRequest(0, "M", "body");
    const std::string reply(3000, 'r');
    EXPECT_EQ(reply, outputOf([&] { EXPECT_EQ(0, ask(request, reply, nullptr, 0)); }));
}

TEST_F(RequestTest, GivesASilentDaemonUp) {
    const FakeTessel tessel(dir_.path(), [&](int fd) {
        FakeTessel::receive(fd);
        FakeTessel::receive(fd); // until the client has gone
    });
    const SETTINGS_REQUEST request = makeRequest(0, "M", "body");
    for (char *const buffer : {reply_, static_cast<char *>(nullptr)}) {
        EXPECT_EQ("Read timeout (11). Resource temporarily unavailable\n",
                  outputOf([&] { EXPECT_EQ(-1, settings_request(&request, buffer, 64)); }));
    }
}

// No signal, no hang, no descriptor left, whenever the daemon goes.
TEST_F(RequestTest, SurvivesADaemonThatGoes) {
    const SETTINGS_REQUEST request = makeRequest(1, "NameValue", "key=value");
    std::atomic<int> connection{0};
    const FakeTessel tessel(dir_.path(), [&](int fd) {
        if (connection++ % 2 == 0) {
            FakeTessel::receive(fd); // goes without an answer, else with the request unread
        }
    });
    outputOf([&] { settings_request(&request, reply_, 64); });
    const std::size_t descriptors = openDescriptorCount();
    outputOf([&] {
        for (int i = 0; i < 10000; ++i) {
            settings_request(&request, reply_, 64);
        }
    });
    while (tessel.served() < 10001) {
        usleep(1000);
    }
    EXPECT_EQ(descriptors, openDescriptorCount());
}

} // namespace
