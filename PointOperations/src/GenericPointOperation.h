#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Pieces.h>
#include <rix/access/Run.h>
#include <rix/algorithms/BaseAlgorithm.h>

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

    OptimLevelType level() const { return m_level; }

    void operator()(const access::Plan& plan, const access::Block& block, access::StreamRow stream) const {
        const std::size_t piece = access::pieceSamples(
            std::max({m_conversion.sourceBytes(), m_conversion.targetBytes(), helper::getElementSize(m_output)}),
            stream);
        const bool wholeRows = m_conversion.isNone() && stream == nullptr;
        access::PieceReader in(m_input, m_conversion, plan, piece);
        access::PieceWriter out(m_output, plan, stream, piece);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            in.read(segment);
            out.open(segment);
            access::forEachPiece(segment.count, wholeRows ? segment.count : piece, out,
                                 [&](std::size_t first, std::size_t count) {
                                     m_functor(in.piece(first, count), out.piece(first, count), count);
                                     out.pieceDone();
                                 });
            out.flush();
        });
    }

protected:
    GenericPointOperationImageToImageScalarTwoTypesBody(const GenericPointOperationImageToImageInfo& info,
                                                        const Functor& functor, OptimLevelType level, VoxelTypes readAs)
        : m_input{info.input, readAs, info.inputIsBinary},
          m_conversion(m_input, level),
          m_output(info.output),
          m_functor(functor),
          m_level(level) {}

private:
    access::PieceInput m_input;
    access::RowConversion m_conversion;
    ImageModel& m_output;
    const Functor& m_functor;
    OptimLevelType m_level;
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
    const access::Plan plan = access::cutLines({&info.input, &info.output}, nanosecondsPerVoxel);
    const access::StreamRow stream = access::streamRowFor(
        access::chooseStores(plan.voxelCount(), helper::getElementSize(info.output)), body.level());
    access::run(info.algorithm.executionContext(), plan,
                [&](const access::Block& block) { body(plan, block, stream); });
}

}  // namespace rix::point_operations
