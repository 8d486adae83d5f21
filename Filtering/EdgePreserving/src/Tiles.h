#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/BlockSize.h>
#include <rix/access/BorderConditions.h>
#include <rix/access/ImageModelProxy.h>
#include <rix/access/Plan.h>
#include <rix/access/Scratch.h>
#include <rix/access/VoxelTypeLists.h>

/// Blocks that are read with what lies around them before they are worked on.
namespace rix::filtering::smoothing {

/// Cuts an image into even blocks of about the extents given, which are to be chosen larger than what lies around them:
/// that is worked on as well. Results must not depend on the cut.
inline access::Plan cutTiles(const ImageModel& input, const std::array<std::size_t, 3>& extents,
                             double nanosecondsPerVoxel) {
    access::Plan plan(helper::getExtents(input), access::JoinedAxes::None);
    if (plan.voxelCount() == 0) {
        return plan;
    }
    plan.setSmall(static_cast<double>(plan.voxelCount()) * nanosecondsPerVoxel < access::smallWorkNanoseconds());
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        const std::size_t extent = input.getNumOf(axis);
        plan.cut(axis, {(extent + extents[axis] - 1) / extents[axis], 0, 1});
    }
    plan.cut(SEQUENCE, {1, 1, 1});
    plan.cut(SPECTRAL_SERIES, {1, 1, 1});
    return plan;
}

/// The extents of a block along the three axes of space.
inline std::array<std::size_t, 3> extentsOf(const access::Block& block) {
    return {block.columns().length(), block.rows().length(), block.planes().length()};
}

inline std::array<std::size_t, 3> largestExtents(const access::Plan& plan) {
    return {plan.largestPart(COLUMNS), plan.largestPart(ROWS), plan.largestPart(PLANS)};
}

/// What the blocks of a plan take in all: working memory, and rows on their way to the type of the result.
/// @param samples of `T` that a block works with
template <class T>
std::size_t tileMemory(const access::Plan& plan, std::size_t samples, std::size_t columns, std::size_t threads) {
    const std::size_t bytes =
        access::Scratch::held(samples * sizeof(T)) + 2 * access::Scratch::held(columns * sizeof(T));
    return bytes * (plan.isSmall() ? 1 : std::min(threads, plan.blockCount()));
}

/// Reads rows as `T`, from a number of columns before a block to as many behind it.
template <class T>
class PaddedRows {
public:
    PaddedRows(const ImageModel& image, const access::BorderCondition<T>& border, const access::Block& block,
               std::size_t around)
        : m_converted(&image, access::voxelTypeOf<T>),
          m_source(image.getVoxelType() == access::voxelTypeOf<T> ? image : m_converted),
          m_border(border),
          m_block(block),
          m_around(around) {}

    void read(std::int64_t row, std::int64_t plane, T* out) const {
        m_border.getData(m_source, out, out + m_block.columns().length() + 2 * m_around,
                         static_cast<std::int64_t>(m_block.columns().begin) - static_cast<std::int64_t>(m_around), row,
                         plane, static_cast<std::int64_t>(m_block.sequence()),
                         static_cast<std::int64_t>(m_block.spectral()));
    }

private:
    ImageModelProxy m_converted;
    const ImageModel& m_source;
    const access::BorderCondition<T>& m_border;
    const access::Block& m_block;
    std::size_t m_around;
};

}  // namespace rix::filtering::smoothing
