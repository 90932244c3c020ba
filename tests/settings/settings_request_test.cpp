#include "settings/settings_request.h"

#include "tests/settings/fake_tessel.h"
#include "tests/support/captured.h"
#include "tests/support/redirect.h"

#include <gtest/gtest.h>

#include <csignal>
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
    // What a daemon receives of a request.
    std::string sent(const SETTINGS_REQUEST &request) {
        const FakeTessel tessel(dir_.path(), "");
        settings_request(&request, reply_, sizeof reply_);
        return tessel.requests().at(0);
    }

    // Sends a request to a daemon that says `reply`.
    std::int32_t ask(const std::string &reply, char *buffer, std::uint32_t room) {
        const FakeTessel tessel(dir_.path(), reply);
        return settings_request(&request_, buffer, room);
    }

    TemporaryDirectory dir_;
    RedirectedPaths paths_{dir_.path()};
    const SETTINGS_REQUEST request_ = makeRequest(0, "M", "body");
    char reply_[64] = {};
};

TEST_F(RequestTest, FormatsEachKind) {
    EXPECT_EQ("get Value 99 7\nsome_key", sent(makeRequest(0, "Value", "some_key")));
    EXPECT_EQ("set NameValue 99 -2 7\nkey=1\n", sent(makeRequest(1, "NameValue", "key=1\n")));
    EXPECT_EQ("apply All 99 -2 now\nbody", sent(makeRequest(2, "All", "body")));
    // A method that fills its field has no terminator.
    EXPECT_EQ("get sixteencharacter 99 7\n", sent(makeRequest(0, "sixteencharacter", "")));
    const std::string body(9000, 'b'); // is cut
    EXPECT_EQ("set M 99 -2 7\n" + body.substr(0, 8190 - 14),
              sent(makeRequest(1, "M", body.c_str())));
}

TEST_F(RequestTest, RefusesBeforeItConnects) {
    SETTINGS_REQUEST noArgument = makeRequest(2, "M", "body");
    noArgument.applyArgument[0] = '\0';
    const SETTINGS_REQUEST refused[] = {makeRequest(3, "M", "body"), makeRequest(0, "", "body"),
                                        makeRequest(0, "M", nullptr), noArgument};
    for (const SETTINGS_REQUEST &request : refused) {
        EXPECT_EQ("", outputOf([&] { EXPECT_EQ(-1, settings_request(&request, reply_, 64)); }));
    }
    EXPECT_EQ("connect failed!",
              outputOf([&] { EXPECT_EQ(-1, settings_request(&request_, reply_, 64)); }));
}

TEST_F(RequestTest, TakesAReplyThatFits) {
    EXPECT_EQ(0, ask("1234567", reply_, 8));
    EXPECT_STREQ("1234567", reply_);
    EXPECT_EQ("", outputOf([&] { EXPECT_EQ(-1, ask("12345678", reply_, 8)); }));
    const std::string reply(3000, 'r'); // that nobody takes is printed
    EXPECT_EQ(reply, outputOf([&] { EXPECT_EQ(0, ask(reply, nullptr, 0)); }));
}

TEST_F(RequestTest, GivesASilentDaemonUp) {
    const FakeTessel tessel(dir_.path(), [&](FakeTessel &self, int fd) {
        self.receive(fd);
        self.receive(fd); // until the client has gone
    });
    for (char *const buffer : {reply_, static_cast<char *>(nullptr)}) {
        EXPECT_EQ("Read timeout (11). Resource temporarily unavailable\n",
                  outputOf([&] { EXPECT_EQ(-1, settings_request(&request_, buffer, 64)); }));
    }
}

// A daemon that is busy, with a full queue, while signals come.
TEST_F(RequestTest, IsNotCutShortBySignals) {
    std::atomic<bool> isBusy = false;
    std::atomic<bool> isReady = false;
    const FakeTessel tessel(dir_.path(), [&](FakeTessel &self, int fd) {
        isBusy = true;
        while (!isReady) {
            usleep(1000);
        }
        self.receive(fd);
        self.reply(fd, "ready");
    });
    const sockaddr_un address = {AF_UNIX, "/tmp/tessel"};
    std::vector<UniqueFd> queue;
    for (bool isFull = false; !isFull;) {
        queue.emplace_back(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
        isFull = connect(queue.back().get(), reinterpret_cast<const sockaddr *>(&address),
                         sizeof address) != 0;
        while (!isBusy) {
            usleep(1000);
        }
    }
    std::signal(SIGUSR2, [](int) {});
    std::thread disturber([&, caller = pthread_self()] {
        for (int i = 0; i < 10; ++i) {
            usleep(2000);
            pthread_kill(caller, SIGUSR2);
        }
        queue.clear();
        isReady = true;
    });
    EXPECT_EQ("", outputOf([&] { EXPECT_EQ(0, settings_request(&request_, reply_, 64)); }));
    EXPECT_STREQ("ready", reply_);
    disturber.join();
}

// No signal, no hang, no descriptor left, whenever the daemon goes.
TEST_F(RequestTest, SurvivesADaemonThatGoes) {
    const FakeTessel tessel(dir_.path(), [](FakeTessel &self, int fd) {
        if (self.served() % 2 == 0) {
            self.receive(fd); // goes without an answer, else with the request unread
        }
    });
    const Captured quiet;
    const std::size_t descriptors = openDescriptorCount();
    for (int i = 0; i < 10000; ++i) {
        settings_request(&request_, reply_, 64);
    }
    while (tessel.served() < 10000) {
        usleep(1000);
    }
    EXPECT_EQ(descriptors, openDescriptorCount());
}

} // namespace
