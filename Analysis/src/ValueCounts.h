#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/image/ImageModel.h>

#include "ExtremaKernels.h"

namespace rix::analysis {

/// How often each integer from `first` on occurs.
struct ValueCounts {
    double first = 0.0;
    access::CountedVector<std::uint64_t> counts;

    double valueAt(std::size_t index) const { return first + static_cast<double>(index); }
};

/// True for the types whose whole range is worth a table of counts: those of 8 bits always, those of 16 bits when the
/// image has enough voxels to pay for the table.
bool hasCountableRange(const ImageModel& image);

/// Counts every value of an image of 8 or 16 bits, in one pass. One step of the run.
ValueCounts countValues(access::ExecutionContext& context, const ImageModel& image);

/// Adds the values that occur.
void addExtrema(const ValueCounts& values, Extrema& extrema);

/// Bytes of the table of an image of 8 or 16 bits.
std::size_t tableBytes(const ImageModel& image);

/// Peak bytes of working memory of `countValues`, beside the table.
std::size_t countingMemory(std::size_t threads);

}  // namespace rix::analysis
