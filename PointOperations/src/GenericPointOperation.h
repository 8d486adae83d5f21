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
/// whose output has another: the input's own here, unless it is said which. `stores` tells how the functor stores,
/// `level` is that of the conversion of the input.
template <class Functor>
class GenericPointOperationImageToImageScalarTwoTypesBody {
public:
    GenericPointOperationImageToImageScalarTwoTypesBody(const GenericPointOperationImageToImageInfo& info,
                                                        const Functor& functor, access::Stores stores,
                                                        OptimLevelType level)
        : GenericPointOperationImageToImageScalarTwoTypesBody(info, functor, stores, level, info.input.getVoxelType()) {
    }

    void operator()(const access::Plan& plan, const access::Block& block) const {
        const std::size_t piece = access::pieceSamples(
            std::max({m_conversion.sourceBytes(), m_conversion.targetBytes(), helper::getElementSize(m_output)}),
            m_stores);
        const bool wholeRows = m_conversion.isNone();
        access::PieceReader in(m_input, m_conversion, plan, piece);
        access::PieceWriter out(m_output, plan, m_stores);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            in.read(segment);
            out.open(segment);
            access::forEachPiece(segment.count, wholeRows ? segment.count : piece, out,
                                 [&](std::size_t first, std::size_t count) {
                                     m_functor(in.piece(first, count), out.piece(first), count);
                                 });
            out.flush();
        });
    }

protected:
    GenericPointOperationImageToImageScalarTwoTypesBody(const GenericPointOperationImageToImageInfo& info,
                                                        const Functor& functor, access::Stores stores,
                                                        OptimLevelType level, VoxelTypes readAs)
        : m_input{info.input, readAs, info.inputIsBinary},
          m_conversion(m_input, level),
          m_output(info.output),
          m_functor(functor),
          m_stores(stores) {}

private:
    access::PieceInput m_input;
    access::RowConversion m_conversion;
    ImageModel& m_output;
    const Functor& m_functor;
    access::Stores m_stores;
};

/// The block body of a functor whose input and output have one type, the output's: the input is converted to it.
template <class Functor>
class GenericPointOperationImageToImageScalarOneTypeBody
    : public GenericPointOperationImageToImageScalarTwoTypesBody<Functor> {
public:
    GenericPointOperationImageToImageScalarOneTypeBody(const GenericPointOperationImageToImageInfo& info,
                                                       const Functor& functor, access::Stores stores,
                                                       OptimLevelType level)
        : GenericPointOperationImageToImageScalarTwoTypesBody<Functor>(info, functor, stores, level,
                                                                       info.output.getVoxelType()) {}
};

/// Runs a body over the images, in parallel blocks.
/// @param nanosecondsPerVoxel rough cost of the functor, for deciding whether threads pay
template <class Body>
void runGenericPointOperation(const GenericPointOperationImageToImageInfo& info, const Body& body,
                              double nanosecondsPerVoxel) {
    const access::Plan plan = access::cutLines({&info.input, &info.output}, nanosecondsPerVoxel);
    access::run(info.algorithm.executionContext(), plan, [&](const access::Block& block) { body(plan, block); });
}

}  // namespace rix::point_operations
