// Counting is exact whatever the counter takes the data for.

#include "KeyCounter.h"
#include "Testing.h"

namespace rix::analysis {
namespace {

using Texture = std::function<std::uint16_t(std::size_t index, std::mt19937& random)>;
const struct {
    const char* name;
    Texture key;
} textures[] = {
    {"constant", [](std::size_t, std::mt19937&) { return std::uint16_t{65535}; }},
    {"nearly constant", [](std::size_t, std::mt19937& random) { return std::uint16_t(random() % 16 == 0 ? 7 : 300); }},
    {"few values", [](std::size_t, std::mt19937& random) { return std::uint16_t(random() % 5 * 256); }},
    {"runs", [](std::size_t i, std::mt19937&) { return std::uint16_t(i / 50 % 3 + 10); }},
    {"noise", [](std::size_t, std::mt19937& random) { return std::uint16_t(random()); }},
    {"all of these",
     [](std::size_t i, std::mt19937& random) {
         const std::size_t part = i / 60000;
         return std::uint16_t(part % 3 == 0 ? random() : part % 3 == 1 ? 17 : random() % 3);
     }},
};

TEST(KeyCounter, CountsEveryTextureLengthAndAddress) {
    for (const auto& [name, key] : textures) {
        std::mt19937 random(3);
        KeyCounter counter;
        std::vector<std::uint64_t> expected(KeyCounter::keys, 0);
        std::size_t index = 0;
        std::vector<std::size_t> lengths{400003, 1000001, 64};
        for (std::size_t length = 0; length < 70; ++length) {
            lengths.push_back(length);
        }
        for (const std::size_t length : lengths) {
            std::vector<std::uint8_t> bytes(2 * length + 1);
            std::uint8_t* const odd = bytes.data() + 1;
            for (std::size_t i = 0; i < length; ++i) {
                const std::uint16_t next = key(index++, random);
                ++expected[next];
                std::memcpy(odd + 2 * i, &next, sizeof next);
            }
            counter.count(odd, length);
        }
        for (std::size_t i = 0; i < KeyCounter::keys; ++i) {
            ASSERT_EQ(counter[i], expected[i]) << name << ", key " << i;
        }
    }
}

}  // namespace
}  // namespace rix::analysis
