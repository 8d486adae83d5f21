#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/Plan.h>
#include <rix/image/ImageModel.h>

#include "BoxJob.h"

namespace rix::filtering::smoothing {

/// In what windows are summed: the narrowest arithmetic that no sum of a run can overflow.
enum class BoxSums : std::uint8_t { Bits16, Bits32, Bits64, Bits128, Real };
BoxSums chooseSums(VoxelTypes voxelType, const BoxJob& job);

/// The windows of sums of reals advance in groups of so many voxels; blocks start at multiples of it.
inline constexpr std::size_t boxGroup = 8;

/// The indices of an axis that the windows of the outputs [first, last) look at.
access::Interval sourceRange(const BoxAxis& axis, access::Interval outputs);

/// What the cut into blocks needs to know.
access::BoxNeeds boxNeeds(const ImageModel& input, const BoxJob& job);

/// Peak working memory of a run on images in memory, in bytes.
std::size_t boxWorkingBytes(const ImageModel& input, const BoxJob& job, std::size_t threads);
/// The same of `sumBoxesInDoubles`.
std::size_t boxWorkingBytesInDoubles(const ImageModel& input, const BoxJob& job, std::size_t threads);

}  // namespace rix::filtering::smoothing
