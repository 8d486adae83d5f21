#include "GaussianSums.h"

#include <algorithm>
#include <limits>

#include <rix/access/LineBundles.h>
#include <rix/access/Scratch.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WindowFilters.h>

#include "GaussianKernels.h"
#include "GaussianTaps.h"

namespace rix::filtering::smoothing {

namespace {

using access::Scratch;

/// Rough cost, for deciding whether threads pay and how long blocks take.
constexpr double nanosecondsPerTap = 0.1;

/// 32-bit integers and doubles hold more than a float.
VoxelTypes workTypeOf(VoxelTypes input) {
    return input == RIX_FLOAT64 || input == RIX_INT32 || input == RIX_UINT32 ? RIX_FLOAT64 : RIX_FLOAT32;
}

access::BoxNeeds planeNeeds(std::size_t reachX, std::size_t reachY) {
    access::BoxNeeds needs;
    needs.reach = {{reachX, reachX}, {reachY, reachY}, {}};
    needs.nanosecondsPerVoxel = nanosecondsPerTap * static_cast<double>(reachX + reachY + 2);
    return needs;
}

access::BundleNeeds alongNeeds(const GaussianJob& job, std::size_t reach) {
    return {{reach, reach}, job.border, job.borderValue, nanosecondsPerTap * static_cast<double>(reach + 5)};
}

/// The pointers to the rows of a window; scratch memory of a thread.
template <class T>
class RowList {
public:
    explicit RowList(std::size_t count) : m_memory(count * sizeof(const T*)) {}
    const T*& operator[](std::size_t i) const { return m_memory.as<const T*>()[i]; }
    const T* const* data() const { return m_memory.as<const T*>(); }

private:
    Scratch m_memory;
};

template <class T>
class Smoothing {
public:
    Smoothing(access::ExecutionContext& context, const GaussianJob& job, OptimLevelType level)
        : m_context(context),
          m_job(job),
          m_kernels(gaussianKernels<T>(level)),
          m_x(job.deviations[0]),
          m_y(job.deviations[1]),
          m_z(job.deviations[2]) {}

    void run(const ImageModel& input, ImageModel& output, bool inPlace) const {
        const bool along = m_z.reach() > 0;
        if (along && (m_x.reach() > 0 || m_y.reach() > 0)) {
            runBoth(input, output, inPlace);
        } else if (inPlace) {
            access::writeThroughTemporary(m_context, output, [&](ImageModel& target) { runOne(input, target, along); });
        } else {
            runOne(input, output, along);
        }
    }

private:
    /// How results become samples of the output.
    struct Rounding {
        bool rounds = false;
        T lowest{};
        T highest{};
    };

    static Rounding roundingOf(const ImageModel& output) {
        Rounding rounding;
        if (access::contains(access::Integers{}, output.getVoxelType())) {
            access::dispatch(access::Integers{}, output.getVoxelType(), [&](auto tag) {
                using Limits = std::numeric_limits<typename decltype(tag)::type>;
                rounding = {true, static_cast<T>(Limits::lowest()), static_cast<T>(Limits::max())};
            });
        }
        return rounding;
    }

    void runOne(const ImageModel& input, ImageModel& output, bool along) const {
        if (along) {
            smoothAlong(input, output);
        } else {
            smoothPlanes(input, output);
        }
    }

    /// The planes first, into the output where it can hold what the second pass needs.
    void runBoth(const ImageModel& input, ImageModel& output, bool inPlace) const {
        const access::Steps steps(
            m_context, {static_cast<double>(m_x.reach() + m_y.reach() + 2), static_cast<double>(m_z.reach() + 1)});
        if (!inPlace && output.getVoxelType() == access::voxelTypeOf<T>) {
            smoothPlanes(input, output);
            smoothAlong(output, output);
            return;
        }
        access::TemporaryImage temporary(output, access::voxelTypeOf<T>);
        smoothPlanes(input, temporary.image());
        smoothAlong(temporary.image(), output);
    }

    /// Down the columns of each window, then along the row that this gives.
    void smoothPlanes(const ImageModel& input, ImageModel& output) const {
        const std::size_t reachX = m_x.reach();
        const std::size_t reachY = m_y.reach();
        const Rounding rounding = roundingOf(output);
        const auto border = access::borderOf<T>(m_job.border, m_job.borderValue);
        const auto smoothRow = [&](access::WindowRows<T>& window, const access::RowSegment& segment, T* out) {
            const RowList<T> rows(2 * std::max(reachX, reachY) + 1);
            const std::size_t extended = segment.count + 2 * reachX;
            const Scratch memory(reachX > 0 ? extended * sizeof(T) : 0);
            const auto row = static_cast<std::int64_t>(segment.row);
            for (std::size_t k = 0; k <= 2 * reachY; ++k) {
                rows[k] = window.row(row + static_cast<std::int64_t>(k) - static_cast<std::int64_t>(reachY),
                                     static_cast<std::int64_t>(segment.plane)) -
                          reachX;
            }
            const T* line = rows[0];
            if (reachY > 0 || reachX == 0) {
                T* const summed = reachX > 0 ? memory.template as<T>() : out;
                m_kernels.sum(rows.data(), m_y.data(), reachY, summed, extended);
                line = summed;
            }
            if (reachX > 0) {
                for (std::size_t k = 0; k <= 2 * reachX; ++k) {
                    rows[k] = line + k;
                }
                m_kernels.sum(rows.data(), m_x.data(), reachX, out, segment.count);
            }
            if (rounding.rounds) {
                m_kernels.round(out, segment.count, rounding.lowest, rounding.highest);
            }
        };
        access::transformWindows<T, T>(m_context, input, *border, output, planeNeeds(reachX, reachY), smoothRow);
    }

    void smoothAlong(const ImageModel& input, ImageModel& output) const {
        const std::size_t reach = m_z.reach();
        const Rounding rounding = roundingOf(output);
        access::forEachBundle<T>(m_context, input, output, PLANS, alongNeeds(m_job, reach),
                                 [&](access::Bundle<T>& bundle) {
                                     const RowList<T> rows(2 * reach + 1);
                                     const auto before = static_cast<std::int64_t>(reach);
                                     for (std::int64_t i = 0; i < static_cast<std::int64_t>(bundle.length()); ++i) {
                                         for (std::size_t k = 0; k <= 2 * reach; ++k) {
                                             rows[k] = bundle.row(i - before + static_cast<std::int64_t>(k));
                                         }
                                         T* const out = bundle.row(i - before);
                                         m_kernels.sum(rows.data(), m_z.data(), reach, out, bundle.paddedWidth());
                                         if (rounding.rounds) {
                                             m_kernels.round(out, bundle.width(), rounding.lowest, rounding.highest);
                                         }
                                     }
                                     bundle.setResult(-before);
                                 });
    }

    access::ExecutionContext& m_context;
    const GaussianJob& m_job;
    GaussianKernels<T> m_kernels;
    GaussianTaps<T> m_x;
    GaussianTaps<T> m_y;
    GaussianTaps<T> m_z;
};

}  // namespace

void smoothGaussian(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                    const GaussianJob& job, bool inPlace, OptimLevelType level) {
    if (workTypeOf(input.getVoxelType()) == RIX_FLOAT64) {
        Smoothing<double>(context, job, level).run(input, output, inPlace);
    } else {
        Smoothing<float>(context, job, level).run(input, output, inPlace);
    }
}

std::size_t gaussianWorkingBytes(const ImageModel& input, VoxelTypes outputType, const GaussianJob& job, bool inPlace,
                                 std::size_t threads) {
    constexpr std::size_t pages = std::size_t{6} * 4096;  // the rounding of buffers, and small tables
    const VoxelTypes workType = workTypeOf(input.getVoxelType());
    const std::size_t workBytes = helper::getSizeOf(workType);
    const std::size_t reachX = gaussianReach(job.deviations[0]);
    const std::size_t reachY = gaussianReach(job.deviations[1]);
    const std::size_t reachZ = gaussianReach(job.deviations[2]);
    const auto atOnce = [&](const access::Plan& plan) {
        return plan.isSmall() ? std::size_t{1} : std::min(threads, plan.blockCount());
    };
    std::size_t bytes = 0;
    const bool planes = reachX > 0 || reachY > 0;
    if (planes || reachZ == 0) {
        // The ring of the windows, the row between both directions, rows on their way from one type to another.
        access::BoxNeeds needs = planeNeeds(reachX, reachY);
        needs.heldBytesPerVoxel = workBytes;
        const access::Plan plan = access::cutBoxes({&input}, {&input}, needs);
        const std::size_t row = (plan.largestPart(COLUMNS) + 2 * reachX) * workBytes + 128;
        bytes = atOnce(plan) * ((2 * reachY + 4) * row + pages);
    }
    if (reachZ > 0) {
        bytes = std::max(bytes, access::bundleMemory(input, PLANS, workBytes, alongNeeds(job, reachZ), threads));
    }
    if (reachZ > 0 && planes) {
        bytes += inPlace || outputType != workType ? access::TemporaryImage::bytes(input, workType) : 0;
    } else if (inPlace) {
        bytes += access::TemporaryImage::bytes(input, outputType);
    }
    return bytes;
}

}  // namespace rix::filtering::smoothing
