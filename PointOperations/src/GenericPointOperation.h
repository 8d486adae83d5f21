#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/BaseAlgorithm.h>

#include "PointInputs.h"

namespace rix::point_operations {

/// What a point operation from one image to another works on.
struct GenericPointOperationImageToImageInfo {
    const ImageModel& input;
    bool inputIsBinary;
    ImageModel& output;
    BaseAlgorithm& algorithm;
};

/// The block body of a functor `(const void* in, void* out, std::size_t count)` whose input is read in one type and
/// whose output has another: the input's own here, unless it is said which.
template <class Functor>
class GenericPointOperationImageToImageScalarTwoTypesBody {
public:
    GenericPointOperationImageToImageScalarTwoTypesBody(const GenericPointOperationImageToImageInfo& info,
                                                        const Functor& functor, OptimLevelType level)
        : GenericPointOperationImageToImageScalarTwoTypesBody(info, functor, level, info.input.getVoxelType()) {}

    std::size_t inputBytes() const { return m_conversion.sourceBytes(); }  ///< a voxel

    void operator()(const access::PointPlan& plan, const access::PointBlock& block, PieceWriter::Stores stores) const {
        const std::size_t piece = pieceSamples(
            std::max({m_conversion.sourceBytes(), m_conversion.targetBytes(), helper::getElementSize(m_output)}));
        const bool wholeRows = m_conversion.isNone() && stores == PieceWriter::Stores::Cached;
        CastingAdapter in(m_input, m_conversion, plan, piece);
        PieceWriter out(m_output, plan, stores, piece);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            in.read(segment);
            out.open(segment);
            const std::size_t step = wholeRows ? segment.count : piece;
            for (std::size_t begin = 0; begin < segment.count; begin += step) {
                const std::size_t count = std::min(step, segment.count - begin);
                m_functor(in.piece(begin, count), out.piece(begin, count), count);
                out.pieceDone();
            }
            out.flush();
        });
    }

protected:
    GenericPointOperationImageToImageScalarTwoTypesBody(const GenericPointOperationImageToImageInfo& info,
                                                        const Functor& functor, OptimLevelType level,
                                                        VoxelTypes readAs)
        : m_input{info.input, readAs, info.inputIsBinary},
          m_conversion(m_input, level),
          m_output(info.output),
          m_functor(functor) {}

private:
    PointInput m_input;
    RowConversion m_conversion;
    ImageModel& m_output;
    const Functor& m_functor;
};

/// The block body of a functor whose input and output have one type, the output's: the input is converted to it.
template <class Functor>
class GenericPointOperationImageToImageScalarOneTypeBody
    : public GenericPointOperationImageToImageScalarTwoTypesBody<Functor> {
public:
    GenericPointOperationImageToImageScalarOneTypeBody(const GenericPointOperationImageToImageInfo& info,
                                                       const Functor& functor, OptimLevelType level)
        : GenericPointOperationImageToImageScalarTwoTypesBody<Functor>(info, functor, level,
                                                                       info.output.getVoxelType()) {}
};

/// Runs a body over the images, in parallel blocks.
/// @param nanosecondsPerVoxel rough cost of the functor, for deciding whether threads pay
template <class Body>
void runGenericPointOperation(const GenericPointOperationImageToImageInfo& info, const Body& body,
                              double nanosecondsPerVoxel) {
    const access::PointPlan plan({&info.input, &info.output}, nanosecondsPerVoxel);
    const PieceWriter::Stores stores =
        storesFor(plan.voxelCount(), body.inputBytes(), helper::getElementSize(info.output));
    access::forEachBlock(info.algorithm.executionContext(), plan,
                         [&](const access::PointBlock& block) { body(plan, block, stores); });
}

}  // namespace rix::point_operations
