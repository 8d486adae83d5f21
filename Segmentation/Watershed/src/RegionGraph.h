#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <rix/access/Looks.h>
#include <rix/access/MemoryAccount.h>

namespace rix::segmentation {

/// Sorts values and keeps each once.
template <class Value>
void sortOnce(access::CountedVector<Value>& values) {
    access::Looks looks;
    std::sort(values.begin(), values.end(), [&](const Value& a, const Value& b) {
        looks.add(1);
        return a < b;
    });
    values.erase(std::unique(values.begin(), values.end()), values.end());
}

/// Regions with their means and neighbours, of which those that differ little are merged. Regions are numbered in the
/// order of their labels.
class RegionGraph {
public:
    /// Two regions that touch: the number of the first one in the upper half, which is the lower one.
    using Pair = std::uint64_t;
    using Pairs = access::CountedVector<Pair>;
    static Pair pairOf(std::uint32_t a, std::uint32_t b) { return a < b ? Pair{a} << 32 | b : Pair{b} << 32 | a; }

    explicit RegionGraph(std::size_t regions) { access::resizeWithLooks(m_regions, regions); }
    /// The most bytes that so many regions and pairs take, beside the pairs.
    static std::size_t bytes(std::size_t regions, std::size_t pairs) {
        return regions * sizeof(Region) + pairs * sizeof(Candidate);
    }

    void add(std::uint32_t region, double value);
    /// Merges in rounds; see `RegionMerging2d`.
    /// @param pairs each once, in any order; what is left of them is returned here
    void merge(Pairs& pairs, double threshold);
    /// The lowest region that a region was merged with.
    std::uint32_t rootOf(std::uint32_t region);

private:
    struct Region {
        double sum = 0.0;
        std::uint64_t count = 0;
        std::uint32_t root = nobody;
    };
    struct Candidate {
        double difference;
        Pair pair;
        bool operator<(const Candidate& other) const {
            return difference != other.difference ? difference < other.difference : pair < other.pair;
        }
        bool operator==(const Candidate& other) const { return pair == other.pair; }
    };
    static constexpr std::uint32_t nobody = 0xFFFFFFFF;

    double differenceOf(std::uint32_t a, std::uint32_t b) const;
    /// @return whether anything was merged
    bool mergeRound(Pairs& pairs, double threshold);

    access::CountedVector<Region> m_regions;
};

}  // namespace rix::segmentation
