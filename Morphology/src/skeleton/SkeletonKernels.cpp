#include "skeleton/SkeletonKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "skeleton/SkeletonKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::morphology::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::CappedTag<std::uint64_t, BitImage::wordsPerChunk>;
using V = hn::Vec<Words>;

constexpr std::uint64_t evenColumns = 0x5555555555555555U;

/// A row at the voxels of some words: themselves, the ones before and the ones behind.
struct Three {
    V before;
    V at;
    V behind;
};

HWY_INLINE Three load(const std::uint64_t* row) {
    const Words d;
    const V at = hn::LoadU(d, row);
    return {hn::Or(hn::ShiftLeft<1>(at), hn::ShiftRight<63>(hn::LoadU(d, row - 1))), at,
            hn::Or(hn::ShiftRight<1>(at), hn::ShiftLeft<63>(hn::LoadU(d, row + 1)))};
}

template <class... Vs>
HWY_INLINE V any(V first, Vs... others) {
    ((first = hn::Or(first, others)), ...);
    return first;
}
template <class... Vs>
HWY_INLINE V all(V first, Vs... others) {
    ((first = hn::And(first, others)), ...);
    return first;
}

/// Counts up to one, two and more, in each bit.
struct UpToThree {
    V one;
    V two;
    V three;

    HWY_INLINE UpToThree() : one(hn::Zero(Words())), two(one), three(one) {}

    template <bool untilThree>
    HWY_INLINE void add(V bits) {
        if constexpr (untilThree) {
            three = hn::Or(three, hn::And(two, bits));
        }
        two = hn::Or(two, hn::And(one, bits));
        one = hn::Or(one, bits);
    }
};

/// Counts in each bit, modulo 8.
struct Modulo8 {
    V ones;
    V twos;
    V fours;

    HWY_INLINE Modulo8() : ones(hn::Zero(Words())), twos(ones), fours(ones) {}

    HWY_INLINE void add(V a, V b, V c) {
        const V sum = hn::Xor(a, b);
        carry(ones, hn::Xor(sum, c), hn::Or(hn::And(a, b), hn::And(c, sum)));
    }
    HWY_INLINE void add(V a, V b) { carry(ones, hn::Xor(a, b), hn::And(a, b)); }

private:
    HWY_INLINE void carry(V low, V bits, V high) {
        const V more = hn::And(low, bits);
        ones = hn::Xor(low, bits);
        const V sum = hn::Xor(twos, more);
        fours = hn::Xor(fours, hn::Or(hn::And(twos, more), hn::And(high, sum)));
        twos = hn::Xor(sum, high);
    }
};

/// The rows around some words.
template <std::size_t axes>
struct Around {
    Three rows[9];  ///< in planes those in the middle

    static constexpr std::size_t first = axes == 3 ? 0 : 3;
    static constexpr std::size_t last = axes == 3 ? 9 : 6;

    HWY_INLINE Around(const RowsAround& from, std::size_t word) {
        for (std::size_t i = first; i < last; ++i) {
            rows[i] = load(from[i] + word);
        }
    }

    template <bool untilThree>
    HWY_INLINE UpToThree countNeighbours() const {
        UpToThree count;
        for (std::size_t i = first; i < last; ++i) {
            count.add<untilThree>(rows[i].before);
            count.add<untilThree>(rows[i].behind);
            if (i != 4) {
                count.add<untilThree>(rows[i].at);
            }
        }
        return count;
    }

    /// Voxels whose neighbours of a kind are all of the object.
    template <BorderKind kind>
    HWY_INLINE V inside() const {
        V inside = all(rows[4].before, rows[4].behind, rows[3].at, rows[5].at);
        if constexpr (axes == 3) {
            inside = all(inside, rows[1].at, rows[7].at);
        }
        if constexpr (kind != BorderKind::Faces) {
            inside = all(inside, rows[3].before, rows[3].behind, rows[5].before, rows[5].behind);
            if constexpr (axes == 3) {
                inside = all(inside, rows[1].before, rows[1].behind, rows[7].before, rows[7].behind, rows[0].at,
                             rows[2].at, rows[6].at, rows[8].at);
            }
        }
        if constexpr (kind == BorderKind::Corners && axes == 3) {
            for (const std::size_t i : {0U, 2U, 6U, 8U}) {
                inside = all(inside, rows[i].before, rows[i].behind);
            }
        }
        return inside;
    }
};

/// In a plane: going around a voxel, exactly once the background across an edge is followed by the object (the crossing
/// number of S. Yokoi, J.-I. Toriwaki and T. Fukumura, 1975, for objects that are connected across corners).
HWY_INLINE V isSimple(const Around<2>& around) {
    const Three& up = around.rows[3];
    const Three& own = around.rows[4];
    const Three& down = around.rows[5];
    const V east = hn::AndNot(own.behind, any(up.behind, up.at));
    const V north = hn::AndNot(up.at, any(up.before, own.before));
    const V west = hn::AndNot(own.before, any(down.before, down.at));
    const V south = hn::AndNot(down.at, any(down.behind, own.behind));
    const V odd1 = hn::Xor(east, north);
    const V odd2 = hn::Xor(west, south);
    const V more = any(hn::And(east, north), hn::And(west, south));
    return hn::AndNot(more, hn::Xor(odd1, odd2));
}

/// What is open, given the voxel that touches it and what lies around it.
HWY_INLINE V edge(V voxel, V face1, V face2) {
    return hn::AndNot(voxel, hn::And(face1, face2));
}
HWY_INLINE V corner(V voxel, V edge1, V edge2, V edge3) {
    return hn::AndNot(voxel, all(edge1, edge2, edge3));
}
HWY_INLINE V also(V joined, V one, V other) {
    return hn::Or(joined, hn::And(one, other));
}

/// In a volume: the surface of a voxel has 6 faces, 12 edges and 8 corners, which are open where no voxel of the object
/// touches them. The voxel is simple where all that is open is one piece without holes: then the objects around it are
/// one piece, too, and so is the background that touches its faces (G. Bertrand and G. Malandain, 1994, count these
/// pieces). It has no holes if it has as many faces and corners as edges, and one more.
HWY_INLINE V isSimple(const Around<3>& around) {
    const Three* const r = around.rows;
    const V west = hn::Not(r[4].before);
    const V east = hn::Not(r[4].behind);
    const V north = hn::Not(r[3].at);
    const V south = hn::Not(r[5].at);
    const V below = hn::Not(r[1].at);
    const V above = hn::Not(r[7].at);
    const V westNorth = edge(r[3].before, west, north);
    const V eastNorth = edge(r[3].behind, east, north);
    const V westSouth = edge(r[5].before, west, south);
    const V eastSouth = edge(r[5].behind, east, south);
    const V westBelow = edge(r[1].before, west, below);
    const V eastBelow = edge(r[1].behind, east, below);
    const V westAbove = edge(r[7].before, west, above);
    const V eastAbove = edge(r[7].behind, east, above);
    const V northBelow = edge(r[0].at, north, below);
    const V southBelow = edge(r[2].at, south, below);
    const V northAbove = edge(r[6].at, north, above);
    const V southAbove = edge(r[8].at, south, above);

    // Faces and corners less edges, modulo 8: from 2 down to -6 are possible. Twelve edges less are so many closed ones
    // more and 12 less.
    Modulo8 count;
    count.add(west, east, north);
    count.add(south, below, above);
    count.add(corner(r[0].before, westNorth, westBelow, northBelow),
              corner(r[0].behind, eastNorth, eastBelow, northBelow),
              corner(r[2].before, westSouth, westBelow, southBelow));
    count.add(corner(r[2].behind, eastSouth, eastBelow, southBelow),
              corner(r[6].before, westNorth, westAbove, northAbove),
              corner(r[6].behind, eastNorth, eastAbove, northAbove));
    count.add(corner(r[8].before, westSouth, westAbove, southAbove),
              corner(r[8].behind, eastSouth, eastAbove, southAbove));
    count.add(hn::Not(westNorth), hn::Not(eastNorth), hn::Not(westSouth));
    count.add(hn::Not(eastSouth), hn::Not(westBelow), hn::Not(eastBelow));
    count.add(hn::Not(westAbove), hn::Not(eastAbove), hn::Not(northBelow));
    count.add(hn::Not(southBelow), hn::Not(northAbove), hn::Not(southAbove));
    const V isOneMore = all(count.ones, hn::Not(count.twos), count.fours);  // 1 + 12 modulo 8

    // Open faces are joined by open edges: taken away one after another, each leaves those that it joins joined, and
    // the last of a piece is known by joining none.
    V northSouth = also(hn::And(westNorth, westSouth), eastNorth, eastSouth);
    V belowAbove = also(hn::And(westBelow, westAbove), eastBelow, eastAbove);
    const V joinedNorthBelow = also(also(northBelow, westNorth, westBelow), eastNorth, eastBelow);
    const V joinedNorthAbove = also(also(northAbove, westNorth, westAbove), eastNorth, eastAbove);
    V joinedSouthBelow = also(also(southBelow, westSouth, westBelow), eastSouth, eastBelow);
    V joinedSouthAbove = also(also(southAbove, westSouth, westAbove), eastSouth, eastAbove);
    const V lastWest = hn::AndNot(any(westNorth, westSouth, westBelow, westAbove), west);
    const V lastEast = hn::AndNot(any(eastNorth, eastSouth, eastBelow, eastAbove), east);
    const V lastNorth = hn::AndNot(any(northSouth, joinedNorthBelow, joinedNorthAbove), north);
    joinedSouthBelow = also(joinedSouthBelow, northSouth, joinedNorthBelow);
    joinedSouthAbove = also(joinedSouthAbove, northSouth, joinedNorthAbove);
    belowAbove = also(belowAbove, joinedNorthBelow, joinedNorthAbove);
    const V lastSouth = hn::AndNot(any(joinedSouthBelow, joinedSouthAbove), south);
    belowAbove = also(belowAbove, joinedSouthBelow, joinedSouthAbove);
    const V lastBelow = hn::AndNot(belowAbove, below);
    V one = hn::Zero(Words());
    V more = one;
    for (const V last : {lastWest, lastEast, lastNorth, lastSouth, lastBelow, above}) {
        more = also(more, one, last);
        one = hn::Or(one, last);
    }
    return all(isOneMore, one, hn::Not(more));
}

/// Calls `use(word)` for the first words of the vectors of active chunks.
template <class Use>
HWY_INLINE void forEachVector(const std::uint8_t* active, std::size_t chunks, const Use& use) {
    for (std::size_t chunk = 0; chunk < chunks; ++chunk) {
        if (active != nullptr && active[chunk] == 0) {
            continue;
        }
        for (std::size_t i = 0; i < BitImage::wordsPerChunk; i += hn::Lanes(Words())) {
            use(chunk * BitImage::wordsPerChunk + i);
        }
    }
}

HWY_INLINE bool isNothing(V bits) {
    return hn::AllTrue(Words(), hn::Eq(bits, hn::Zero(Words())));
}

template <std::size_t axes, BorderKind kind>
HWY_INLINE void markBorderOf(const RowsAround& rows, const std::uint8_t* active, std::uint64_t* border,
                             std::size_t chunks) {
    const Words d;
    forEachVector(active, chunks, [&](std::size_t word) HWY_ATTR {
        const V own = hn::LoadU(d, rows[4] + word);
        if (isNothing(own)) {
            hn::StoreU(own, d, border + word);
            return;
        }
        const Around<axes> around(rows, word);
        hn::StoreU(hn::AndNot(around.template inside<kind>(), own), d, border + word);
    });
}

template <std::size_t axes>
void markBorder(const RowsAround& rows, BorderKind kind, const std::uint8_t* active, std::uint64_t* border,
                std::size_t chunks) {
    switch (kind) {
        case BorderKind::Faces: return markBorderOf<axes, BorderKind::Faces>(rows, active, border, chunks);
        case BorderKind::Edges: return markBorderOf<axes, BorderKind::Edges>(rows, active, border, chunks);
        default: return markBorderOf<axes, BorderKind::Corners>(rows, active, border, chunks);
    }
}

template <std::size_t axes>
bool chooseCandidates(const RowsAround& rows, const std::uint8_t* active, const std::uint64_t* border,
                      std::uint64_t* candidates, std::size_t chunks) {
    const Words d;
    V found = hn::Zero(d);
    forEachVector(active, chunks, [&](std::size_t word) HWY_ATTR {
        V chosen = hn::And(hn::LoadU(d, border + word), hn::LoadU(d, rows[4] + word));
        if (!isNothing(chosen)) {
            const Around<axes> around(rows, word);
            chosen = hn::And(chosen, around.template countNeighbours<false>().two);
            found = hn::Or(found, chosen);
        }
        hn::StoreU(chosen, d, candidates + word);
    });
    return !isNothing(found);
}

template <std::size_t axes>
void thin(std::uint64_t* row, const RowsAround& rows, const std::uint8_t* active, const std::uint64_t* candidates,
          std::uint8_t* changed, std::size_t chunks) {
    const Words d;
    for (const std::uint64_t columns : {evenColumns, ~evenColumns}) {
        // What is left of words is stored after the next ones are read, which lie across the ends of these: a processor
        // would wait for them. Neighbours are of the other columns, so that nothing is missed.
        std::uint64_t* place = nullptr;
        V left = hn::Zero(d);
        forEachVector(active, chunks, [&](std::size_t word) HWY_ATTR {
            const V chosen = hn::And(hn::LoadU(d, candidates + word), hn::Set(d, columns));
            if (isNothing(chosen)) {
                return;
            }
            const Around<axes> around(rows, word);
            const V taken = hn::And(chosen, isSimple(around));
            if (place != nullptr) {
                hn::StoreU(left, d, place);
            }
            place = row + word;
            left = hn::AndNot(taken, around.rows[4].at);
            std::uint8_t& isChanged = changed[word / BitImage::wordsPerChunk];
            isChanged = static_cast<std::uint8_t>(isChanged | (isNothing(taken) ? 0U : 1U));
        });
        if (place != nullptr) {
            hn::StoreU(left, d, place);
        }
    }
}

template <std::size_t axes>
void markEnds(const RowsAround& rows, std::uint64_t* ends, std::size_t chunks) {
    forEachVector(nullptr, chunks, [&](std::size_t word) HWY_ATTR {
        const Around<axes> around(rows, word);
        hn::StoreU(hn::AndNot(around.template countNeighbours<false>().two, around.rows[4].at), Words(), ends + word);
    });
}

template <std::size_t axes>
void markBranches(const RowsAround& rows, std::uint64_t* branches, std::size_t chunks) {
    forEachVector(nullptr, chunks, [&](std::size_t word) HWY_ATTR {
        const Around<axes> around(rows, word);
        hn::StoreU(hn::And(around.template countNeighbours<true>().three, around.rows[4].at), Words(), branches + word);
    });
}

template <std::size_t axes>
SkeletonKernels kernels() {
    return {&markBorder<axes>, &chooseCandidates<axes>, &thin<axes>, &markEnds<axes>, &markBranches<axes>};
}

}  // namespace rix::morphology::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::morphology {

SkeletonKernels skeletonKernels(OptimLevelType level, std::size_t axes) {
    return axes == 3 ? RIX_SELECT_KERNELS(level, kernels<3>()) : RIX_SELECT_KERNELS(level, kernels<2>());
}

}  // namespace rix::morphology
#endif
