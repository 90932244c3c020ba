#include "tests/support/camera_process.h"

#include <gtest/gtest.h>

namespace {

// What `vcam play` says of a scenario, with the file's name left out, and its exit status.
std::pair<std::string, int> played(const std::string &scenario) {
    const TemporaryFile file(scenario);
    const TemporaryDirectory camera;
    const Finished play =
        runProgram({vcamPath(), "--dir", (camera.path() / "c").string(), "play", file.path()});
    std::string said = play.err;
    const std::string name = file.path();
    for (std::size_t at = 0; (at = said.find(name)) != std::string::npos;) {
        said.erase(at, name.size());
    }
    return {said, play.status};
}

// A scenario that cannot be lived is refused where it is wrong: nothing in it is passed over.
TEST(ScenarioFile, IsRefusedByLineAndColumn) {
    const std::pair<const char *, const char *> refused[] = {
        {"steps: [\n", "vcam: :2:1: end of sequence flow not found\n"},
        {"- 1\n", "vcam: :1:1: a scenario has the keys about, until and steps\n"},
        {"stpes: []\n", "vcam: :1:1: a scenario has the keys about, "},
        {"until: soon\n", "vcam: :1:8: a time in seconds is wanted, not soon\n"},
        {"until: -1\n", "vcam: :1:8: a time in seconds is wanted, not -1\n"},
        {"steps:\n  - talk\n", "vcam: :2:5: a step looks like {at: 1.5, talk: on}\n"},
        {"steps:\n  - {at: 1, tlak: on}\n", "vcam: :2:5: a step needs one of the verbs cast, conf"},
        {"steps:\n  - {talk: [on]}\n", "vcam: :2:12: a single text or number is wanted here\n"},
        {"steps:\n\n  - {talk: maybe}\n", "vcam: :3:5: talk takes one of: on off, not maybe\n"},
        {"steps:\n  - {talk: on, to: 1}\n", "vcam: :2:5: talk takes nothing else, not to\n"},
        {"steps:\n  - {set: a, two: 1}\n", "vcam: :2:5: set takes to, not two\n"},
        {"steps:\n  - {clip: tone, seconds: 1s}\n", "vcam: :2:5: seconds takes a number, not 1s\n"},
        {"steps:\n  - {clip: tone, seconds: -1}\n", "vcam: :2:5: seconds is never below 0\n"},
        {"steps:\n  - {silence: long}\n", "vcam: :2:5: silence takes a number, not long\n"},
        {"steps:\n  - {path: /x, is: away}\n",
         "vcam: :2:5: is takes one of: there gone, not away\n"},
    };
    for (const auto &[scenario, message] : refused) {
        const auto [said, status] = played(scenario);
        EXPECT_EQ(0U, said.find(message)) << scenario << said;
        EXPECT_EQ(1, status) << scenario;
    }
}

// A step that cannot be carried out ends the life with its place, and an expectation that is not
// met tells what there was instead. Each of them is a life of its own.
TEST(ScenarioLife, FailsWithTheReason) {
    const std::pair<const char *, const char *> failures[] = {
        {"{at: 1, record: 0g}", "record takes pairs of hexadecimal digits"},
        {"{at: 1, cast: none.wav}", "none.wav"},
        {"{at: 1, fail: nothing}", "no such call or driver command can be made to fail: nothing"},
        {"{at: 1, log: Start...., within: 2}",
         ":2:5: at 3.000000 s: expected log: \"Start....\"; the last was \"<15>[voxo]: src"},
        {"{at: 1, log: \"Start...\", times: 3}", "expected log: \"Start...\"; there were 2\n"},
        {"{at: 1, request: get}", "expected request: \"get\"; there was nothing\n"},
        {"{at: 1, never: Start}", "expected never: \"Start\"; there was \"[voxo] src/voxo:"},
        {"{at: 1, gain: 18}", "expected gain: \"18\"; it was 19 left, 19 right\n"},
        {"{at: 1, sound: tone}", "; 0 frames were heard, of at least "},
        {"{at: 1, exit: 0}", "; the daemon is still running\n"},
        {"{at: 1, encoder: 2}", "; it was 1\n"},
        {"{at: 1, output: closed}", "; it was open\n"},
        {"{at: 1, path: /var/run/voxo.pid, is: gone}", "; it was there\n"},
        {"{at: 1, path: /var/run/voxo.pid, mode: 600}", "; its mode was 644\n"},
        {"{at: 1, cast: tone}\n  - {at: 4, silence: 3}", "samples were not silent\n"},
        {"{at: 1, cast: tone}\n  - {at: 4, sound: noise, law: alaw}", "; frame 0 of 15360 was "},
    };
    for (const auto &[step, message] : failures) {
        const auto [said, status] = played("steps:\n  - " + std::string(step) + "\n");
        EXPECT_NE(std::string::npos, said.find(message)) << step << '\n' << said;
        EXPECT_EQ(0U, said.find("vcam: ")) << said;
        EXPECT_EQ(1, status) << step;
    }
}

} // namespace
