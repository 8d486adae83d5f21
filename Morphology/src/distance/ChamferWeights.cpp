#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "distance/ChamferKernels.h"
#include "distance/ChamferScans.h"

namespace rix::morphology {

namespace {

constexpr std::int32_t largestPrice = 10000;
/// Integers up to here are exact in `float32`.
constexpr double largestExact = 16777216.0;

}  // namespace

std::optional<ChamferWeights> ChamferWeights::read(std::string_view text, std::size_t axes) {
    ChamferWeights weights;
    weights.m_axes = axes;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        std::string_view part = text.substr(begin, end - begin);
        part.remove_prefix(std::min(part.find_first_not_of(" \t"), part.size()));
        part.remove_suffix(part.size() - std::min(part.find_last_not_of(" \t") + 1, part.size()));
        std::int32_t price = 0;
        const auto [next, error] = std::from_chars(part.data(), part.data() + part.size(), price);
        if (error != std::errc() || next != part.data() + part.size() || price < 1 || price > largestPrice) {
            return std::nullopt;
        }
        weights.m_prices.push_back(price);
        begin = end + 1;
    }
    // Then no chain that turns back is cheaper than one that doesn't, and two scans find them all.
    const std::vector<std::int32_t>& p = weights.m_prices;
    const bool isAccepted = p.size() == 3 ? p[0] <= p[1] && (axes == 3 ? p[1] <= p[2] : 2 * p[0] <= p[2])
                                          : p.size() == 2 && axes == 2 && p[0] <= p[1];
    return isAccepted ? std::optional(weights) : std::nullopt;
}

ChamferWeights ChamferWeights::ofChessboard(std::size_t axes) {
    ChamferWeights weights;
    weights.m_axes = axes;
    weights.m_prices.assign(axes, 1);
    return weights;
}

const char* ChamferWeights::description(std::size_t axes) {
    return axes == 2 ? "two or three whole numbers from 1 to 10000, a <= b and 2 a <= c, separated by commas"
                     : "three whole numbers from 1 to 10000, a <= b <= c, separated by commas";
}

/// More than any chain costs that is the cheapest.
double ChamferWeights::mostIn(const DistanceTask& task) const {
    double steps = 0;
    for (std::size_t axis = 0; axis < task.axes; ++axis) {
        steps += static_cast<double>(task.extents[axis]) + lineMargin;
    }
    return steps * m_prices.front();
}

bool ChamferWeights::isExactIn(const DistanceTask& task) const {
    return mostIn(task) < largestExact;
}

bool ChamferWeights::isShortIn(const DistanceTask& task) const {
    return mostIn(task) < noPrice<std::uint16_t>;
}

std::vector<ChamferStep> ChamferWeights::steps() const {
    std::vector<ChamferStep> steps;
    for (std::size_t kind = 0; kind < m_prices.size(); ++kind) {
        for (std::int64_t dz = m_axes == 3 ? -1 : 0; dz <= 0; ++dz) {
            for (std::int64_t dy = m_axes == 3 ? -1 : -2; dy <= (dz < 0 ? 1 : 0); ++dy) {
                for (std::int64_t dx = -2; dx <= 2; ++dx) {
                    const std::int64_t sum = std::abs(dx) + std::abs(dy) + std::abs(dz);
                    const std::int64_t farthest = std::max({std::abs(dx), std::abs(dy), std::abs(dz)});
                    const bool isKnights = m_axes == 2 && sum == 3;
                    const bool isBefore = dz < 0 || dy < 0 || dx < 0;
                    if (isBefore && farthest == (isKnights ? 2 : 1) && sum == static_cast<std::int64_t>(kind) + 1) {
                        steps.push_back({{dx, dy, dz}, kind, static_cast<float>(m_prices[kind])});
                    }
                }
            }
        }
    }
    return steps;
}

}  // namespace rix::morphology
