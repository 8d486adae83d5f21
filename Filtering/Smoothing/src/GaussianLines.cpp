// Lines smoothed by recursions: the cost of a voxel is the same for every deviation.

#include "GaussianLines.h"

#include <algorithm>

#include <rix/access/LineBundles.h>
#include <rix/access/RoundingRange.h>
#include <rix/access/Scratch.h>

#include "GaussianKernels.h"
#include "GaussianRecursion.h"
#include "GaussianRecursionKernels.h"
#include "GaussianTaps.h"
#include "WildSamples.h"

namespace rix::filtering::smoothing {

namespace {

using access::Scratch;

/// Rough cost, for deciding whether threads pay and how long blocks take.
constexpr double nanosecondsPerElement = 1.5;

/// @param length of the lines
access::BundleNeeds needsOf(const GaussianJob& job, Components axis, std::size_t length) {
    const std::size_t reach = gaussianReach(job.deviations[axis]);
    const double walked =
        static_cast<double>(length + 2 * reach) / static_cast<double>(std::max<std::size_t>(length, 1));
    return {{reach, reach}, job.border, job.borderValue, nanosecondsPerElement * walked};
}

VoxelTypes workTypeOf(VoxelTypes input, const GaussianJob& job, Components axis) {
    return job.deviations[axis] > largestFloatDeviation ? RIX_FLOAT64 : gaussianWorkType(input, job);
}

template <class T>
class RecursiveLines {
public:
    RecursiveLines(double deviation, const ImageModel& output, bool mayBeWild, OptimLevelType level)
        : m_recursion(deviation),
          m_kernels(gaussianRecursionKernels<T>(level)),
          m_round(gaussianKernels<T>(level).round),
          m_rounding(output),
          m_mayBeWild(mayBeWild) {}

    void operator()(access::Bundle<T>& bundle, access::BlockProgress& progress) const {
        const std::size_t warmUp = m_recursion.warmUp();
        const std::size_t width = bundle.paddedWidth();
        const std::size_t length = bundle.length();
        const Scratch memory(std::min(length, m_recursion.stretch()) * width * sizeof(T));
        const LineRows<T> sums{memory.template as<T>(), width, width};
        if (!m_mayBeWild) {
            smooth(bundle, sums, progress);
        } else {
            WildSamples<T> wild(bundle, warmUp);
            const bool isWild = holdsWild(bundle);
            if (isWild) {
                wild.takeOut(m_recursion.wildFrom());
            }
            smooth(bundle, sums, progress);
            if (isWild) {
                wild.putBack();
            }
        }
        const auto before = static_cast<std::int64_t>(warmUp);
        if (m_rounding.rounds) {
            for (std::int64_t i = 0; i < static_cast<std::int64_t>(length); ++i) {
                m_round(bundle.row(i - before), width, m_rounding.lowest, m_rounding.highest);
            }
        }
        bundle.setResult(-before);
    }

private:
    void smooth(const access::Bundle<T>& bundle, const LineRows<T>& sums, access::BlockProgress& progress) const {
        const std::size_t warmUp = m_recursion.warmUp();
        const auto stride = static_cast<std::size_t>(bundle.row(1) - bundle.row(0));
        for (std::size_t begin = 0; begin < bundle.length(); begin += m_recursion.stretch()) {
            const std::size_t count = std::min(m_recursion.stretch(), bundle.length() - begin);
            const LineRows<T> rows{bundle.row(static_cast<std::int64_t>(begin)), stride, bundle.paddedWidth()};
            m_kernels.downward(rows, count, warmUp, m_recursion, sums);
            m_kernels.upward(rows, count, warmUp, m_recursion, sums);
            progress.add(count * bundle.width());
        }
    }

    bool holdsWild(const access::Bundle<T>& bundle) const {
        bool isWild = false;
        for (std::int64_t i = 0; i < static_cast<std::int64_t>(bundle.length()); ++i) {
            isWild = m_kernels.holdsWild(bundle.row(i), bundle.paddedWidth(), m_recursion.wildFrom()) || isWild;
        }
        return isWild || m_kernels.holdsWild(bundle.row(-1), bundle.paddedWidth(), m_recursion.wildFrom());
    }

    GaussianRecursion<T> m_recursion;
    GaussianRecursionKernels<T> m_kernels;
    void (*m_round)(T* row, std::size_t count, T lowest, T highest);
    access::RoundingRange<T> m_rounding;
    bool m_mayBeWild;
};

}  // namespace

bool isRecursive(double deviation) {
    return deviation >= smallestRecursiveDeviation;
}

void smoothRecursively(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                       const GaussianJob& job, Components axis, bool mayBeWild, OptimLevelType level) {
    const access::BundleNeeds needs = needsOf(job, axis, helper::getExtents(input)[axis]);
    const double deviation = job.deviations[axis];
    if (workTypeOf(input.getVoxelType(), job, axis) == RIX_FLOAT64) {
        access::forEachBundle<double>(context, input, output, axis, needs,
                                      RecursiveLines<double>(deviation, output, mayBeWild, level));
    } else {
        access::forEachBundle<float>(context, input, output, axis, needs,
                                     RecursiveLines<float>(deviation, output, mayBeWild, level));
    }
}

std::size_t recursiveWorkingBytes(const ImageModel& input, VoxelTypes inputType, const GaussianJob& job,
                                  Components axis, bool mayBeWild, std::size_t threads) {
    const std::size_t workBytes = helper::getSizeOf(workTypeOf(inputType, job, axis));
    const std::size_t length = helper::getExtents(input)[axis];
    const access::BundleNeeds needs = needsOf(job, axis, length);
    const access::Plan plan = access::cutBundles(input, input, axis, workBytes, needs);
    if (plan.blockCount() == 0) {
        return 0;
    }
    const std::size_t width = access::widestBundle(plan, axis, workBytes);
    const std::size_t stretch = std::min(length, GaussianRecursion<double>(job.deviations[axis]).stretch());
    const std::size_t marks =
        mayBeWild ? WildSamples<double>::bytes(length + needs.reach.before + needs.reach.after, width) : 0;
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    return access::bundleMemory(input, axis, workBytes, needs, threads) +
           atOnce * (Scratch::held(stretch * width * workBytes) + marks);
}

}  // namespace rix::filtering::smoothing
