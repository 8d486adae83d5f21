#pragma once

#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/access/FunctionRef.h>
#include <rix/access/Pieces.h>

namespace rix::point_operations {

/// Applies an operator on two samples to two images of the same extents, in parallel blocks.
class ImagePairToImageFilter3d {
public:
    /// Writes `count` samples from as many of either input, which have the types that the inputs are read as.
    using Operator = access::FunctionRef<void(const void* first, const void* second, void* out, std::size_t count)>;

    /// @param level of the conversion of the inputs
    ImagePairToImageFilter3d(const access::PieceInput& first, const access::PieceInput& second, ImageModel& output,
                             OptimLevelType level);

    /// @param nanosecondsPerVoxel rough cost of the operator, for deciding whether threads pay
    /// @param stores how the operator stores
    void run(access::ExecutionContext& context, double nanosecondsPerVoxel, access::Stores stores,
             Operator apply) const;

private:
    access::PieceInput m_first;
    access::PieceInput m_second;
    ImageModel& m_output;
    access::RowConversion m_firstConversion;
    access::RowConversion m_secondConversion;
};

}  // namespace rix::point_operations
