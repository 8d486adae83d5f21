#pragma once

#include <cstdint>

namespace rix::segmentation {

/// For each byte: how many of its bits lie at or before each of the eight places.
struct LabelRanks {
    std::uint8_t upTo[256][8];
};

constexpr LabelRanks makeLabelRanks() {
    LabelRanks ranks{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        std::uint8_t count = 0;
        for (unsigned i = 0; i < 8; ++i) {
            count = static_cast<std::uint8_t>(count + ((byte >> i) & 1U));
            ranks.upTo[byte][i] = count;
        }
    }
    return ranks;
}

alignas(64) inline constexpr LabelRanks labelRanks = makeLabelRanks();

}  // namespace rix::segmentation
