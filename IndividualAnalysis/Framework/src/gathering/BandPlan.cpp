#include "BandPlan.h"

#include <algorithm>

namespace rix::individual_analysis {

namespace {

/// A band is long enough to make its table and its joining cheap, and far below 20 ms.
constexpr std::size_t voxelsOfBand = std::size_t{1} << 18;
/// What looking at neighbours reads twice stays below a quarter.
constexpr std::size_t lookBacksOfBand = 4;
/// Rough cost, for deciding whether threads pay.
constexpr double nanosecondsPerVoxel = 0.3;

}  // namespace

BandPlan::BandPlan(const ImageModel& labels, bool neighbours)
    : columns(labels.getNumOf(COLUMNS)),
      rows(labels.getNumOf(ROWS)),
      planes(labels.getNumOf(PLANS)),
      frames(labels.getNumOf(SEQUENCE)) {
    if (neighbours) {
        lookBack = planes > 1 ? rows + 1 : 1;
    }
    access::BandNeeds needs;
    needs.joined = access::JoinedAxes::RowsAndPlanes;
    needs.elements = std::max(voxelsOfBand / std::max<std::size_t>(columns, 1), lookBacksOfBand * lookBack);
    needs.nanosecondsPerVoxel = nanosecondsPerVoxel;
    plan = access::cutBands({columns, rows, planes, frames, 1}, needs);
}

}  // namespace rix::individual_analysis
