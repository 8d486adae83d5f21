#include "Field.h"

#include <algorithm>

#include <rix/access/BorderConditions.h>
#include <rix/access/BorderPolicy.h>
#include <rix/access/LineBundles.h>
#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>

namespace rix::edge_detection {

namespace {

using access::Scratch;

/// Rough cost, for deciding whether threads pay and how long blocks take.
constexpr double nanosecondsPerProduct = 0.15;

/// Results that count as one step of `Looks`: a million are written between two.
constexpr std::size_t voxelsOfStep = 8;

template <class Kernel>
access::BundleNeeds alongNeeds(const FieldJob& job, const Kernel& kernel) {
    const std::size_t reach = kernel.reach();
    return {{reach, reach}, job.border, job.borderValue, nanosecondsPerProduct * static_cast<double>(reach + 5)};
}

template <class T>
void sumAlongPlanes(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const FieldJob& job,
                    const typename FieldPlan<T>::Kernel& kernel, const FieldKernels<T>& kernels) {
    const std::size_t reach = kernel.reach();
    const auto sum = kernel.isOdd ? kernels.sumOdd : kernels.sumEven;
    access::forEachBundle<T>(context, input, output, PLANS, alongNeeds(job, kernel), [&](access::Bundle<T>& bundle) {
        const Scratch memory((2 * reach + 1) * sizeof(const T*));
        const auto rows = memory.template as<const T*>();
        const auto before = static_cast<std::int64_t>(reach);
        for (std::int64_t i = 0; i < static_cast<std::int64_t>(bundle.length()); ++i) {
            for (std::size_t k = 0; k <= 2 * reach; ++k) {
                rows[k] = bundle.row(i - before + static_cast<std::int64_t>(k));
            }
            sum(rows, kernel.half.data(), reach, bundle.row(i - before), bundle.paddedWidth());
        }
        bundle.setResult(-before);
    });
}

template <class T>
std::size_t bytesOf(const ImageModel& input, const FieldJob& job, std::size_t outputs, std::size_t threads) {
    const FieldPlan<T> plan(job);
    const access::Plan blocks = access::cutBoxes({&input}, {}, fieldNeeds(plan));
    if (blocks.blockCount() == 0) {
        return 0;
    }
    const std::size_t atOnce = blocks.isSmall() ? 1 : std::min(threads, blocks.blockCount());
    const std::size_t columns = blocks.largestPart(COLUMNS);
    const std::size_t row = (columns + 2 * plan.reachX) * sizeof(T) + 2 * access::readableBytesBehindWindow;
    std::size_t inWindows = FieldRows<T>::bytes(plan, columns) + 2 * outputs * Scratch::held(columns * sizeof(T));
    for (const auto& window : plan.windows) {
        const bool holdsBlock = blocks.largestPart(PLANS) > 1 && window.reachZ > 0;
        const std::size_t rows =
            (2 * window.reachY + (holdsBlock ? blocks.largestPart(ROWS) : 1)) * (2 * window.reachZ + 1);
        constexpr std::size_t placeOfRow = 24;
        inWindows += Scratch::held(rows * row) + Scratch::held(rows * placeOfRow) + Scratch::held(row);
    }
    std::size_t alongPlanes = 0;
    for (const auto& window : plan.windows) {
        if (window.kernel != FieldPlan<T>::none) {
            alongPlanes = std::max(
                alongPlanes,
                access::bundleMemory(input, PLANS, sizeof(T), alongNeeds(job, plan.kernels[window.kernel]), threads));
        }
    }
    return plan.temporaries() * access::TemporaryImage::bytes(input, access::voxelTypeOf<T>) +
           std::max(atOnce * inWindows, alongPlanes);
}

}  // namespace

VoxelTypes fieldWorkType(VoxelTypes input) {
    return input == RIX_FLOAT64 || input == RIX_INT32 || input == RIX_UINT32 ? RIX_FLOAT64 : RIX_FLOAT32;
}

VoxelTypes derivativeType(VoxelTypes input) {
    return input == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

template <class T>
FieldImages<T>::FieldImages(access::ExecutionContext& context, const std::vector<const ImageModel*>& sources,
                            const FieldJob& job, const FieldPlan<T>& plan, OptimLevelType level) {
    m_temporaries.reserve(plan.temporaries());
    const FieldKernels<T> kernels = fieldKernels<T>(level);
    for (const auto& window : plan.windows) {
        const ImageModel* image = sources[window.source];
        double beyond = job.borderValue;
        if (window.kernel != FieldPlan<T>::none) {
            const auto& kernel = plan.kernels[window.kernel];
            m_temporaries.emplace_back(*image, access::voxelTypeOf<T>);
            io::MemoryImage& sums = m_temporaries.back().image();
            static_cast<void>(sums.setInterpretation(RIX_VALUE));
            sumAlongPlanes<T>(context, *image, sums, job, kernel, kernels);
            image = &sums;
            beyond = static_cast<double>(kernel.ofConstant(static_cast<T>(beyond)));
        }
        m_sources.push_back({image, access::borderOf<T>(job.border, beyond)});
    }
}

template <class T>
access::BoxNeeds fieldNeeds(const FieldPlan<T>& plan) {
    access::BoxNeeds needs;
    std::size_t y = 0;
    std::size_t z = 0;
    for (const auto& window : plan.windows) {
        y = std::max(y, window.reachY);
        z = std::max(z, window.reachZ);
    }
    needs.reach = {{plan.reachX, plan.reachX}, {y, y}, {z, z}};
    needs.nanosecondsPerVoxel = nanosecondsPerProduct * (plan.products() + 4.0);
    needs.heldBytesPerVoxel = sizeof(T) * plan.windows.size();
    return needs;
}

template <class T>
void computeField(access::ExecutionContext& context, const std::vector<const ImageModel*>& sources, const FieldJob& job,
                  const std::vector<FieldOutput>& outputs, OptimLevelType level,
                  access::FunctionRef<void(const T* const*, T* const*, const access::RowSegment&)> row) {
    const FieldPlan<T> plan(job);
    const access::Steps steps(context, plan.temporaries() + 1);
    const FieldImages<T> images(context, sources, job, plan, level);
    const FieldKernels<T> kernels = fieldKernels<T>(level);
    const access::Plan blocks = access::cutBoxes({sources[0]}, {}, fieldNeeds(plan));
    access::run(context, blocks, [&](const access::Block& block) {
        std::vector<access::RowWriter<T>> writers;
        writers.reserve(outputs.size());
        for (const FieldOutput& output : outputs) {
            writers.emplace_back(*output.image);
        }
        std::vector<T*> outs(outputs.size());
        access::Looks looks;
        const access::WindowSpans spans =
            access::spansOf(*images.sources()[0].image, access::voxelTypeOf<T>, block, fieldNeeds(plan).reach);
        for (std::size_t i = 0; i < spans.count; ++i) {
            FieldRows<T> rows(plan, images.sources(), spans.parts[i], kernels);
            blocks.forEachSegment(spans.parts[i], [&](const access::RowSegment& segment) {
                const T* const* const components =
                    rows.compute(static_cast<std::int64_t>(segment.row), static_cast<std::int64_t>(segment.plane));
                for (std::size_t k = 0; k < outs.size(); ++k) {
                    access::RowSegment at = segment;
                    at.spectral += outputs[k].channel;
                    outs[k] = writers[k].open(at);
                }
                row(components, outs.data(), segment);
                looks.add(segment.count * outs.size() / voxelsOfStep);
                for (access::RowWriter<T>& writer : writers) {
                    writer.flush();
                }
            });
        }
    });
}

std::size_t fieldBytes(const ImageModel& input, const FieldJob& job, VoxelTypes workType, std::size_t outputs,
                       std::size_t threads) {
    return workType == RIX_FLOAT64 ? bytesOf<double>(input, job, outputs, threads)
                                   : bytesOf<float>(input, job, outputs, threads);
}

access::Reach fieldReach(const FieldJob& job) {
    std::array<std::size_t, 3> reach{};
    for (const FieldComponent& component : job.components) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            reach[axis] = std::max(reach[axis], component.taps[axis].reach() + job.margin[axis]);
        }
    }
    return {{reach[0], reach[0]}, {reach[1], reach[1]}, {reach[2], reach[2]}};
}

template class FieldImages<float>;
template class FieldImages<double>;
template access::BoxNeeds fieldNeeds<float>(const FieldPlan<float>&);
template access::BoxNeeds fieldNeeds<double>(const FieldPlan<double>&);
template void computeField<float>(
    access::ExecutionContext&, const std::vector<const ImageModel*>&, const FieldJob&, const std::vector<FieldOutput>&,
    OptimLevelType, access::FunctionRef<void(const float* const*, float* const*, const access::RowSegment&)>);
template void computeField<double>(
    access::ExecutionContext&, const std::vector<const ImageModel*>&, const FieldJob&, const std::vector<FieldOutput>&,
    OptimLevelType, access::FunctionRef<void(const double* const*, double* const*, const access::RowSegment&)>);

}  // namespace rix::edge_detection
