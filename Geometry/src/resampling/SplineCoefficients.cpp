#include "resampling/SplineCoefficients.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include <rix/access/LineBundles.h>
#include <rix/access/Steps.h>
#include <rix/image/ImageHeader.h>

#include "resampling/SplineKernels.h"

namespace rix::geometry {

namespace {

/// Rough cost, for deciding whether threads pay and how long blocks take.
constexpr double nanosecondsPerElement = 0.7;

access::BundleNeeds needs() {
    return {{}, access::BorderPolicy::MIRROR, 0.0, nanosecondsPerElement};
}

template <class T>
void computeAlong(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, int degree,
                  Components axis, OptimLevelType level) {
    const SplinePoles poles = splinePoles(degree);
    const SplineKernels<T> kernels = splineKernels<T>(level);
    access::forEachBundle<T>(
        context, input, output, axis, needs(), [&](access::Bundle<T>& bundle, access::BlockProgress& progress) {
            const std::size_t stride =
                bundle.length() > 1 ? static_cast<std::size_t>(bundle.row(1) - bundle.row(0)) : bundle.paddedWidth();
            for (std::size_t i = 0; i < poles.count; ++i) {
                const double pole = poles.poles[i];
                kernels.filter({bundle.row(0), stride, bundle.paddedWidth(), bundle.length(), static_cast<T>(pole),
                                static_cast<T>((1.0 - pole) * (1.0 - 1.0 / pole))});
                progress.add(bundle.length() * bundle.width() / poles.count);
            }
        });
}

}  // namespace

SplinePoles splinePoles(int degree) {
    const auto root = [](double x) { return std::sqrt(x); };
    switch (degree) {
        case 2: return {1, {root(8.0) - 3.0}};
        case 3: return {1, {root(3.0) - 2.0}};
        case 4:
            return {
                2,
                {root(664.0 - root(438976.0)) + root(304.0) - 19.0, root(664.0 + root(438976.0)) - root(304.0) - 19.0}};
        case 5:
            return {2,
                    {root(67.5 - root(4436.25)) + root(26.25) - 6.5, root(67.5 + root(4436.25)) - root(26.25) - 6.5}};
        default: return {};
    }
}

VoxelTypes splineWorkType(VoxelTypes input) {
    return input == RIX_FLOAT64 || input == RIX_INT32 || input == RIX_UINT32 ? RIX_FLOAT64 : RIX_FLOAT32;
}

void computeSplineCoefficients(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                               int degree, const SplineAxes& axes, OptimLevelType level) {
    const auto count = static_cast<std::size_t>(std::count(axes.begin(), axes.end(), true));
    const access::Steps steps(context, count);
    const ImageModel* from = &input;
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        if (!axes[axis]) {
            continue;
        }
        if (output.getVoxelType() == RIX_FLOAT64) {
            computeAlong<double>(context, *from, output, degree, axis, level);
        } else {
            computeAlong<float>(context, *from, output, degree, axis, level);
        }
        from = &output;
    }
}

std::size_t splineCoefficientsMemory(const ImageModel& input, VoxelTypes outputType, const SplineAxes& axes,
                                     std::size_t threads) {
    std::size_t bytes = 0;
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        bytes =
            axes[axis]
                ? std::max(bytes, access::bundleMemory(input, axis, helper::getSizeOf(outputType), needs(), threads))
                : bytes;
    }
    return bytes;
}

}  // namespace rix::geometry
