// Segments that are torn or hostile, on memory that ends where the segment does.
#include "settings/settings_lookup.h"

#include "tests/support/random.h"
#include "vcam/tessel/settings_image.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

constexpr std::uint32_t base = 0x40000000;

SettingsStore sampleStore() {
    SettingsStore store = SettingsStore::ofCamera();
    store.setAlias("alias_one", "audioout_c0_volume");
    store.setFetched("fetched_value", "1");
    return store;
}

// Looks the key up in an exact copy on the heap.
SettingsLookup lookUp(const std::vector<unsigned char> &image, const char *key,
                      std::string *value = nullptr) {
    const std::unique_ptr<unsigned char[]> exact(new unsigned char[image.size()]);
    std::memcpy(exact.get(), image.data(), image.size());
    char buffer[4];
    const SettingsLookup result =
        settingsLookUp(SettingsTree(exact.get(), image.size()), key, buffer, sizeof buffer);
    if (value != nullptr && result == SettingsLookup::found) {
        *value = buffer;
    }
    return result;
}

void put(std::vector<unsigned char> &image, std::size_t offset, std::uint32_t word) {
    std::memcpy(image.data() + offset, &word, sizeof word);
}

std::uint32_t get(const std::vector<unsigned char> &image, std::size_t offset) {
    std::uint32_t word = 0;
    std::memcpy(&word, image.data() + offset, sizeof word);
    return word;
}

TEST(SettingsTree, FailsWhereverItIsTorn) {
    const std::vector<unsigned char> whole = settingsImage(sampleStore(), base);
    for (std::size_t size = 1; size < whole.size(); ++size) {
        const std::vector<unsigned char> torn(whole.begin(),
                                              whole.begin() + static_cast<std::ptrdiff_t>(size));
        std::string value;
        const SettingsLookup result = lookUp(torn, "audioout_c0_volume", &value);
        EXPECT_TRUE(result == SettingsLookup::failed || value == "80") << size;
    }
    std::string value;
    EXPECT_EQ(SettingsLookup::found, lookUp(whole, "alias_one", &value));
    EXPECT_EQ("80", value);
    EXPECT_EQ(SettingsLookup::onDemand, lookUp(whole, "fetched_value"));
}

TEST(SettingsTree, EndsOnEveryDamage) {
    const std::vector<unsigned char> whole = settingsImage(sampleStore(), base);
    Random random;
    for (int i = 0; i < 20000; ++i) {
        std::vector<unsigned char> image = whole;
        for (int wounds = 0; wounds < 1 + i % 3; ++wounds) {
            const std::size_t at = random.below(image.size() - 4);
            // Half of the damage makes pointers to other places of the segment: loops and knots.
            put(image, random.oneIn(2) ? at : at / 4 * 4,
                random.oneIn(2) ? random.next() : base + random.below(image.size()));
        }
        for (const char *key : {"audioout_c0_volume", "alias_one", "fetched_value"}) {
            lookUp(image, key);
        }
    }
}

// Lists that bite their own tail, and a key that walks them again and again.
TEST(SettingsTree, EndsOnLoops) {
    const std::vector<unsigned char> whole = settingsImage(sampleStore(), base);
    const std::size_t root = get(whole, 4) - base;
    for (const std::size_t link : {24U, 28U}) {
        std::vector<unsigned char> image(1 << 20);
        std::copy(whole.begin(), whole.end(), image.begin());
        put(image, root + 24, base + static_cast<std::uint32_t>(root)); // its own child
        put(image, root + 28, base + static_cast<std::uint32_t>(root)); // its own sibling
        put(image, root + link, base + static_cast<std::uint32_t>(root));
        std::string key = "x";
        for (int i = 0; i < 1000; ++i) {
            key += "_";
        }
        EXPECT_EQ(SettingsLookup::failed, lookUp(image, key.c_str()));
        EXPECT_EQ(SettingsLookup::failed, lookUp(image, std::string(1000, '_').c_str()));
    }
}

} // namespace
