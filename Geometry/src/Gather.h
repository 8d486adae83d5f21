#pragma once

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "AxisMap.h"

namespace rix::geometry {

/// Brings the elements of an image to where maps say: exactly, samples of every type as the bytes that they are. The
/// next step of the run.
///
/// Where the columns of the output are columns of the input, rows are copied, reversed and repeated; where they are
/// another axis, squares are transposed in registers. Both at the speed of memory; no working memory where images give
/// addresses.
/// @param maps each axis of the input once; where the columns change, without anything beyond the input
/// @param output of the maps' extents, and the input's type, one sample an element; shares no samples with the input
/// @param value of `Beyond::Value`, an element
/// @throws UnexpectedError where an image refuses a row; MemoryError
void gather(access::ExecutionContext& context, const ImageModel& input, const AxisMaps& maps, ImageModel& output,
            OptimLevelType level, ConstRawData value = nullptr);

}  // namespace rix::geometry
