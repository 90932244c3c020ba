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

// The bytes with one to three wounds: a byte changed, the end cut off, a part repeated or taken
// out, or a number that matters to some size put in.
std::string damaged(std::string bytes, Random &random) {
    const auto below = [&](std::size_t end) { return std::size_t{random.below(end)}; };
    for (std::size_t wounds = 1 + below(3); wounds > 0 && !bytes.empty(); --wounds) {
        const std::size_t at = below(bytes.size());
        switch (below(5)) {
        case 0:
            bytes[at] = static_cast<char>(random.next());
            break;
        case 1:
            bytes.resize(at);
            break;
        case 2:
            bytes.insert(at, bytes.substr(below(bytes.size()), below(40)));
            break;
        case 3:
            bytes.erase(at, below(20));
            break;
        default: {
            static constexpr std::uint32_t numbers[] = {
                0, 1, 17, 18, 19, 0x7FFFFFFE, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF7, 0xFFFFFFFF};
            const std::uint32_t number = numbers[below(std::size(numbers))];
            for (std::size_t i = 0; i < 4 && at + i < bytes.size(); ++i) {
                bytes[at + i] = static_cast<char>(number >> 8 * i);
            }
            break;
        }
        }
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
