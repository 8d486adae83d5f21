#include "RegionGraph.h"

#include <cmath>
#include <utility>

namespace rix::segmentation {

void RegionGraph::add(std::uint32_t region, double value) {
    m_regions[region].sum += value;
    ++m_regions[region].count;
}

std::uint32_t RegionGraph::rootOf(std::uint32_t region) {
    std::uint32_t root = region;
    while (m_regions[root].root != nobody) {
        root = m_regions[root].root;
    }
    while (region != root) {
        region = std::exchange(m_regions[region].root, root);
    }
    return root;
}

double RegionGraph::differenceOf(std::uint32_t a, std::uint32_t b) const {
    const Region& left = m_regions[a];
    const Region& right = m_regions[b];
    return std::fabs(left.sum / static_cast<double>(left.count) - right.sum / static_cast<double>(right.count));
}

bool RegionGraph::mergeRound(Pairs& pairs, double threshold) {
    const auto low = [](Pair pair) { return static_cast<std::uint32_t>(pair >> 32); };
    const auto high = [](Pair pair) { return static_cast<std::uint32_t>(pair); };
    access::Looks looks;
    // Regions without a mean are near none.
    const auto isNear = [&](Pair pair) {
        looks.add(1);
        return differenceOf(low(pair), high(pair)) <= threshold;
    };
    access::CountedVector<Candidate> candidates;
    candidates.reserve(static_cast<std::size_t>(std::count_if(pairs.begin(), pairs.end(), isNear)));
    for (const Pair pair : pairs) {
        if (isNear(pair)) {
            candidates.push_back({differenceOf(low(pair), high(pair)), pair});
        }
    }
    sortOnce(candidates);
    for (const Candidate& candidate : candidates) {
        looks.add(1);
        const std::uint32_t a = rootOf(low(candidate.pair));
        const std::uint32_t b = rootOf(high(candidate.pair));
        if (a != b && differenceOf(a, b) <= threshold) {
            Region& kept = m_regions[std::min(a, b)];
            Region& gone = m_regions[std::max(a, b)];
            kept.sum += gone.sum;
            kept.count += gone.count;
            gone.root = std::min(a, b);
        }
    }
    for (Pair& pair : pairs) {
        looks.add(1);
        pair = pairOf(rootOf(low(pair)), rootOf(high(pair)));
    }
    std::erase_if(pairs, [&](Pair pair) { return low(pair) == high(pair); });
    return !candidates.empty();
}

void RegionGraph::merge(Pairs& pairs, double threshold) {
    while (mergeRound(pairs, threshold)) {
        sortOnce(pairs);
    }
}

}  // namespace rix::segmentation
