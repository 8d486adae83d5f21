#include "ImagePairToImageFilter3d.h"

#include <algorithm>

#include <rix/access/Run.h>

namespace rix::point_operations {

ImagePairToImageFilter3d::ImagePairToImageFilter3d(const access::PieceInput& first, const access::PieceInput& second,
                                                   ImageModel& output, OptimLevelType level)
    : m_first(first),
      m_second(second),
      m_output(output),
      m_firstConversion(first, level),
      m_secondConversion(second, level) {}

void ImagePairToImageFilter3d::run(access::ExecutionContext& context, double nanosecondsPerVoxel, access::Stores stores,
                                   Operator apply) const {
    const access::Plan plan = access::cutLines({&m_first.image, &m_second.image, &m_output}, nanosecondsPerVoxel);
    const bool wholeRows = m_firstConversion.isNone() && m_secondConversion.isNone();
    const std::size_t piece = access::pieceSamples(
        std::max({m_firstConversion.sourceBytes(), m_firstConversion.targetBytes(), m_secondConversion.sourceBytes(),
                  m_secondConversion.targetBytes(), helper::getElementSize(m_output)}),
        stores);

    access::run(context, plan, [&](const access::Block& block) {
        access::PieceReader first(m_first, m_firstConversion, plan, piece);
        access::PieceReader second(m_second, m_secondConversion, plan, piece);
        access::PieceWriter out(m_output, plan, stores);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            first.read(segment);
            second.read(segment);
            out.open(segment);
            access::forEachPiece(
                segment.count, wholeRows ? segment.count : piece, out, [&](std::size_t begin, std::size_t count) {
                    apply(first.piece(begin, count), second.piece(begin, count), out.piece(begin), count);
                });
            out.flush();
        });
    });
}

}  // namespace rix::point_operations
