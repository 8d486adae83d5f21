#include "TileKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "TileKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::manipulation::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Doubles = hn::CappedTag<double, TileKernels::vector>;
using Floats = hn::Rebind<float, Doubles>;
using Integers = hn::Rebind<std::int32_t, Doubles>;
using DoubleVector = hn::Vec<Doubles>;
using FloatVector = hn::Vec<Floats>;
using IntegerVector = hn::Vec<Integers>;

/// The place of values among the classes, from 0 to their number; 0 of NaN.
template <bool areValues>
HWY_INLINE DoubleVector placesOf(DoubleVector value, const TileClasses& classes) {
    const Doubles d;
    const auto minimum = hn::Set(d, classes.minimum);
    if constexpr (areValues) {
        return hn::Sub(value, minimum);
    } else {
        // Halves: twice the largest real is none.
        const auto length = hn::Set(d, classes.maximum * 0.5 - classes.minimum * 0.5);
        const auto distance = hn::Sub(hn::Mul(value, hn::Set(d, 0.5)), hn::Set(d, classes.minimum * 0.5));
        const auto all = hn::Set(d, static_cast<double>(TileClasses::count));
        const auto inside = hn::Mul(hn::Div(distance, length), all);
        const auto above = hn::IfThenElse(hn::Lt(value, hn::Set(d, classes.maximum)), inside, all);
        return hn::IfThenElseZero(hn::Gt(value, minimum), above);
    }
}

HWY_INLINE IntegerVector classesAt(DoubleVector place) {
    const auto last = hn::Set(Doubles(), static_cast<double>(TileClasses::count - 1));
    return hn::DemoteTo(Integers(), hn::Min(place, last));
}

template <bool areValues>
void findClasses(const double* values, std::size_t count, const TileClasses& classes, std::int32_t* out) {
    const Doubles d;
    for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
        hn::StoreU(classesAt(placesOf<areValues>(hn::LoadU(d, values + i), classes)), Integers(), out + i);
    }
}

void classesOf(const double* values, std::size_t count, const TileClasses& classes, std::int32_t* out) {
    (classes.areValues ? &findClasses<true> : &findClasses<false>)(values, count, classes, out);
}

/// The place of voxels among the entries of a row of tiles, from the first tile that is looked up, and their way to the
/// next class.
template <bool areValues>
HWY_INLINE void findEntries(const double* values, std::size_t count, const TileClasses& classes,
                            const std::int32_t* tiles, std::int32_t* indices, float* waysInClass) {
    const Doubles d;
    const Integers integers;
    const auto firstTile = hn::Set(integers, tiles[0]);
    const auto entries = hn::Set(integers, static_cast<std::int32_t>(TileClasses::entries));
    for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
        const auto place = placesOf<areValues>(hn::LoadU(d, values + i), classes);
        const auto classOf = classesAt(place);
        if constexpr (!areValues) {
            const Floats floats;
            hn::StoreU(hn::DemoteTo(floats, hn::Sub(place, hn::PromoteTo(d, classOf))), floats, waysInClass + i);
        }
        const auto tile = hn::Sub(hn::LoadU(integers, tiles + i), firstTile);
        hn::StoreU(hn::Add(hn::Mul(tile, entries), classOf), integers, indices + i);
    }
}

/// The share between the tile and the next, in a row of tiles.
template <bool areValues>
HWY_INLINE FloatVector sharesOf(const SharePair* found, const float* waysInClass, FloatVector way) {
    const Floats d;
    const auto* const from = reinterpret_cast<const float*>(found);
    FloatVector ofFirst;
    FloatVector ofNext;
    if constexpr (areValues) {
        hn::LoadInterleaved2(d, from, ofFirst, ofNext);
    } else {
        FloatVector firstAbove;
        FloatVector nextAbove;
        hn::LoadInterleaved4(d, from, ofFirst, ofNext, firstAbove, nextAbove);
        const auto wayInClass = hn::LoadU(d, waysInClass);
        ofFirst = hn::Add(ofFirst, hn::Mul(hn::Sub(firstAbove, ofFirst), wayInClass));
        ofNext = hn::Add(ofNext, hn::Mul(hn::Sub(nextAbove, ofNext), wayInClass));
    }
    return hn::Add(ofFirst, hn::Mul(hn::Sub(ofNext, ofFirst), way));
}

/// Entries are looked up one by one: instructions that gather take longer on many processors.
template <bool areValues>
void mapValues(double* values, std::size_t count, const TileMap& map, const std::int32_t* tiles, const float* ways) {
    constexpr std::size_t pairs = areValues ? 1 : 2;  // with the entry of the next class
    std::int32_t indices[TileKernels::mostValues];
    float waysInClass[TileKernels::mostValues];
    SharePair found[TileKernels::mostValues * pairs];
    float shares[TileKernels::mostValues] = {};
    findEntries<areValues>(values, count, map.classes, tiles, indices, waysInClass);
    const Floats floats;
    const std::size_t first = static_cast<std::size_t>(tiles[0]) * TileClasses::entries;
    for (std::size_t row = 0; row < map.numberOfTileRows; ++row) {
        const SharePair* const entries = map.tileRows[row].shares + first;
        for (std::size_t i = 0; i < count; ++i) {
            __builtin_memcpy(found + pairs * i, entries + indices[i], pairs * sizeof(SharePair));
        }
        const auto weight = hn::Set(floats, map.tileRows[row].weight);
        for (std::size_t i = 0; i < count; i += hn::Lanes(floats)) {
            const auto share = sharesOf<areValues>(found + pairs * i, waysInClass + i, hn::LoadU(floats, ways + i));
            hn::StoreU(hn::Add(hn::LoadU(floats, shares + i), hn::Mul(weight, share)), floats, shares + i);
        }
    }
    const Doubles d;
    for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
        const auto value = hn::LoadU(d, values + i);
        const auto one = hn::Set(d, 1.0);
        const auto bounded = hn::Min(hn::PromoteTo(d, hn::LoadU(floats, shares + i)), one);
        const auto result =
            hn::Add(hn::Mul(hn::Set(d, map.low), hn::Sub(one, bounded)), hn::Mul(hn::Set(d, map.high), bounded));
        hn::StoreU(hn::IfThenElse(hn::Eq(value, value), result, value), d, values + i);
    }
}

void mapRow(double* values, std::size_t count, const TileMap& map, const std::int32_t* tiles, const float* ways) {
    (map.classes.areValues ? &mapValues<true> : &mapValues<false>)(values, count, map, tiles, ways);
}

TileKernels kernels() {
    return {&classesOf, &mapRow};
}

}  // namespace rix::manipulation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::manipulation {

TileKernels tileKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels());
}

}  // namespace rix::manipulation
#endif
