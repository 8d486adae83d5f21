#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>

#include "GroupStatistics.h"
#include "ParticipatingRows.h"

namespace rix::analysis {

// What follows from counts of classes of values, or from sorted values.

/// Entropy and mode of classes: `valueOf(index)` is the value that stands for one.
template <class ValueOf>
void describeClasses(const Counts& counts, double total, const ValueOf& valueOf, GroupStatistics& result) {
    double entropy = 0;
    double rest = 0;
    std::size_t most = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] > 0) {
            const double share = static_cast<double>(counts[i]) / total;
            addExactly(entropy, rest, -share * std::log(share));
        }
        most = counts[i] > counts[most] ? i : most;
    }
    result.entropy = entropy + rest + 0.0;
    result.mode = valueOf(most);
}

/// The rank at or below the place of a quantile among `count` sorted values, and the next.
struct Bracket {
    std::uint64_t below;
    std::uint64_t above;
    double share;  ///< of the way between them

    Bracket(double quantile, std::uint64_t count) {
        const double place = quantile * static_cast<double>(count - 1);
        below = std::min(static_cast<std::uint64_t>(place), count - 1);
        above = std::min(below + 1, count - 1);
        share = place - static_cast<double>(below);
    }
};

/// `atRank(rank)` is the value of a rank.
template <class AtRank>
void setQuantiles(std::span<const double> quantiles, const AtRank& atRank, GroupStatistics& result) {
    for (const double quantile : quantiles) {
        const Bracket bracket(quantile, static_cast<std::uint64_t>(result.moments.count));
        const double low = atRank(bracket.below);
        const double high = atRank(bracket.above);
        result.quantiles.push_back(bracket.share == 0 || low == high ? low : low + (high - low) * bracket.share);
    }
}

}  // namespace rix::analysis
