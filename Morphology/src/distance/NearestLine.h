#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "distance/DistanceTask.h"

namespace rix::morphology {

/// No voxel, or one beyond the edges: behind all indices where distances are the same.
inline constexpr std::uint32_t noVoxel = 0xFFFFFFFF;

/// Heights of a line and the voxels that they come from.
struct NearestRow {
    double* heights;
    std::uint32_t* voxels;  ///< raster indices
};

/// What `HeightKernels::transform` does, with the voxel that each of the lowest heights comes from, the one of the
/// lowest index where there are several.
class NearestLine {
public:
    NearestLine(const LineNeeds<double>& needs, const LineCosts<double>& costs) : m_needs(needs), m_costs(costs) {}

    /// @param in with a place before and behind the line
    /// @param firstVoxel the index of the line's first voxel, of which others are `voxelStep` apart
    /// @param sources room for as many places as the line has
    void operator()(const NearestRow& in, const ClassRun* runs, std::size_t runCount, std::size_t length,
                    std::uint32_t firstVoxel, std::uint32_t voxelStep, std::uint32_t* sources,
                    const NearestRow& out) const {
        for (std::size_t i = 0; i < runCount; ++i) {
            const ClassRun& run = runs[i];
            const auto begin = static_cast<std::ptrdiff_t>(run.begin);
            const auto end = static_cast<std::ptrdiff_t>(run.end);
            const auto voxelAt = [&](std::ptrdiff_t x) {
                return firstVoxel + static_cast<std::uint32_t>(x) * voxelStep;
            };
            if (!(run.isObject ? m_needs.ofObjects : m_needs.ofBackground)) {
                for (std::ptrdiff_t x = begin; x < end; ++x) {
                    out.heights[x] = 0;
                    out.voxels[x] = voxelAt(x);
                }
                continue;
            }
            const double beyond = run.isObject ? m_needs.beyondObjects : noHeight<double>;
            const double nextHeight = in.heights[end];
            const std::uint32_t nextVoxel = in.voxels[end];
            in.heights[begin - 1] = begin == 0 ? beyond : 0;
            in.voxels[begin - 1] = begin == 0 ? noVoxel : voxelAt(begin - 1);
            in.heights[end] = run.end == length ? beyond : 0;
            in.voxels[end] = run.end == length ? noVoxel : voxelAt(end);
            takeRun(in, begin, end, sources, out);
            in.heights[end] = nextHeight;
            in.voxels[end] = nextVoxel;
        }
    }

private:
    void takeRun(const NearestRow& in, std::ptrdiff_t begin, std::ptrdiff_t end, std::uint32_t* sources,
                 const NearestRow& out) const {
        const std::ptrdiff_t count = end - begin;
        const std::ptrdiff_t base = begin - 1;  // of sources, and of places, which count from 1
        const auto sourceAt = [&](std::ptrdiff_t i, std::ptrdiff_t otherwise) {
            return i >= 1 && i <= count ? base + static_cast<std::ptrdiff_t>(sources[i - 1]) : otherwise;
        };
        for (auto stride = static_cast<std::ptrdiff_t>(std::bit_floor(static_cast<std::size_t>(count))); stride > 0;
             stride /= 2) {
            for (std::ptrdiff_t i = stride; i <= count; i += 2 * stride) {
                const std::ptrdiff_t source =
                    lowestFor(in, base + i, sourceAt(i - stride, base), sourceAt(i + stride, end), out);
                sources[i - 1] = static_cast<std::uint32_t>(source - base);
            }
        }
    }

    double join(double height, double cost) const {
        return m_costs.takesMaximum ? std::max(height, cost) : height + cost;
    }

    /// The place between two others that the lowest height of x comes from.
    std::ptrdiff_t lowestFor(const NearestRow& in, std::ptrdiff_t x, std::ptrdiff_t first, std::ptrdiff_t last,
                             const NearestRow& out) const {
        const double* const ofSteps = m_costs.ofSteps - x;
        const double known =
            std::min({in.heights[x], join(in.heights[first], ofSteps[first]), join(in.heights[last], ofSteps[last])});
        if (known < noHeight<double>) {
            const double units = m_costs.isSquared ? std::sqrt(known) : known;
            const double steps = units * m_costs.voxelsPerUnit;
            const std::ptrdiff_t farthest = steps < noCount ? static_cast<std::ptrdiff_t>(steps) + 1 : noCount;
            first = std::max(first, x - farthest);
            last = std::min(last, x + farthest);
        }
        double lowest = noHeight<double>;
        std::uint32_t voxel = noVoxel;
        std::ptrdiff_t place = first;
        for (std::ptrdiff_t j = first; j <= last; ++j) {
            const double height = join(in.heights[j], ofSteps[j]);
            if (height < lowest || (height == lowest && in.voxels[j] < voxel)) {
                lowest = height;
                voxel = in.voxels[j];
                place = j;
            }
        }
        out.heights[x] = lowest;
        out.voxels[x] = lowest < noHeight<double> ? voxel : noVoxel;
        return place;
    }

    LineNeeds<double> m_needs;
    LineCosts<double> m_costs;
};

}  // namespace rix::morphology
