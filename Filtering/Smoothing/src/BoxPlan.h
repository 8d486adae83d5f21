#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/access/FunctionRef.h>
#include <rix/access/PointBlocks.h>
#include <rix/image/ImageModel.h>

#include "BoxJob.h"

namespace rix::filtering::smoothing {

/// In what windows are summed: the narrowest arithmetic that no sum of a run can overflow.
enum class BoxSums : std::uint8_t { Bits32, Bits64, Bits128, Real };
BoxSums chooseSums(VoxelTypes voxelType, const BoxJob& job);

/// The windows of sums of reals advance in groups of so many voxels; blocks start at multiples of it.
inline constexpr std::size_t boxGroup = 8;

/// A part of the output that one thread computes in one go.
struct BoxBlock {
    access::Interval columns{0, 0};
    access::Interval rows{0, 0};
    access::Interval planes{0, 0};
    std::size_t sequence = 0;
    std::size_t spectral = 0;
};

/// The indices of an axis that the windows of the outputs [first, last) look at.
access::Interval sourceRange(const BoxAxis& axis, access::Interval outputs);

/// The cut of an image into blocks, computed from its extents and type and from the window alone.
class BoxPlan {
public:
    BoxPlan(const ImageModel& input, const BoxJob& job);

    std::size_t blockCount() const;
    BoxBlock block(std::size_t index) const;
    /// The largest number of source columns, rows and planes that a block reads; planes are 1 when each is by itself.
    std::array<std::size_t, 3> largestSource() const;
    /// Columns, rows and planes of most blocks.
    const std::array<std::size_t, 3>& steps() const { return m_steps; }

    /// Runs `body` for every block, on the run's threads when the work pays for them.
    void forEach(access::ExecutionContext& context, access::FunctionRef<void(const BoxBlock&)> body) const;

private:
    std::array<std::size_t, 5> m_extents{};
    std::array<std::size_t, 3> m_steps{};
    std::array<std::size_t, 3> m_parts{};
    const BoxJob& m_job;
    double m_nanosecondsPerVoxel;
};

/// Counts voxels that are done; now and then it tells the run and asks whether to go on.
class BoxProgress {
public:
    explicit BoxProgress(access::ExecutionContext& context) : m_context(context) {}
    void add(std::size_t voxels) {
        m_voxels += voxels;
        if (m_voxels >= std::size_t{1} << 18) {
            tell();
        }
    }
    void tell() {
        m_context.blockDone(static_cast<double>(m_voxels));
        m_voxels = 0;
        m_context.throwIfCancelled();
    }

private:
    access::ExecutionContext& m_context;
    std::size_t m_voxels = 0;
};

/// Peak working memory of one thread, in bytes.
std::size_t boxWorkingBytes(const ImageModel& input, const BoxJob& job);

}  // namespace rix::filtering::smoothing
