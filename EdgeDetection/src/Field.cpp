#include "Field.h"

#include <algorithm>

#include <rix/access/BorderConditions.h>
#include <rix/access/BorderPolicy.h>
#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>

namespace rix::edge_detection {

namespace {

using access::Scratch;

/// Rough cost, for deciding whether threads pay and how long blocks take.
constexpr double nanosecondsPerProduct = 0.15;

/// Results that count as one step of `Looks`: a quarter of a million are written between two.
constexpr std::size_t voxelsOfStep = 4;

/// Sums along z of an image by some kernels, and the temporary images that they go to.
template <class T>
struct AlongPlanes {
    std::size_t source;
    std::vector<const typename FieldPlan<T>::Kernel*> kernels;
    std::vector<std::size_t> windows;  ///< of the plan, that look at them
};

template <class T>
std::vector<AlongPlanes<T>> alongPlanes(const FieldPlan<T>& plan) {
    std::vector<AlongPlanes<T>> passes;
    for (std::size_t i = 0; i < plan.windows.size(); ++i) {
        const auto& window = plan.windows[i];
        if (window.kernel == FieldPlan<T>::none) {
            continue;
        }
        auto pass = std::find_if(passes.begin(), passes.end(),
                                 [&](const AlongPlanes<T>& each) { return each.source == window.source; });
        if (pass == passes.end()) {
            pass = passes.insert(passes.end(), {window.source, {}, {}});
        }
        pass->kernels.push_back(&plan.kernels[window.kernel]);
        pass->windows.push_back(i);
    }
    return passes;
}

template <class T>
access::BoxNeeds needsAlongPlanes(const AlongPlanes<T>& pass) {
    access::BoxNeeds needs;
    std::size_t products = 0;
    for (const auto* const kernel : pass.kernels) {
        needs.reach.planes.before = std::max(needs.reach.planes.before, kernel->reach());
        products += kernel->half.size();
    }
    needs.reach.planes.after = needs.reach.planes.before;
    needs.nanosecondsPerVoxel = nanosecondsPerProduct * static_cast<double>(products + 4);
    needs.heldBytesPerVoxel = sizeof(T);
    return needs;
}

template <class T>
void sumAlongPlanes(access::ExecutionContext& context, const ImageModel& input, const std::vector<ImageModel*>& outputs,
                    const FieldJob& job, const AlongPlanes<T>& pass, const FieldKernels<T>& kernels) {
    const access::BoxNeeds needs = needsAlongPlanes(pass);
    const auto reach = static_cast<std::int64_t>(needs.reach.planes.before);
    const auto border = access::borderOf<T>(job.border, job.borderValue);
    const access::Plan plan = access::cutBoxes({&input}, {}, needs);
    access::run(context, plan, [&](const access::Block& block) {
        std::vector<access::RowWriter<T>> writers;
        writers.reserve(outputs.size());
        for (ImageModel* const output : outputs) {
            writers.emplace_back(*output);
        }
        std::vector<KernelSum<T>> sums(outputs.size());
        const auto length = static_cast<std::size_t>(2 * reach + 1);
        std::vector<const T*> lists(length * block.rows().length());  // of each row, around a plane
        access::WindowRows<T> window(input, border.get(), block, needs.reach);
        access::Looks looks;
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            const auto plane = static_cast<std::int64_t>(segment.plane);
            const auto row = static_cast<std::int64_t>(segment.row);
            const T** const rows = lists.data() + (segment.row - block.rows().begin) * length;
            if (segment.plane == block.planes().begin) {
                for (std::int64_t k = -reach; k < reach; ++k) {
                    rows[k + reach + 1] = window.row(row, plane + k);
                }
            }
            std::copy(rows + 1, rows + length, rows);
            rows[length - 1] = window.row(row, plane + reach);
            for (std::size_t i = 0; i < sums.size(); ++i) {
                sums[i] = {pass.kernels[i], writers[i].open(segment)};
            }
            takeSums<T>(kernels, rows + reach, sums, segment.count);
            looks.add(segment.count * sums.size() / voxelsOfStep);
            for (access::RowWriter<T>& writer : writers) {
                writer.flush();
            }
        });
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
    const std::size_t columns = std::min(blocks.largestPart(COLUMNS), tileColumns(plan));
    const std::size_t row = (columns + 2 * plan.reachX) * sizeof(T) + 2 * access::readableBytesBehindWindow;
    std::size_t inWindows = FieldRows<T>::bytes(plan, columns) + 2 * outputs * Scratch::held(columns * sizeof(T));
    for (const auto& window : plan.windows) {
        const bool holdsBlock = blocks.largestPart(PLANS) > 1 && window.reachZ > 0;
        const std::size_t rows =
            (2 * window.reachY + (holdsBlock ? blocks.largestPart(ROWS) : 1)) * (2 * window.reachZ + 1);
        constexpr std::size_t placeOfRow = 24;
        inWindows += Scratch::held(rows * row) + Scratch::held(rows * placeOfRow) + Scratch::held(row);
    }
    std::size_t sums = 0;
    for (const AlongPlanes<T>& pass : alongPlanes(plan)) {
        sums = std::max(sums, access::windowMemory(input, needsAlongPlanes(pass), sizeof(T), threads));
    }
    return plan.temporaries() * access::TemporaryImage::bytes(input, access::voxelTypeOf<T>) +
           std::max(atOnce * inWindows, sums);
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
    m_sources.resize(plan.windows.size());
    for (const AlongPlanes<T>& pass : alongPlanes(plan)) {
        const ImageModel& image = *sources[pass.source];
        std::vector<ImageModel*> sums;
        for (std::size_t i = 0; i < pass.kernels.size(); ++i) {
            m_temporaries.emplace_back(image, access::voxelTypeOf<T>);
            io::MemoryImage& sum = m_temporaries.back().image();
            static_cast<void>(sum.setInterpretation(RIX_VALUE));
            sums.push_back(&sum);
            const T beyond = pass.kernels[i]->ofConstant(static_cast<T>(job.borderValue));
            m_sources[pass.windows[i]] = {&sum, access::borderOf<T>(job.border, static_cast<double>(beyond))};
        }
        sumAlongPlanes(context, image, sums, job, pass, kernels);
    }
    for (std::size_t i = 0; i < plan.windows.size(); ++i) {
        if (plan.windows[i].kernel == FieldPlan<T>::none) {
            m_sources[i] = {sources[plan.windows[i].source], access::borderOf<T>(job.border, job.borderValue)};
        }
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
std::size_t tileColumns(const FieldPlan<T>& plan) {
    constexpr std::size_t cache = 131072;
    constexpr std::size_t least = 256;
    std::size_t rows = plan.lines.size() + 2 * plan.components.size();
    for (const auto& window : plan.windows) {
        rows += 2 * window.reachY + 1;
    }
    return std::max(cache / (rows * sizeof(T)) / 64 * 64, std::max(least, 8 * plan.reachX));
}

template <class T>
void computeField(access::ExecutionContext& context, const std::vector<const ImageModel*>& sources, const FieldJob& job,
                  const std::vector<FieldOutput>& outputs, OptimLevelType level,
                  access::FunctionRef<void(const T* const*, T* const*, const access::RowSegment&)> row) {
    const FieldPlan<T> plan(job);
    const access::Steps steps(context, alongPlanes(plan).size() + 1);
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
        forEachTile(plan, *images.sources()[0].image, block, [&](const access::Block& tile) {
            FieldRows<T> rows(plan, images.sources(), tile, kernels);
            blocks.forEachSegment(tile, [&](const access::RowSegment& segment) {
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
        });
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
template std::size_t tileColumns<float>(const FieldPlan<float>&);
template std::size_t tileColumns<double>(const FieldPlan<double>&);
template access::BoxNeeds fieldNeeds<float>(const FieldPlan<float>&);
template access::BoxNeeds fieldNeeds<double>(const FieldPlan<double>&);
template void computeField<float>(
    access::ExecutionContext&, const std::vector<const ImageModel*>&, const FieldJob&, const std::vector<FieldOutput>&,
    OptimLevelType, access::FunctionRef<void(const float* const*, float* const*, const access::RowSegment&)>);
template void computeField<double>(
    access::ExecutionContext&, const std::vector<const ImageModel*>&, const FieldJob&, const std::vector<FieldOutput>&,
    OptimLevelType, access::FunctionRef<void(const double* const*, double* const*, const access::RowSegment&)>);

}  // namespace rix::edge_detection
