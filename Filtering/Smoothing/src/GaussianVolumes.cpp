#include "GaussianVolumes.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include <rix/access/BorderConditions.h>
#include <rix/access/RoundingRange.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/SampleCast.h>
#include <rix/access/Scratch.h>
#include <rix/access/StreamKernels.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WindowRows.h>

#include "GaussianKernels.h"
#include "GaussianTaps.h"
#include "RowList.h"

namespace rix::filtering::smoothing {

namespace {

using access::Scratch;

/// Half a level-2 cache for the planes of a band, but bands of some rows; and so deep that the planes that neighbours
/// smooth again hardly count.
access::BoxNeeds volumeNeeds(std::size_t reachX, std::size_t reachY, std::size_t reachZ, std::size_t workBytes) {
    access::BoxNeeds needs;
    needs.reach = {{reachX, reachX}, {reachY, reachY}, {reachZ, reachZ}};
    needs.nanosecondsPerVoxel = nanosecondsPerTap * static_cast<double>(reachX + reachY + reachZ + 3);
    needs.heldBytesPerVoxel = workBytes;
    const std::size_t held = (2 * reachZ + 1) * workBytes;
    needs.carried =
        access::Carried{.axis = PLANS, .voxels = std::size_t{1} << 20U, .bandVoxels = (std::size_t{1} << 19U) / held};
    return needs;
}

std::size_t paddedWidth(std::size_t width, std::size_t workBytes) {
    const std::size_t line = access::lineBytes / workBytes;
    return (width + line - 1) / line * line;
}

/// The smoothed planes of a band, each in the place of its number.
template <class T>
class PlaneRing {
public:
    static constexpr std::size_t none = ~std::size_t{0};

    PlaneRing(std::size_t planes, std::size_t height, std::size_t width)
        : m_planes(planes),
          m_height(height),
          m_stride(paddedWidth(width, sizeof(T))),
          m_memory(planes * height * m_stride * sizeof(T)),
          m_numbers(planes) {
        std::fill_n(m_numbers.data(), planes, none);
    }

    /// Whether the plane has to be smoothed first; from then on it is held.
    bool lacks(std::size_t plane) {
        std::size_t& number = m_numbers[plane % m_planes];
        const bool lacking = number != plane;
        number = plane;
        return lacking;
    }
    T* row(std::size_t plane, std::size_t y) const {
        return m_memory.template as<T>() + ((plane % m_planes) * m_height + y) * m_stride;
    }
    std::size_t stride() const { return m_stride; }

private:
    std::size_t m_planes;
    std::size_t m_height;
    std::size_t m_stride;
    Scratch m_memory;
    RowList<std::size_t> m_numbers;
};

template <class T>
class VolumeSmoothing {
public:
    VolumeSmoothing(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                    const GaussianJob& job, OptimLevelType level)
        : m_context(context),
          m_input(input),
          m_output(output),
          m_job(job),
          m_kernels(gaussianKernels<T>(level)),
          m_x(job.deviations[COLUMNS]),
          m_y(job.deviations[ROWS]),
          m_z(job.deviations[PLANS]),
          m_columns(static_cast<std::int64_t>(input.getNumOf(COLUMNS))),
          m_planes(static_cast<std::int64_t>(input.getNumOf(PLANS))),
          m_border(access::borderOf<T>(job.border, job.borderValue)),
          m_beyond(access::castSample<T>(job.borderValue)),
          m_rounding(output) {
        const std::vector<const T*> rows(2 * m_y.reach() + 1, &m_beyond);
        m_kernels.sum(rows.data(), m_y.data(), m_y.reach(), &m_beyondSum, 1);
    }

    void run() const {
        const access::BoxNeeds needs = volumeNeeds(m_x.reach(), m_y.reach(), m_z.reach(), sizeof(T));
        const access::Plan plan = access::cutBoxes({&m_input}, {&m_output}, needs);
        access::run(m_context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
            smooth(plan, block, progress);
        });
    }

private:
    void smooth(const access::Plan& plan, const access::Block& block, access::BlockProgress& progress) const {
        const std::size_t taps = 2 * m_z.reach() + 1;
        PlaneRing<T> ring(taps, block.rows().length(), block.columns().length());
        RowList<T> beyond(ring.stride());
        std::fill_n(beyond.data(), ring.stride(), m_beyond);
        RowList<const T*> rows(taps);
        RowList<std::size_t> steps(taps);
        access::RowWriter<T> out(m_output, plan);
        for (std::size_t z = block.planes().begin; z < block.planes().end; ++z) {
            for (std::size_t k = 0; k < taps; ++k) {
                // The sources of a sum lie within so many planes as the ring holds.
                const std::int64_t source =
                    access::borderSource(m_job.border, static_cast<std::int64_t>(z + k - m_z.reach()), m_planes);
                if (source >= 0 && ring.lacks(static_cast<std::size_t>(source))) {
                    smoothPlane(block, static_cast<std::size_t>(source), ring);
                }
                rows[k] = source >= 0 ? ring.row(static_cast<std::size_t>(source), 0) : beyond.data();
                steps[k] = source >= 0 ? ring.stride() : 0;
            }
            access::RowSegment segment{
                {block.columns().begin, block.rows().begin, z, block.sequence(), block.spectral()},
                block.columns().length()};
            for (; segment.row < block.rows().end; ++segment.row) {
                T* const sums = out.open(segment);
                m_kernels.sum(rows.data(), m_z.data(), m_z.reach(), sums, segment.count);
                if (m_rounding.rounds) {
                    m_kernels.round(sums, segment.count, m_rounding.lowest, m_rounding.highest);
                }
                out.flush();
                for (std::size_t k = 0; k < taps; ++k) {
                    rows[k] += steps[k];
                }
            }
            progress.add(block.rows().length() * block.columns().length());
        }
    }

    /// Down the columns, with those within reach as far as the image has them, then along the rows that this gives.
    /// What is beyond the image has the sums of what the border shows there.
    void smoothPlane(const access::Block& block, std::size_t plane, const PlaneRing<T>& ring) const {
        const std::size_t reach = m_x.reach();
        const std::size_t taps = 2 * m_y.reach() + 1;
        access::Block source = access::withReach(block, {{reach, reach}, {}, {}}, helper::getExtents(m_input));
        source.axes[PLANS] = {plane, plane + 1};
        access::WindowRows<T> window(m_input, m_border.get(), source, {{}, {m_y.reach(), m_y.reach()}, {}});
        RowList<const T*> rows(taps);
        RowList<T> summed(block.columns().length() + 2 * reach);
        RowList<const T*> shifted(2 * reach + 1);
        for (std::size_t k = 0; k <= 2 * reach; ++k) {
            shifted[k] = summed.data() + k;
        }
        const auto rowAt = [&](std::size_t y, std::size_t k) {
            return window.row(static_cast<std::int64_t>(y + k) - static_cast<std::int64_t>(m_y.reach()),
                              static_cast<std::int64_t>(plane));
        };
        const std::size_t before = reach - (block.columns().begin - source.columns().begin);
        const std::size_t inside = source.columns().length();
        for (std::size_t y = block.rows().begin; y < block.rows().end; ++y) {
            if (y == block.rows().begin) {
                for (std::size_t k = 0; k < taps; ++k) {
                    rows[k] = rowAt(y, k);
                }
            } else {
                std::copy(rows.data() + 1, rows.data() + taps, rows.data());
                rows[taps - 1] = rowAt(y, taps - 1);
            }
            T* const out = ring.row(plane, y - block.rows().begin);
            if (reach == 0) {
                m_kernels.sum(rows.data(), m_y.data(), m_y.reach(), out, inside);
                continue;
            }
            m_kernels.sum(rows.data(), m_y.data(), m_y.reach(), summed.data() + before, inside);
            extend(source.columns(), summed.data() + before, before,
                   block.columns().length() + 2 * reach - before - inside);
            m_kernels.sum(shifted.data(), m_x.data(), reach, out, block.columns().length());
        }
    }

    /// Supplies what is beyond the image of a row of sums. @param inside the columns that there are
    void extend(const access::Interval& inside, T* sums, std::size_t before, std::size_t behind) const {
        const auto valueAt = [&](std::int64_t column) {
            const std::int64_t source = access::borderSource(m_job.border, column, m_columns);
            return source >= 0 ? sums[source - static_cast<std::int64_t>(inside.begin)] : m_beyondSum;
        };
        const auto end = static_cast<std::int64_t>(inside.end);
        const auto length = static_cast<std::int64_t>(inside.length());
        for (std::int64_t i = 1; i <= static_cast<std::int64_t>(before); ++i) {
            sums[-i] = valueAt(-i);
        }
        for (std::int64_t i = 0; i < static_cast<std::int64_t>(behind); ++i) {
            sums[length + i] = valueAt(end + i);
        }
    }

    access::ExecutionContext& m_context;
    const ImageModel& m_input;
    ImageModel& m_output;
    const GaussianJob& m_job;
    GaussianKernels<T> m_kernels;
    GaussianTaps<T> m_x;
    GaussianTaps<T> m_y;
    GaussianTaps<T> m_z;
    std::int64_t m_columns;
    std::int64_t m_planes;
    std::shared_ptr<const access::BorderCondition<T>> m_border;
    T m_beyond;       ///< the border's own value
    T m_beyondSum{};  ///< the sum down a column of it
    access::RoundingRange<T> m_rounding;
};

}  // namespace

template <class T>
void smoothVolumes(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                   const GaussianJob& job, OptimLevelType level) {
    VolumeSmoothing<T>(context, input, output, job, level).run();
}

std::size_t volumeWorkingBytes(const ImageModel& input, std::size_t workBytes, const GaussianJob& job,
                               std::size_t threads) {
    const auto reach = [&](Components axis) { return gaussianReach(job.deviations[axis]); };
    const access::BoxNeeds needs = volumeNeeds(reach(COLUMNS), reach(ROWS), reach(PLANS), workBytes);
    const access::Plan plan = access::cutBoxes({&input}, {&input}, needs);
    const std::size_t atOnce = plan.isSmall() ? std::size_t{1} : std::min(threads, plan.blockCount());
    const std::size_t planes = 2 * reach(PLANS) + 1;
    const std::size_t row = paddedWidth(plan.largestPart(COLUMNS), workBytes) * workBytes;
    // The rows of a window and their places, the row between columns and rows, those on their way from one type to
    // another, and the numbers of planes.
    const std::size_t extended = row + 2 * (reach(COLUMNS) + access::lineBytes) * workBytes;
    const std::size_t window = (2 * reach(ROWS) + 5) * (extended + access::lineBytes) + row;
    return atOnce * (Scratch::held(planes * plan.largestPart(ROWS) * row) + window + 8 * Scratch::granularity);
}

template void smoothVolumes<float>(access::ExecutionContext&, const ImageModel&, ImageModel&, const GaussianJob&,
                                   OptimLevelType);
template void smoothVolumes<double>(access::ExecutionContext&, const ImageModel&, ImageModel&, const GaussianJob&,
                                    OptimLevelType);

}  // namespace rix::filtering::smoothing
