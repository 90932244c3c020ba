// What finds faults in lives has to find them: the promise of the sound, and the shrinking of a
// life.
#include "vcam/sender/stream_records.h"
#include "vcam/world/random_life.h"
#include "vcam/world/shrink.h"
#include "vcam/world/sound.h"
#include "vcam/world/sound_promise.h"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t block = 640;

class SoundPromiseTest : public testing::Test {
protected:
    std::vector<std::uint8_t> payload(std::uint64_t index, std::size_t size = block) const {
        std::vector<std::uint8_t> bytes(size);
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<std::uint8_t>(Sound::noiseWord(index, i));
        }
        return bytes;
    }

    void send(std::uint64_t index) {
        promise_.sent(now_, audioRecord(payload(index)));
        promise_.taken(now_ += nanosecondsPerSecond);
    }

    // Plays what the record of the index sounds like, both sides.
    void play(std::uint64_t index, std::size_t begin = 0, std::size_t end = block) {
        playSamples(lawDecode(payload(index), law_), begin, end);
    }

    void playSamples(const Samples &samples, std::size_t begin, std::size_t end) {
        std::vector<std::int32_t> both;
        for (std::size_t i = begin; i < end; ++i) {
            both.insert(both.end(), 2, std::int32_t{samples[i]} * 65536);
        }
        promise_.heard(both, 2);
    }

    Law law_ = Law::u;
    Moment now_ = nanosecondsPerSecond;
    std::vector<std::string> breaches_;
    std::function<void(const std::string &sentence)> note_ = [this](const std::string &sentence) {
        breaches_.push_back(sentence);
    };
    SoundPromise promise_{note_};
};

TEST_F(SoundPromiseTest, TakesWhatWasSent) {
    for (std::uint64_t i = 0; i < 5; ++i) {
        send(i);
    }
    play(0, 0, 500);
    play(0, 500);
    play(1);
    promise_.cleared();
    EXPECT_EQ(0U, promise_.owed(endOfTime));
    send(5);
    play(5);
    law_ = Law::a;
    promise_.sent(now_, lawRecord(law_));
    send(6);
    EXPECT_EQ(block, promise_.owed(endOfTime));
    play(6);
    EXPECT_EQ(0U, promise_.owed(endOfTime));
    EXPECT_EQ(std::vector<std::string>(), breaches_);
}

TEST_F(SoundPromiseTest, FindsWhatIsLostTwiceOrElsewhere) {
    const std::function<void()> faults[] = {
        [&] { play(1); },                  // the first is lost
        [&] { play(0), play(0); },         // one comes twice
        [&] { play(0, 0, 600), play(1); }, // the end of one is lost
        [&] { play(0, 1); },               // the first sample is
        [&] { play(7); },                  // it was never sent
        [&] { law_ = Law::a, play(0); },
        [&] {
            promise_.heard(std::vector<std::int32_t>{65536, 0}, 2);
        }};
    for (const auto &fault : faults) {
        promise_ = SoundPromise(note_);
        law_ = Law::u;
        breaches_.clear();
        send(0);
        send(1);
        send(2);
        fault();
        EXPECT_EQ(1U, breaches_.size());
    }
}

TEST_F(SoundPromiseTest, ExcusesWhatADaemonDealtWith) {
    promise_.sent(now_, lawRecord(Law::a));
    promise_.taken(now_);
    promise_.lastMayBeLost(now_); // the law is one of two from here on
    send(0);
    send(1);
    play(0);
    law_ = Law::a;
    play(1);
    EXPECT_EQ(0U, breaches_.size());
}

TEST(ShrinkTest, LeavesWhatStillFails) {
    Scenario scenario;
    scenario.until = momentOf(1000);
    for (int i = 0; i < 100; ++i) {
        scenario.steps.push_back({momentOf(i), i == 17 || i == 60 ? "fail" : "stop", "", {}});
    }
    const Scenario less = shrunk(scenario, momentOf(70), [](const Scenario &one) {
        return std::count_if(one.steps.begin(), one.steps.end(),
                             [](const Step &step) { return step.verb == "fail"; }) == 2;
    });
    EXPECT_EQ(2U, less.steps.size());
    EXPECT_EQ(momentOf(270), less.until);
    EXPECT_EQ(kindOfFailure("at 3.5 s: the promise of the x: 12 lost"),
              kindOfFailure("at 99.0 s: the promise of the x: 7 lost"));
}

TEST(RandomLifeTest, IsItsSeeds) {
    const std::string life = shownScenario(randomLife(3, 1));
    EXPECT_EQ(life, shownScenario(randomLife(3, 1)));
    EXPECT_NE(life, shownScenario(randomLife(4, 1)));
    EXPECT_LT(100U, randomLife(3, 1).steps.size());
}

} // namespace
