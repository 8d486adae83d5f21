#pragma once

#include <cstddef>

#include <rix/access/Plan.h>
#include <rix/image/ImageModel.h>

namespace rix::individual_analysis {

/// The cut of a label image into bands of lines of one frame. A line is a row of any plane, counted through the planes.
/// The cut depends on the image's extents and on what is gathered alone, also in tests: sums of reals are made band by
/// band and joined in their order, so that they are the same for every number of threads.
struct BandPlan {
    /// @param neighbours whether bands look at the rows before them
    BandPlan(const ImageModel& labels, bool neighbours);

    std::size_t bandsOfFrame() const { return plan.parts(ROWS); }
    /// A line as a segment of one channel.
    access::RowSegment segment(std::size_t frame, std::size_t line, std::size_t channel = 0) const {
        return plan.segmentAt({0, line, 0, frame, channel}, columns);
    }

    std::size_t columns;
    std::size_t rows;
    std::size_t planes;
    std::size_t frames;
    std::size_t lookBack = 0;  ///< how many lines before its first a band has to look at
    access::Plan plan;         ///< its rows are the lines, its frames those of the image
};

}  // namespace rix::individual_analysis
