#include "GaussianSums.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include <rix/access/LineBundles.h>
#include <rix/access/RoundingRange.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WindowFilters.h>
#include <rix/image/ImageHeader.h>

#include "GaussianFixed.h"
#include "GaussianKernels.h"
#include "GaussianLines.h"
#include "GaussianTaps.h"
#include "GaussianVolumes.h"
#include "RowList.h"

namespace rix::filtering::smoothing {

namespace {

access::BoxNeeds planeNeeds(std::size_t reachX, std::size_t reachY) {
    access::BoxNeeds needs;
    needs.reach = {{reachX, reachX}, {reachY, reachY}, {}};
    needs.nanosecondsPerVoxel = nanosecondsPerTap * static_cast<double>(reachX + reachY + 2);
    return needs;
}

access::BundleNeeds alongNeeds(const GaussianJob& job, std::size_t reach) {
    return {{reach, reach}, job.border, job.borderValue, nanosecondsPerTap * static_cast<double>(reach + 5)};
}

/// Integers hold nothing that is not finite, nor does what is made of them.
bool mayBeWild(const ImageModel& input, const GaussianJob& job) {
    return access::contains(access::Floatings{}, input.getVoxelType()) || job.border == access::BorderPolicy::FIXED;
}

/// The reach of the finite sums along an axis; 0 where there are none.
std::size_t finiteReach(double deviation) {
    return isRecursive(deviation) ? 0 : gaussianReach(deviation);
}

/// What is done, pass after pass: finite sums along columns and rows in one, those of all three axes as well; every
/// other axis in one of its own.
enum class Pass : std::uint8_t { Volumes, Planes, RecursiveX, RecursiveY, FiniteZ, RecursiveZ };

struct Passes {
    std::array<Pass, 4> passes{};
    std::array<double, 4> costs{};
    std::size_t count = 0;

    explicit Passes(const GaussianJob& job) {
        const auto& [x, y, z] = job.deviations;
        if (x + y > 0 && finiteReach(z) > 0 && !isRecursive(x) && !isRecursive(y)) {
            add(Pass::Volumes, 1.0);
            return;
        }
        if (finiteReach(x) > 0 || finiteReach(y) > 0 || (x == 0 && y == 0 && z == 0)) {
            add(Pass::Planes, static_cast<double>(finiteReach(x) + finiteReach(y) + 2));
        }
        if (isRecursive(x)) {
            add(Pass::RecursiveX, recursiveCost);
        }
        if (isRecursive(y)) {
            add(Pass::RecursiveY, recursiveCost);
        }
        if (z > 0) {
            add(isRecursive(z) ? Pass::RecursiveZ : Pass::FiniteZ,
                isRecursive(z) ? recursiveCost : static_cast<double>(finiteReach(z) + 1));
        }
    }

    /// What the image between passes is for: only recursions come in several.
    static constexpr access::TemporaryUse use() { return access::TemporaryUse::Recursion; }

private:
    static constexpr double recursiveCost = 20.0;

    void add(Pass pass, double cost) {
        passes[count] = pass;
        costs[count++] = cost;
    }
};

template <class T>
class Smoothing {
public:
    Smoothing(access::ExecutionContext& context, const GaussianJob& job, bool mayBeWild, OptimLevelType level)
        : m_context(context),
          m_job(job),
          m_mayBeWild(mayBeWild),
          m_level(level),
          m_kernels(gaussianKernels<T>(level)),
          m_x(isRecursive(job.deviations[0]) ? 0.0 : job.deviations[0]),
          m_y(isRecursive(job.deviations[1]) ? 0.0 : job.deviations[1]),
          m_z(isRecursive(job.deviations[2]) ? 0.0 : job.deviations[2]) {}

    void run(const ImageModel& input, ImageModel& output, bool inPlace) const {
        const Passes passes(m_job);
        if (passes.count > 1) {
            runSeveral(passes, input, output, inPlace);
        } else if (inPlace) {
            access::writeThroughTemporary(m_context, output,
                                          [&](ImageModel& target) { runOne(passes.passes[0], input, target); });
        } else {
            runOne(passes.passes[0], input, output);
        }
    }

private:
    void runOne(Pass pass, const ImageModel& input, ImageModel& output) const {
        switch (pass) {
            case Pass::Volumes: smoothVolumes<T>(m_context, input, output, m_job, m_level); return;
            case Pass::Planes: smoothPlanes(input, output); return;
            case Pass::FiniteZ: smoothAlong(input, output); return;
            case Pass::RecursiveX:
                smoothRecursively(m_context, input, output, m_job, COLUMNS, m_mayBeWild, m_level);
                return;
            case Pass::RecursiveY:
                smoothRecursively(m_context, input, output, m_job, ROWS, m_mayBeWild, m_level);
                return;
            case Pass::RecursiveZ:
                smoothRecursively(m_context, input, output, m_job, PLANS, m_mayBeWild, m_level);
                return;
        }
    }

    /// In the output, where it can hold what the later passes need, else in a temporary image.
    void runSeveral(const Passes& passes, const ImageModel& input, ImageModel& output, bool inPlace) const {
        const access::Steps steps(m_context, std::span(passes.costs.data(), passes.count));
        std::optional<access::TemporaryImage> temporary;
        if (inPlace || output.getVoxelType() != access::voxelTypeOf<T>) {
            temporary.emplace(output, access::voxelTypeOf<T>, passes.use());
        }
        ImageModel& between = temporary.has_value() ? temporary->image() : output;
        const std::size_t last = passes.count - 1;
        runOne(passes.passes[0], input, between);
        for (std::size_t i = 1; i < last; ++i) {
            runOne(passes.passes[i], between, between);
        }
        runOne(passes.passes[last], between, output);
    }

    /// Down the columns of each window, then along the row that this gives.
    void smoothPlanes(const ImageModel& input, ImageModel& output) const {
        const std::size_t reachX = m_x.reach();
        const std::size_t reachY = m_y.reach();
        const access::RoundingRange<T> rounding(output);
        const auto border = access::borderOf<T>(m_job.border, m_job.borderValue);
        const auto smoothRow = [&](access::WindowRows<T>& window, const access::RowSegment& segment, T* out) {
            RowList<const T*> rows(2 * std::max(reachX, reachY) + 1);
            const std::size_t extended = segment.count + 2 * reachX;
            RowList<T> summed(reachX > 0 ? extended : 0);
            const auto row = static_cast<std::int64_t>(segment.row);
            for (std::size_t k = 0; k <= 2 * reachY; ++k) {
                rows[k] = window.row(row + static_cast<std::int64_t>(k) - static_cast<std::int64_t>(reachY),
                                     static_cast<std::int64_t>(segment.plane)) -
                          reachX;
            }
            const T* line = rows[0];
            if (reachY > 0 || reachX == 0) {
                T* const sums = reachX > 0 ? summed.data() : out;
                m_kernels.sum(rows.data(), m_y.data(), reachY, sums, extended);
                line = sums;
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
        const access::RoundingRange<T> rounding(output);
        access::forEachBundle<T>(m_context, input, output, PLANS, alongNeeds(m_job, reach),
                                 [&](access::Bundle<T>& bundle) {
                                     RowList<const T*> rows(2 * reach + 1);
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
    bool m_mayBeWild;
    OptimLevelType m_level;
    GaussianKernels<T> m_kernels;
    GaussianTaps<T> m_x;
    GaussianTaps<T> m_y;
    GaussianTaps<T> m_z;
};

std::size_t planeWorkingBytes(const ImageModel& input, std::size_t workBytes, const GaussianJob& job,
                              std::size_t threads) {
    constexpr std::size_t pages = std::size_t{6} * 4096;  // the rounding of buffers, and small tables
    const std::size_t reachX = finiteReach(job.deviations[0]);
    const std::size_t reachY = finiteReach(job.deviations[1]);
    // The ring of the windows, the row between both directions, rows on their way from one type to another.
    access::BoxNeeds needs = planeNeeds(reachX, reachY);
    needs.heldBytesPerVoxel = workBytes;
    const access::Plan plan = access::cutBoxes({&input}, {&input}, needs);
    const std::size_t atOnce = plan.isSmall() ? std::size_t{1} : std::min(threads, plan.blockCount());
    const std::size_t row = (plan.largestPart(COLUMNS) + 2 * reachX) * workBytes + 128;
    return atOnce * ((2 * reachY + 4) * row + pages);
}

}  // namespace

void smoothGaussian(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                    const GaussianJob& job, bool inPlace, OptimLevelType level) {
    if (const auto fixed = GaussianFixed::of(input.getVoxelType(), output.getVoxelType(), job)) {
        if (inPlace) {
            access::writeThroughTemporary(context, output,
                                          [&](ImageModel& target) { fixed->smooth(context, input, target, level); });
        } else {
            fixed->smooth(context, input, output, level);
        }
        return;
    }
    if (gaussianWorkType(input.getVoxelType(), job) == RIX_FLOAT64) {
        Smoothing<double>(context, job, mayBeWild(input, job), level).run(input, output, inPlace);
    } else {
        Smoothing<float>(context, job, mayBeWild(input, job), level).run(input, output, inPlace);
    }
}

access::Reach gaussianInfluence(const ImageModel& input, VoxelTypes outputType, const GaussianJob& job) {
    const bool isFixed = GaussianFixed::of(input.getVoxelType(), outputType, job).has_value();
    const auto extents = helper::getExtents(input);
    const auto axis = [&](std::size_t i) {
        const bool isWhole = !isFixed && isRecursive(job.deviations[i]);
        const std::size_t reach = isWhole ? extents[i] - 1 : gaussianReach(job.deviations[i]);
        return access::Reach::Axis{reach, reach};
    };
    return {axis(0), axis(1), axis(2)};
}

std::size_t gaussianWorkingBytes(const ImageModel& input, VoxelTypes outputType, const GaussianJob& job, bool inPlace,
                                 std::size_t threads) {
    if (const auto fixed = GaussianFixed::of(input.getVoxelType(), outputType, job)) {
        return fixed->workingBytes(input, threads) + (inPlace ? access::TemporaryImage::bytes(input, outputType) : 0);
    }
    const VoxelTypes workType = gaussianWorkType(input.getVoxelType(), job);
    const std::size_t workBytes = helper::getSizeOf(workType);
    const Passes passes(job);
    // The passes between the first and the last go from samples of the work to such; the widest bundles are those with
    // the smallest samples.
    ImageHeader header = helper::headerOf(input);
    if (helper::getSizeOf(outputType) < helper::getSizeOf(input.getVoxelType())) {
        header.voxelType = outputType;
    }
    const HeaderImage narrowest(header);
    const bool wild = mayBeWild(input, job);
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < passes.count; ++i) {
        const auto recursive = [&](Components axis) {
            return recursiveWorkingBytes(narrowest, input.getVoxelType(), job, axis, wild, threads);
        };
        std::size_t here = 0;
        switch (passes.passes[i]) {
            case Pass::Volumes: here = volumeWorkingBytes(input, workBytes, job, threads); break;
            case Pass::Planes: here = planeWorkingBytes(input, workBytes, job, threads); break;
            case Pass::FiniteZ:
                here = access::bundleMemory(narrowest, PLANS, workBytes,
                                            alongNeeds(job, gaussianReach(job.deviations[2])), threads);
                break;
            case Pass::RecursiveX: here = recursive(COLUMNS); break;
            case Pass::RecursiveY: here = recursive(ROWS); break;
            case Pass::RecursiveZ: here = recursive(PLANS); break;
        }
        bytes = std::max(bytes, here);
    }
    if (passes.count > 1) {
        bytes += inPlace || outputType != workType ? access::TemporaryImage::bytes(input, workType, passes.use()) : 0;
    } else if (inPlace) {
        bytes += access::TemporaryImage::bytes(input, outputType);
    }
    return bytes;
}

std::size_t gaussianWorkingBytesInDoubles(const ImageModel& like, const GaussianJob& job, std::size_t threads) {
    ImageHeader header = helper::headerOf(like);
    header.voxelType = RIX_FLOAT64;
    header.interpretation = RIX_VALUE;
    return gaussianWorkingBytes(HeaderImage(header), RIX_FLOAT64, job, false, threads);
}

}  // namespace rix::filtering::smoothing
