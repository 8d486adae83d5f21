#include "reconstruction/FloodKernels.h"

#include <rix/simd/Loops.h>

#include "elements/ElementKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "reconstruction/FloodKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::morphology::HWY_NAMESPACE {

template <class Key>
HWY_INLINE Key lower(Key a, Key b) {
    return b < a ? b : a;
}
template <class Key>
HWY_INLINE Key higher(Key a, Key b) {
    return a < b ? b : a;
}

template <class Key>
void lowerFromRow(Key* levels, const Key* grounds, const NeighbourRow& row, std::size_t count) {
    const Key* const others = levels + row.offset;
    if (row.isWide) {
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t x = 0; x < count; ++x) {
            const Key least = lower(lower(*(others + x - 1), others[x + 1]), others[x]);
            levels[x] = higher(lower(levels[x], least), grounds[x]);
        }
    } else {
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t x = 0; x < count; ++x) {
            levels[x] = higher(lower(levels[x], others[x]), grounds[x]);
        }
    }
}

template <class Key>
void lowerForth(Key* levels, const Key* grounds, std::size_t count) {
    Key before = *(levels - 1);
    for (std::size_t x = 0; x < count; ++x) {
        before = lower(levels[x], higher(before, grounds[x]));
        levels[x] = before;
    }
}

template <class Key>
void lowerBack(Key* levels, const Key* grounds, std::size_t count) {
    Key behind = levels[count];
    for (std::size_t x = count; x-- > 0;) {
        behind = lower(levels[x], higher(behind, grounds[x]));
        levels[x] = behind;
    }
}

template <class Key>
bool settle(Key* levels, const Key* grounds, const NeighbourRow* rows, std::size_t rowCount, Key* least,
            std::uint8_t* marks, std::size_t count) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t x = 0; x < count; ++x) {
        least[x] = lower(*(levels + x - 1), levels[x + 1]);
    }
    for (std::size_t row = 0; row < rowCount; ++row) {
        const Key* const others = levels + rows[row].offset;
        if (rows[row].isWide) {
            RIX_INDEPENDENT_ITERATIONS
            for (std::size_t x = 0; x < count; ++x) {
                least[x] = lower(least[x], lower(lower(*(others + x - 1), others[x + 1]), others[x]));
            }
        } else {
            RIX_INDEPENDENT_ITERATIONS
            for (std::size_t x = 0; x < count; ++x) {
                least[x] = lower(least[x], others[x]);
            }
        }
    }
    unsigned any = 0;
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t x = 0; x < count; ++x) {
        const Key offered = higher(least[x], grounds[x]);
        const bool isLower = offered < levels[x];
        levels[x] = isLower ? offered : levels[x];
        marks[x] = isLower ? 1 : 0;
        any |= isLower ? 1U : 0U;
    }
    return any != 0;
}

/// The keys that count for a neighbour: those of NaN for none.
template <bool hasNaN, class Key>
HWY_INLINE Key numberOr(Key key, Key other) {
    return hasNaN && key == static_cast<Key>(nothing<Key> - 1) ? other : key;
}

/// Adds the neighbours in a row, three of which lie around each voxel or one beside it.
template <bool hasNaN, bool isWide, class Key>
HWY_INLINE void takeLimits(const Key* keys, const Key* others, Key* least, Key* largest, std::size_t count) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t x = 0; x < count; ++x) {
        const Key own = keys[x];
        const Key centre = numberOr<hasNaN>(others[x], own);
        Key low = lower(least[x], centre);
        Key high = higher(largest[x], centre);
        if constexpr (isWide) {
            const Key before = numberOr<hasNaN>(*(others + x - 1), own);
            const Key behind = numberOr<hasNaN>(others[x + 1], own);
            low = lower(lower(before, behind), low);
            high = higher(higher(before, behind), high);
        }
        least[x] = low;
        largest[x] = high;
    }
}

template <bool hasNaN, class Key>
HWY_INLINE void compareAll(const Key* keys, const NeighbourRow* rows, std::size_t rowCount, Key* least, Key* largest,
                           std::uint8_t* states, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        least[x] = keys[x];
        largest[x] = keys[x];
    }
    takeLimits<hasNaN, true>(keys, keys, least, largest, count);
    for (std::size_t row = 0; row < rowCount; ++row) {
        const Key* const others = keys + rows[row].offset;
        if (rows[row].isWide) {
            takeLimits<hasNaN, true>(keys, others, least, largest, count);
        } else {
            takeLimits<hasNaN, false>(keys, others, least, largest, count);
        }
    }
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t x = 0; x < count; ++x) {
        constexpr std::uint8_t lowerBeside = LowerBeside;
        constexpr std::uint8_t higherBeside = HigherBeside;
        constexpr std::uint8_t nothingBeside = NothingBeside;
        const bool isNaN = hasNaN && keys[x] == static_cast<Key>(nothing<Key> - 1);
        const std::uint8_t state = largest[x] > keys[x] ? higherBeside : nothingBeside;
        states[x] = least[x] < keys[x] || isNaN ? lowerBeside : state;
    }
}

/// The offsets of the neighbours in a row.
template <class Use>
HWY_INLINE void forEachNeighbour(const NeighbourRow* rows, std::size_t rowCount, const Use& use) {
    use(-1);
    use(1);
    for (std::size_t row = 0; row < rowCount; ++row) {
        use(rows[row].offset);
        if (rows[row].isWide) {
            use(rows[row].offset - 1);
            use(rows[row].offset + 1);
        }
    }
}

template <class Key>
void compare(const Key* keys, const NeighbourRow* rows, std::size_t rowCount, bool hasNaN, Key* least, Key* largest,
             std::uint8_t* states, std::size_t count) {
    if (hasNaN) {
        compareAll<true>(keys, rows, rowCount, least, largest, states, count);
    } else {
        compareAll<false>(keys, rows, rowCount, least, largest, states, count);
    }
}

template <class Key>
HWY_INLINE unsigned settleSome(std::uint8_t* states, const Key* keys, const NeighbourRow* rows, std::size_t rowCount,
                               std::uint8_t* least, std::uint8_t* marks, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        least[x] = states[x];
    }
    forEachNeighbour(rows, rowCount, [&](std::ptrdiff_t offset) HWY_ATTR {
        const Key* const others = keys + offset;
        const std::uint8_t* const known = states + offset;
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t x = 0; x < count; ++x) {
            const auto told = others[x] == keys[x] ? known[x] : static_cast<std::uint8_t>(NothingBeside);
            least[x] = told < least[x] ? told : least[x];
        }
    });
    unsigned any = 0;
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t x = 0; x < count; ++x) {
        const bool isLower = least[x] < states[x];
        states[x] = least[x];
        marks[x] = isLower ? 1 : 0;
        any |= isLower ? 1U : 0U;
    }
    return any;
}

/// What has something lower beside it cannot sink, which is nearly all of most images: it is passed over in parts.
template <class Key>
bool settleStates(std::uint8_t* states, const Key* keys, const NeighbourRow* rows, std::size_t rowCount,
                  std::uint8_t* least, std::uint8_t* marks, std::size_t count) {
    constexpr std::size_t part = 32;
    unsigned any = 0;
    for (std::size_t begin = 0; begin < count; begin += part) {
        const std::size_t some = begin + part <= count ? part : count - begin;
        unsigned higher = LowerBeside;
        for (std::size_t x = begin; x < begin + some; ++x) {
            higher |= states[x];
        }
        if (higher == LowerBeside) {
            __builtin_memset(marks + begin, 0, some);
        } else {
            any |= settleSome(states + begin, keys + begin, rows, rowCount, least, marks + begin, some);
        }
    }
    return any != 0;
}

template <class Key>
FloodKernels<Key> kernels() {
    return {&lowerFromRow<Key>, &lowerForth<Key>, &lowerBack<Key>, &settle<Key>, &compare<Key>, &settleStates<Key>};
}

}  // namespace rix::morphology::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::morphology {

template <class Key>
FloodKernels<Key> floodKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<Key>());
}

template FloodKernels<std::uint8_t> floodKernels<std::uint8_t>(OptimLevelType);
template FloodKernels<std::uint16_t> floodKernels<std::uint16_t>(OptimLevelType);
template FloodKernels<std::uint32_t> floodKernels<std::uint32_t>(OptimLevelType);
template FloodKernels<std::int64_t> floodKernels<std::int64_t>(OptimLevelType);

}  // namespace rix::morphology
#endif
