#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Plan.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

namespace rix::filtering::smoothing {

/// The ball that rolls along an image.
struct BallShape {
    std::array<double, 3> radii{};  ///< in voxels along each axis
    double height = 0.0;
    bool isAbove = false;  ///< the image, not below it
};

/// The surface of half a ball in rows. Rows at the same distance from the middle see the same heights, so the rows of
/// the image there are joined first, and pressed against once.
template <class T>
class BallSurface {
public:
    /// Offsets longer than from edge to edge are left out: they show nothing.
    BallSurface(const BallShape& shape, const ImageModel& image);

    /// Rows at the same distance: they are symmetrical, with heights from the middle column on.
    struct Ring {
        std::size_t firstRow;
        std::size_t rows;
        std::size_t firstHeight;
        std::size_t reach;  ///< in columns
    };
    struct Row {
        std::int32_t row;
        std::int32_t plane;
    };

    const access::CountedVector<Ring>& rings() const { return m_rings; }
    const Row* rowsOf(const Ring& ring) const { return m_rows.data() + ring.firstRow; }
    const T* heightsOf(const Ring& ring) const { return m_heights.data() + ring.firstHeight; }
    std::size_t mostRows() const { return m_mostRows; }
    std::size_t columnReach() const { return m_reach[0]; }
    /// At the portable level, where nothing can be left out.
    double nanosecondsPerVoxel() const {
        return static_cast<double>(m_rows.size()) + 2.0 * static_cast<double>(m_heights.size());
    }
    std::size_t bytes() const;

private:
    access::CountedVector<Ring> m_rings;
    access::CountedVector<Row> m_rows;
    access::CountedVector<T> m_heights;
    std::array<std::size_t, 3> m_reach{};
    std::size_t m_mostRows = 0;
};

/// Rolls the ball: the image less the background, rounded for integers, into `output`, which may be the image; and the
/// background, where that is not null. Computed in the type of finite Gaussian sums.
void rollBall(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, ImageModel* background,
              const BallShape& shape, OptimLevelType level);

/// How far a voxel of the result sees.
access::Reach rollingBallInfluence(const BallShape& shape);

/// The bytes that `rollBall` holds.
std::size_t rollingBallBytes(const ImageModel& input, const BallShape& shape, std::size_t threads);

}  // namespace rix::filtering::smoothing
