#pragma once

#include <cstddef>
#include <memory>

#include <rix/access/Blocks.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>
#include <rix/individual_analysis/Quantity.h>

#include "IntensityKernels.h"

namespace rix::individual_analysis {

/// Reads the runs of the lines (rows of any plane) of a label image, whatever its type. One object a thread.
class LabelLines {
public:
    virtual ~LabelLines() = default;
    /// Finds the runs of a row. `runs` has room for one a column. @return how many there are
    virtual std::size_t findRuns(const access::RowSegment& line, Run* runs) = 0;
};

/// Reads lines of one channel of a grey image, whatever its type. One object a thread.
class IntensityLines {
public:
    virtual ~IntensityLines() = default;
    /// Makes a row the present one, valid until the next call.
    virtual void read(const access::RowSegment& line) = 0;
    /// A value of the present row.
    virtual double value(std::size_t column) const = 0;
    /// The values of the present row.
    virtual void copyRow(double* target, std::size_t count) const = 0;
    /// @param parts bits of `RunSumParts`: what is made of each run
    virtual void sum(unsigned parts, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) const = 0;
    virtual void moments(const Run* runs, std::size_t count, double* moments) const = 0;
    /// Copies the values of a run; they have the size of the image's type.
    virtual void copy(const Run& run, RawData target) const = 0;
};

std::unique_ptr<LabelLines> makeLabelLines(const ImageModel& image, OptimLevelType level);
std::unique_ptr<IntensityLines> makeIntensityLines(const ImageModel& image, OptimLevelType level);

}  // namespace rix::individual_analysis
