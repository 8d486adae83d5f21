#include "GaussianSums.h"

#include <algorithm>
#include <limits>

#include <rix/access/LineBundles.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/PointFilters.h>
#include <rix/access/Scratch.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WindowFilters.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/MemoryImage.h>

#include "GaussianKernels.h"
#include "GaussianTaps.h"

namespace rix::filtering::smoothing {

namespace {

using access::Scratch;

/// Rough costs, for deciding whether threads pay and how long blocks take.
constexpr double nanosecondsPerCopy = 0.1;
constexpr double nanosecondsPerTap = 0.1;

/// 32-bit integers and doubles hold more than a float.
VoxelTypes workTypeOf(VoxelTypes input) {
    return input == RIX_FLOAT64 || input == RIX_INT32 || input == RIX_UINT32 ? RIX_FLOAT64 : RIX_FLOAT32;
}

/// A temporary image whose memory counts.
class Temporary {
public:
    Temporary(VoxelTypes type, const ImageModel& shape) {
        const auto n = helper::getExtents(shape);
        std::size_t elements = 0;
        if (!helper::getElementCount(shape, elements)) {
            throw ResizeImageError("The temporary image cannot be allocated or resized.");
        }
        m_charge = access::MemoryCharge(elements * helper::getSizeOf(type));
        if (!m_image.reserve(type, n[0], n[1], n[2], n[3], n[4])) {
            throw ResizeImageError("The temporary image cannot be allocated or resized.");
        }
    }
    io::MemoryImage& image() { return m_image; }

private:
    access::MemoryCharge m_charge;
    io::MemoryImage m_image;
};

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
            const access::Steps steps(m_context, {0.9, 0.1});
            Temporary temporary(output.getVoxelType(), output);
            runOne(input, temporary.image(), along);
            access::dispatch(access::Reals{}, output.getVoxelType(), [&](auto tag) {
                using Out = typename decltype(tag)::type;
                access::transformRows<Out, Out>(
                    m_context, temporary.image(), output, nanosecondsPerCopy,
                    [](const Out* in, Out* out, std::size_t count) { access::castRow(in, out, count); });
            });
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
        Temporary temporary(access::voxelTypeOf<T>, output);
        smoothPlanes(input, temporary.image());
        smoothAlong(temporary.image(), output);
    }

    /// Down the columns of each window, then along the row that this gives.
    void smoothPlanes(const ImageModel& input, ImageModel& output) const {
        const std::size_t reachX = m_x.reach();
        const std::size_t reachY = m_y.reach();
        const Rounding rounding = roundingOf(output);
        const auto border = access::borderOf<T>(m_job.border, m_job.borderValue);
        access::BoxNeeds needs;
        needs.reach = {{reachX, reachX}, {reachY, reachY}, {}};
        needs.nanosecondsPerVoxel = nanosecondsPerTap * static_cast<double>(reachX + reachY + 2);
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
        access::transformWindows<T, T>(m_context, input, *border, output, needs, smoothRow);
    }

    void smoothAlong(const ImageModel& input, ImageModel& output) const {
        const std::size_t reach = m_z.reach();
        const Rounding rounding = roundingOf(output);
        const access::BundleNeeds needs{
            {reach, reach}, m_job.border, m_job.borderValue, nanosecondsPerTap * static_cast<double>(reach + 5)};
        access::forEachBundle<T>(m_context, input, output, PLANS, needs, [&](access::Bundle<T>& bundle) {
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
    constexpr std::size_t roundings = 16384;  // of buffers to pages, and small tables
    const VoxelTypes workType = workTypeOf(input.getVoxelType());
    const std::size_t workBytes = helper::getSizeOf(workType);
    const auto n = helper::getExtents(input);
    const std::size_t voxels = n[0] * n[1] * n[2] * n[3] * n[4];
    const auto [reachX, reachY, reachZ] = std::array{gaussianReach(job.deviations[0]), gaussianReach(job.deviations[1]),
                                                     gaussianReach(job.deviations[2])};
    access::BoxNeeds needs;
    needs.reach = {{reachX, reachX}, {reachY, reachY}, {}};
    needs.heldBytesPerVoxel = workBytes;
    const std::size_t columns = access::cutBoxes({&input}, {&input}, needs).largestPart(COLUMNS) + 2 * reachX;
    // The ring of the windows, the row between both directions, rows on their way from one type to another, pointers.
    std::size_t bytes = (2 * reachY + 1) * (columns * workBytes + 256) + 4 * columns * workBytes +
                        2 * (reachX + reachY + 1) * sizeof(void*) + roundings;
    const bool planes = reachX > 0 || reachY > 0;
    if (reachZ > 0) {
        const access::BundleNeeds along{{reachZ, reachZ}, job.border, job.borderValue};
        const access::Plan plan = access::cutBundles(input, input, PLANS, workBytes, along);
        const std::size_t width = plan.largestPart(COLUMNS) * plan.largestPart(ROWS) * workBytes + 128;
        bytes = std::max(bytes, (n[PLANS] + 2 * reachZ) * width + 4 * columns * workBytes + roundings);
    }
    bytes *= threads;
    if (reachZ > 0 && planes) {
        bytes += inPlace || outputType != workType ? voxels * workBytes : 0;
    } else if (inPlace) {
        bytes += voxels * helper::getSizeOf(outputType);
    }
    return bytes;
}

}  // namespace rix::filtering::smoothing
