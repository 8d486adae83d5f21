#include "resampling/SeparableScaling.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#include <rix/access/Plan.h>
#include <rix/access/RoundingKernels.h>
#include <rix/access/RoundingRange.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/Steps.h>
#include <rix/access/StreamKernels.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WholeImage.h>
#include <rix/image/ImageHeader.h>
#include <rix/image/SampleMemory.h>

#include "resampling/BlockScaler.h"
#include "resampling/FractionScaling.h"
#include "resampling/Halving.h"
#include "resampling/SplineCoefficients.h"

namespace rix::geometry {

namespace {

using access::Block;
using access::Position;
using access::Scratch;

SplineAxes splineAxes(const ImageScales& scales) {
    SplineAxes axes{};
    for (std::size_t axis = 0; axis < axes.size(); ++axis) {
        axes[axis] = scales[axis].rule == LineRule::Spline;
    }
    return axes;
}

bool hasSplines(const ImageScales& scales) {
    const SplineAxes axes = splineAxes(scales);
    return std::find(axes.begin(), axes.end(), true) != axes.end();
}

/// The samples of the sums: such that whole sums are exact, and others as precise as the image.
VoxelTypes workTypeOf(VoxelTypes type, const ImageScales& scales) {
    if (splineWorkType(type) == RIX_FLOAT64) {
        return RIX_FLOAT64;
    }
    double largest = helper::getSizeOf(type) == 1 ? 0x1p8 : 0x1p16;
    for (const LineScale& scale : scales) {
        largest *= LineWeights<double>::divisorOf(scale, true);
    }
    return hasWholeWeights(type) && largest > 0x1p24 ? RIX_FLOAT64 : RIX_FLOAT32;
}

template <class T>
void scale(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const ImageScales& scales,
           OptimLevelType level) {
    const Scaling<T> scaling(input, scales);
    const LineKernels<T> kernels = lineKernels<T>(level);
    const PeriodOfColumns<T> period(scaling.lines[COLUMNS], kernels);
    const access::RoundingRow round = access::roundingRow(access::voxelTypeOf<T>, output.getVoxelType(), level);
    const access::RoundingRange<float> range(output);
    const bool endsAcross = !scaling.rowsFirst && !scaling.lines[ROWS].isKept() && scaling.divisor == T(1);
    const bool roundsLast = range.rounds && endsAcross;
    const bool writesLast = endsAcross && !access::needsCopy(output, access::voxelTypeOf<T>);
    const access::Stores stores = access::chooseStores(scaling.plan.voxelCount(), sizeof(T));
    const AcrossRounded across = acrossRounded(helper::getElementSize(output), level);
    access::run(context, scaling.plan, [&](const Block& block, access::BlockProgress& progress) {
        BlockScaler<T> scaler(scaling, kernels, period.get(), input, block, progress);
        access::RawRowWriter writer(output, scaling.plan);
        const std::size_t count = block.columns().length();
        std::size_t plane = std::numeric_limits<std::size_t>::max();
        block.forEachRow([&](const Position& at) {
            if (at.plane != plane) {
                plane = at.plane;
                scaler.startPlane(at);
            }
            if constexpr (std::is_same_v<T, float>) {
                if (roundsLast) {
                    scaler.makeRounded(at.row, range, across, writer.open({at, count}));
                    writer.flush();
                    return;
                }
            }
            if (writesLast) {
                scaler.makeInto(at.row, stores, reinterpret_cast<T*>(writer.open({at, count})));
                writer.flush();
                return;
            }
            const T* const row = scaler.make(at.row);
            round(row, writer.open({at, count}), count);
            writer.flush();
        });
        if (writesLast && stores == access::Stores::Streaming) {
            access::finishStreaming();
        }
    });
}

template <class T>
std::size_t scalingBytes(const ImageModel& input, const ImageScales& scales, std::size_t threads) {
    std::size_t bytes = 0;
    for (const LineScale& scale : scales) {
        bytes += LineWeights<T>::bytes(scale);
    }
    const Scaling<T> scaling(input, scales);
    const bool isConverted = input.getVoxelType() != access::voxelTypeOf<T> || input.getInterpretation() == RIX_BINARY;
    const std::size_t block = Scratch::held(scaling.ringRows * scaling.ringStride() * sizeof(T)) +
                              Scratch::held(2 * scaling.rowSpace() * sizeof(T)) +
                              Scratch::held(BlockScaler<T>::tableBytes(scaling)) +
                              (isConverted ? Scratch::held(scaling.width * sizeof(T)) : 0);
    const std::size_t atOnce = scaling.plan.isSmall() ? 1 : std::min(threads, scaling.plan.blockCount());
    return bytes + Scratch::held(PeriodOfColumns<T>::bytes(scaling.lines[COLUMNS])) + atOnce * block;
}

}  // namespace

std::array<std::size_t, RIX_COMPONENTS_SIZE> scaledExtents(const ImageModel& input, const ImageScales& scales) {
    auto extents = helper::getExtents(input);
    for (std::size_t axis = 0; axis < scales.size(); ++axis) {
        extents[axis] = scales[axis].out;
    }
    return extents;
}

void scaleImage(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                const ImageScales& scales, OptimLevelType level) {
    if (halvesPlanes(input, scales)) {
        halvePlanes(context, input, output, level);
        return;
    }
    if (hasSmallFractions(input, scales)) {
        scaleByFractions(context, input, output, scales, level);
        return;
    }
    const VoxelTypes work = workTypeOf(input.getVoxelType(), scales);
    const auto scaleFrom = [&](const ImageModel& from) {
        if (work == RIX_FLOAT64) {
            scale<double>(context, from, output, scales, level);
        } else {
            scale<float>(context, from, output, scales, level);
        }
    };
    if (!hasSplines(scales)) {
        scaleFrom(input);
        return;
    }
    const access::Steps steps(context, {1.0, 1.0});
    access::TemporaryImage coefficients(input, work);
    computeSplineCoefficients(context, input, coefficients.image(), 3, splineAxes(scales), level);
    scaleFrom(coefficients.image());
}

std::size_t scalingMemory(const ImageModel& input, const ImageScales& scales, std::size_t threads) {
    if (halvesPlanes(input, scales)) {
        return 0;
    }
    if (hasSmallFractions(input, scales)) {
        return fractionsMemory(input, scales, threads);
    }
    const VoxelTypes work = workTypeOf(input.getVoxelType(), scales);
    const auto bytes = [&](const ImageModel& from) {
        return work == RIX_FLOAT64 ? scalingBytes<double>(from, scales, threads)
                                   : scalingBytes<float>(from, scales, threads);
    };
    if (!hasSplines(scales)) {
        return bytes(input);
    }
    ImageHeader header = helper::headerOf(input);
    header.voxelType = work;
    return access::TemporaryImage::bytes(input, work) +
           std::max(splineCoefficientsMemory(input, work, splineAxes(scales), threads), bytes(HeaderImage(header)));
}

}  // namespace rix::geometry
