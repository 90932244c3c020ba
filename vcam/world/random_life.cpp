#include "vcam/world/random_life.h"

#include "camera/message/message.h"
#include "vcam/camera/fault_name.h"
#include "vcam/sender/message_sender.h"
#include "vcam/sender/stream_records.h"
#include "vcam/tessel/settings_store.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <utility>

namespace {

constexpr double longestPause = 40;  // seconds between two events
constexpr double restartEvery = 600; // a daemon that has ended comes back
constexpr double quietEnd = 150;     // at the end nothing happens any more
constexpr unsigned faultyLives = 3;  // in one of so many, calls and commands fail

class RandomLife {
public:
    RandomLife(std::uint64_t seed, double hours)
        : random_(static_cast<std::mt19937::result_type>(seed ^ seed >> 32)), end_(3600 * hours),
          isFaulty_(seed % faultyLives == 0) {
        scenario_.about = "Seed " + std::to_string(seed) + ".";
        scenario_.until = momentOf(end_);
        scenario_.checksPromises = true;
    }

    Scenario make() {
        for (int i = 0; i * restartEvery < end_; ++i) {
            add(i * restartEvery, "start", "daemon");
        }
        while (now_ < end_ - quietEnd) {
            event();
            now_ += fraction(longestPause);
        }
        std::stable_sort(scenario_.steps.begin(), scenario_.steps.end(),
                         [](const Step &a, const Step &b) { return a.at < b.at; });
        return scenario_;
    }

private:
    using Options = std::map<std::string, std::string>;

    std::uint32_t below(std::uint32_t limit) {
        return static_cast<std::uint32_t>(random_() % limit);
    }

    // A number below `limit`, with three digits.
    double fraction(double limit) {
        return below(static_cast<std::uint32_t>(1000 * limit)) / 1000.0;
    }

    template <std::size_t count>
    std::string oneOf(const char *const (&words)[count]) {
        return words[below(count)];
    }

    void add(double at, const std::string &verb, const std::string &object, Options options = {}) {
        scenario_.steps.push_back({momentOf(at), verb, object, std::move(options)});
    }

    std::string seconds(double least, double most) {
        const auto milliseconds = static_cast<std::uint32_t>(1000 * (most - least));
        const std::uint32_t some = static_cast<std::uint32_t>(1000 * least) + below(milliseconds);
        return std::to_string(some / 1000) + "." + std::to_string(1000 + some % 1000).substr(1);
    }

    void event() {
        struct Kind {
            std::uint32_t weight;
            void (RandomLife::*make)();
        };
        constexpr Kind kinds[] = {
            {30, &RandomLife::speech}, {4, &RandomLife::burst},    {10, &RandomLife::hostile},
            {5, &RandomLife::codec},   {16, &RandomLife::clip},    {6, &RandomLife::stop},
            {6, &RandomLife::talk},    {10, &RandomLife::volume},  {6, &RandomLife::message},
            {8, &RandomLife::bytes},   {5, &RandomLife::signal},   {3, &RandomLife::restart},
            {5, &RandomLife::mood},    {2, &RandomLife::clipGoes}, {1, &RandomLife::videoGoes},
            {6, &RandomLife::failure}};
        std::uint32_t all = 0;
        for (const Kind &kind : kinds) {
            all += kind.weight;
        }
        std::uint32_t left = below(all);
        for (const Kind &kind : kinds) {
            if (left < kind.weight) {
                (this->*kind.make)();
                return;
            }
            left -= kind.weight;
        }
    }

    void cast(const std::string &length, Options options) {
        options["seconds"] = length;
        options["seed"] = std::to_string(below(1'000'000));
        options["law"] = oneOf({"alaw", "ulaw"});
        add(now_, "cast", "noise", std::move(options));
    }

    void speech() {
        const std::string payload = oneOf({"640", "640", "640", "640", "640", "640", "640", "160",
                                           "320", "333", "800", "1200", "2001", "4500"});
        const std::string length = seconds(0.5, 30);
        cast(length, {{"payload", payload}});
    }

    void burst() {
        const std::string length = seconds(0.5, 6);
        cast(length, {{"fast", "yes"}});
    }

    void hostile() {
        for (std::uint32_t count = 1 + below(4); count > 0; --count) {
            const StreamRecord record = hostileRecord(random_);
            add(now_ + fraction(0.5), "record", hexadecimal(record.data(), record.size()));
        }
    }

    // Codec information; another rate does not last.
    void codec() {
        if (below(3) != 0) {
            add(now_, "conf", oneOf({"alaw", "ulaw", "plain"}));
            return;
        }
        const std::uint32_t rates[] = {8000, 11025, 12000, 16000,      24000,
                                       4000, 0,     48000, 4294967295U};
        const StreamRecord record = aacRecord(rates[below(std::size(rates))]);
        add(now_, "record", hexadecimal(record.data(), record.size()));
        add(now_ + 1 + fraction(10), "conf", "plain");
    }

    void clip() {
        Options options;
        options["seconds"] = seconds(0.1, 9);
        options["seed"] = std::to_string(below(1'000'000));
        options["channels"] = oneOf({"1", "1", "2"});
        options["rate"] = oneOf({"8000", "8000", "16000", "48000"});
        options["bits"] = oneOf({"16", "16", "16", "16", "8"});
        add(now_, "clip", "noise", std::move(options));
    }

    void stop() { add(now_, "stop", "clip"); }

    void talk() {
        add(now_, "talk", "on");
        add(now_ + fraction(20), "talk", "off");
    }

    void volume() {
        const std::string value = below(8) == 0 ? oneOf({"loud", "-1", "101", "99999999999", "7x"})
                                                : std::to_string(below(101));
        add(now_, "set", volumeSetting, {{"to", value}});
    }

    void message() {
        const std::string body =
            oneOf({R"(<message><control class="1" value="2"/></message>)",
                   R"(<message><control class="7" value="1"/></message>)",
                   R"(<message><data type="9">x</data></message>)",
                   R"(<message><data type="5">/var/run/clips/none.wav</data></message>)",
                   R"(<message></message>)", R"(<message><control class="1" value="1"/>)",
                   R"(<message><control class="1" value="1"/></message>)"});
        const std::string type = std::to_string(below(5));
        add(now_, "message", body, {{"type", type}});
    }

    // Into the FIFO as they stand: no message, half of one, or more than it says.
    void bytes() {
        std::string bytes;
        switch (below(4)) {
        case 0:
            bytes.assign(1 + below(2000), static_cast<char>(below(9)));
            break;
        case 1:
            bytes = clipMessage(MESSAGE_CLIP_START).substr(0, 1 + below(20));
            break;
        case 2:
            bytes = framedMessage(MESSAGE_TYPE_DATA, std::string(1000 + below(3000), 'x'));
            break;
        default:
            bytes = clipMessage(below(3)) + framedMessage(MESSAGE_TYPE_FIRST, "");
            break;
        }
        add(now_, "bytes", hexadecimal(bytes.data(), bytes.size()));
    }

    void signal() { add(now_, "signal", oneOf({"HUP", "USR1", "PIPE"})); }

    void restart() {
        add(now_, "signal", oneOf({"TERM", "INT", "KILL"}));
        add(now_ + 1 + fraction(100), "start", "daemon");
    }

    void mood() {
        const std::string mood = oneOf({"slow", "silent", "garbage", "full", "gone"});
        const std::string delay = seconds(0.1, 12);
        add(now_, "tessel", mood, {{"delay", delay}});
        add(now_ + fraction(60), "tessel", "good");
    }

    void clipGoes() {
        add(now_, "vanish", "/var/run/clips/clip-" + std::to_string(1 + below(20)) + ".wav");
    }

    // A daemon that starts meanwhile waits for it.
    void videoGoes() {
        add(now_, "video", "gone");
        add(now_ + fraction(100), "video", "here");
    }

    void failure() {
        if (!isFaulty_) {
            return;
        }
        static const std::vector<std::uint32_t> codes = namedFaults();
        const std::uint32_t code = codes[below(static_cast<std::uint32_t>(codes.size()))];
        const std::string nth = std::to_string(1 + below(20));
        add(now_, "fail", faultName(code), {{"nth", nth}});
    }

    std::mt19937 random_;
    double now_ = 1;
    double end_;
    bool isFaulty_;
    Scenario scenario_;
};

} // namespace

Scenario randomLife(std::uint64_t seed, double hours) {
    return RandomLife(seed, hours).make();
}
