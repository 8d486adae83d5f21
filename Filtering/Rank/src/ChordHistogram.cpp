#include "ChordHistogram.h"

#include <rix/access/Looks.h>

namespace rix::filtering::rank {

namespace {

template <bool masked>
void moveAlong(const std::uint8_t* row, const std::uint8_t* mask, const ChordTable& chords, std::size_t count,
               const Wanted& wanted, const Found& found) {
    std::uint32_t groups[groupClasses] = {};
    std::uint32_t all[classes] = {};
    std::uint32_t n = 0;
    access::Looks looks;
    const auto change = [&](std::ptrdiff_t at, std::uint32_t by) {
        if (!masked || mask[at] != 0) {
            const std::size_t c = row[at];
            groups[c / groupClasses] += by;
            all[c] += by;
            n += by;
        }
    };
    for (std::size_t i = 0; i < chords.count; ++i) {
        for (std::ptrdiff_t at = chords.begin[i]; at < chords.end[i]; ++at) {
            change(at, 1);
        }
        looks.add(static_cast<std::size_t>(chords.end[i] - chords.begin[i]) / 16);
    }
    for (std::size_t x = 0; x < count; ++x) {
        looks.add(1 + chords.count / 16);
        if (x > 0) {
            const auto before = static_cast<std::ptrdiff_t>(x) - 1;
            for (std::size_t i = 0; i < chords.count; ++i) {
                change(chords.end[i] + before, 1);
                change(chords.begin[i] + before, ~std::uint32_t{0});
            }
        }
        if (n == 0) {
            found.classes[x] = 0;
            found.before[x] = Found::nothing;
            continue;
        }
        auto left = static_cast<std::uint32_t>(
            masked ? static_cast<std::size_t>(wanted.rank * static_cast<double>(n - 1) + 1e-9) : wanted.index);
        std::size_t g = 0;
        for (; left >= groups[g]; ++g) {
            left -= groups[g];
        }
        std::size_t c = g * groupClasses;
        for (; left >= all[c]; ++c) {
            left -= all[c];
        }
        found.classes[x] = static_cast<std::uint8_t>(c);
        found.before[x] = left;
    }
}

}  // namespace

void findInChords(const std::uint8_t* row, const std::uint8_t* mask, const ChordTable& chords, std::size_t count,
                  const Wanted& wanted, const Found& found) {
    mask != nullptr ? moveAlong<true>(row, mask, chords, count, wanted, found)
                    : moveAlong<false>(row, mask, chords, count, wanted, found);
}

}  // namespace rix::filtering::rank
