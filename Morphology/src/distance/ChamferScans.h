#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "distance/DistanceTask.h"

namespace rix::morphology {

/// A step to a neighbour, and its price.
struct ChamferStep {
    std::array<std::int64_t, 3> offset;
    std::size_t kind;
    float price;

    bool isWithinRow() const { return offset[1] == 0 && offset[2] == 0; }
};

/// The prices of steps to neighbours across edges (faces), corners (edges), and of a knight's move (corners).
class ChamferWeights {
public:
    /// Two or three whole numbers, three for volumes. Nothing where they are none that are accepted.
    static std::optional<ChamferWeights> read(std::string_view text, std::size_t axes);
    /// Those whose distances are the larger of |dx|, |dy| and |dz|.
    static ChamferWeights ofChessboard(std::size_t axes);

    /// What `read` accepts, for messages.
    static const char* description(std::size_t axes);
    /// Whether the price of every chain within an image is exact.
    bool isExactIn(const DistanceTask& task) const;
    /// Whether it also fits 16 bits, and is less than the largest of them.
    bool isShortIn(const DistanceTask& task) const;

    std::size_t kinds() const { return m_prices.size(); }
    float straight() const { return static_cast<float>(m_prices.front()); }
    /// Steps to what comes before a voxel in storage order, kind after kind. Turned around they are the others; rows
    /// that lie as far away are left by the same steps along the columns.
    std::vector<ChamferStep> steps() const;

private:
    double mostIn(const DistanceTask& task) const;

    std::vector<std::int32_t> m_prices;
    std::size_t m_axes = 2;
};

/// Chamfer distances: two scans through each plane or volume. Planes and volumes are done in parallel.
/// @param output `float32`, shares no memory with the image
void scanChamfer(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                 const ChamferWeights& weights, ImageModel& output, OptimLevelType level);
std::size_t scanBytes(const ImageModel& image, const DistanceTask& task, const ChamferWeights& weights,
                      const ImageModel* output, std::size_t threads);

/// The same with the nearest voxels; see `measureNearest`.
void scanNearest(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                 const ChamferWeights& weights, ImageModel& output, ImageModel& nearest);
std::size_t scanNearestBytes(const ImageModel& image, const DistanceTask& task, const ImageModel* output,
                             std::size_t threads);

}  // namespace rix::morphology
