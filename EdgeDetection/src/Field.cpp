#include "Field.h"

#include <algorithm>

#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>

namespace rix::edge_detection {

namespace {

using access::Scratch;

/// Rough cost, for deciding whether threads pay and how long blocks take.
constexpr double nanosecondsPerProduct = 0.05;
constexpr double productsOfRest = 16.0;

/// Results that count as one step of `Looks`: a quarter of a million are written between two.
constexpr std::size_t voxelsOfStep = 4;

template <class T>
std::size_t bytesOf(const ImageModel& input, const FieldJob& job, std::size_t outputs, std::size_t threads) {
    const FieldPlan<T> plan(job);
    const access::Plan blocks = cutField(input, plan);
    if (blocks.blockCount() == 0) {
        return 0;
    }
    const std::size_t atOnce = blocks.isSmall() ? 1 : std::min(threads, blocks.blockCount());
    const TileSize tile = largestTile(plan, blocks);
    return atOnce * (FieldRows<T>::bytes(plan, input, tile) + 2 * outputs * Scratch::held(tile.columns * sizeof(T)));
}

}  // namespace

VoxelTypes fieldWorkType(VoxelTypes input) {
    return input == RIX_FLOAT64 || input == RIX_INT32 || input == RIX_UINT32 ? RIX_FLOAT64 : RIX_FLOAT32;
}

VoxelTypes derivativeType(VoxelTypes input) {
    return input == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

template <class T>
access::Plan cutField(const ImageModel& image, const FieldPlan<T>& plan) {
    access::BoxNeeds needs;
    needs.nanosecondsPerVoxel = nanosecondsPerProduct * (plan.products() + productsOfRest);
    const std::size_t y = plan.reach[1] + plan.margin[1];
    if (plan.isFlat) {
        needs.reach.rows = {y, y};
        needs.carried = access::Carried{.piece = 2048};
    } else {
        // What is around a block is computed twice: along z all of it, above and below its sums along x alone.
        const std::size_t z = 4 * (plan.reach[2] + plan.margin[2]);
        needs.reach.planes = {z, z};
        const std::size_t rows = std::max<std::size_t>(4 * y, 32);
        needs.carried = access::Carried{
            .axis = PLANS, .piece = 1024, .bandVoxels = rows * std::min<std::size_t>(image.getNumOf(COLUMNS), 2048)};
    }
    return access::cutBoxes({&image}, {}, needs);
}

template <class T>
void computeField(access::ExecutionContext& context, const std::vector<const ImageModel*>& sources, const FieldJob& job,
                  const std::vector<FieldOutput>& outputs, OptimLevelType level,
                  access::FunctionRef<void(const T* const*, T* const*, const access::RowSegment&)> row) {
    const FieldPlan<T> plan(job);
    const FieldKernels<T> kernels = fieldKernels<T>(level);
    const access::Plan blocks = cutField(*sources[0], plan);
    access::run(context, blocks, [&](const access::Block& block) {
        std::vector<access::RowWriter<T>> writers;
        writers.reserve(outputs.size());
        for (const FieldOutput& output : outputs) {
            writers.emplace_back(*output.image);
        }
        std::vector<T*> outs(outputs.size());
        access::Looks looks;
        forEachTile(plan, block, [&](const access::Block& tile) {
            FieldRows<T> rows(plan, sources, tile, kernels);
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

template access::Plan cutField<float>(const ImageModel&, const FieldPlan<float>&);
template access::Plan cutField<double>(const ImageModel&, const FieldPlan<double>&);
template void computeField<float>(
    access::ExecutionContext&, const std::vector<const ImageModel*>&, const FieldJob&, const std::vector<FieldOutput>&,
    OptimLevelType, access::FunctionRef<void(const float* const*, float* const*, const access::RowSegment&)>);
template void computeField<double>(
    access::ExecutionContext&, const std::vector<const ImageModel*>&, const FieldJob&, const std::vector<FieldOutput>&,
    OptimLevelType, access::FunctionRef<void(const double* const*, double* const*, const access::RowSegment&)>);

}  // namespace rix::edge_detection
