// Replays a fuzzer's seeds, and for a second damaged ones, the same in every run: REPLAY CORPUS.
// The input that ends the process is left in <program>.input.
#include "tests/support/random.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

// The bytes with one to three wounds: nothing, a byte, a part or a number that matters to some size
// put in front of what is there, or in its place, or in that of all that follows.
std::string damaged(std::string bytes, Random &random) {
    const auto below = [&](std::size_t end) { return std::size_t{random.below(end)}; };
    for (std::size_t wounds = 1 + below(3); wounds > 0 && !bytes.empty(); --wounds) {
        const std::size_t at = below(bytes.size());
        static constexpr std::uint32_t numbers[] = {
            0, 1, 17, 18, 19, 0x7FFFFFFE, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF7, 0xFFFFFFFF};
        const std::uint32_t number = numbers[below(std::size(numbers))];
        const std::string parts[] = {std::string(1, static_cast<char>(random.next())), // a byte
                                     bytes.substr(at, below(bytes.size())),        // what is there
                                     bytes.substr(below(bytes.size()), below(40)), // a part
                                     "",                                           // nothing
                                     {reinterpret_cast<const char *>(&number), sizeof number}};
        const std::string &part = parts[below(std::size(parts))];
        const std::size_t gone[] = {0, part.size(), below(20), bytes.size()};
        bytes.replace(at, gone[below(std::size(gone))], part);
    }
    return bytes;
}

} // namespace

int main(int /*argc*/, char **argv) {
    const std::string trace = std::string(argv[0]) + ".input";
    const auto run = [&](const std::string &input) {
        std::filesystem::remove(trace); // a new file is written later, an old one at once
        std::ofstream(trace, std::ios::binary) << input;
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()), input.size());
    };
    std::map<std::string, std::string> seeds;
    for (const auto &entry : std::filesystem::directory_iterator(argv[1])) {
        std::ifstream in(entry.path(), std::ios::binary);
        seeds[entry.path()] = std::string(std::istreambuf_iterator<char>(in), {});
    }
    for (const auto &seed : seeds) {
        run(seed.second);
    }
    Random random;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (std::chrono::steady_clock::now() < end) {
        run(damaged(std::next(seeds.begin(), random.below(seeds.size()))->second, random));
    }
    std::filesystem::remove(trace);
    return 0;
}
