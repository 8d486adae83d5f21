#include <rix/segmentation/RelabelSequential.h>

#include <algorithm>
#include <atomic>
#include <type_traits>

#include <rix/access/BlockSize.h>
#include <rix/access/OrderedKeys.h>
#include <rix/access/PointFilters.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/ValueRanks.h>
#include <rix/access/WholeImage.h>
#include <rix/algorithms/Definition.h>

namespace rix::segmentation {

namespace {

constexpr double nanosecondsPerVoxel = 0.5;

/// The type of numbers: unsigned, so that it holds as many as there may be labels.
template <class T>
using NumberOf = std::make_unsigned_t<T>;

VoxelTypes numberType(const RelabelSequential& relabel) {
    VoxelTypes type = RIX_UINT8;
    access::dispatch(access::Integers{}, relabel.getInputLabelImage()->getVoxelType(),
                     [&](auto tag) { type = access::voxelTypeOf<NumberOf<typename decltype(tag)::type>>; });
    return type;
}

void declare(RelabelSequential& relabel, algorithms::Properties& properties) {
    properties.input(relabel.inputLabelImage, "The labels.", AddRulesForIntegerImage());
    properties.output(
        relabel.outputLabelImage, "The labels, numbered anew.", AddRuleAssertNotNull(),
        AddRuleDisjointFrom(relabel.inputLabelImage),
        AddRuleEnforceLike(relabel.inputLabelImage,
                           {.interpretation = RIX_LABEL, .chosenType = [&relabel] { return numberType(relabel); }}));
}

/// By a table of all labels that there may be.
template <class T>
void relabelByTable(access::ExecutionContext& context, const ImageModel& input, ImageModel& output) {
    using Key = access::KeyOf<T>;
    constexpr std::size_t labels = std::size_t{1} << (8 * sizeof(Key));
    const access::Scratch occursMemory(labels);
    auto* const occurs = occursMemory.as<std::uint8_t>();
    std::fill_n(occurs, labels, std::uint8_t{0});
    const access::Plan plan = access::cutBands(helper::getExtents(input), {.nanosecondsPerVoxel = nanosecondsPerVoxel});
    access::run(context, plan, [&](const access::Block& block) {
        access::RowReader<T> reader(input);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            const T* const row = reader.read(segment);
            for (std::size_t x = 0; x < segment.count; ++x) {
                const std::atomic_ref<std::uint8_t> flag(occurs[access::keyOf(row[x])]);
                if (flag.load(std::memory_order_relaxed) == 0) {
                    flag.store(1, std::memory_order_relaxed);
                }
            }
        });
    });
    const access::Scratch newMemory(labels * sizeof(NumberOf<T>));
    auto* const numbers = newMemory.as<NumberOf<T>>();
    const Key zero = access::keyOf(T{0});
    std::size_t next = 0;
    for (std::size_t key = 0; key < labels; ++key) {
        numbers[key] = key == zero || occurs[key] == 0 ? NumberOf<T>{0} : static_cast<NumberOf<T>>(++next);
    }
    access::transformRows<T, NumberOf<T>>(context, input, output, nanosecondsPerVoxel,
                                          [&](const T* in, NumberOf<T>* out, std::size_t count) {
                                              for (std::size_t x = 0; x < count; ++x) {
                                                  out[x] = numbers[access::keyOf(in[x])];
                                              }
                                          });
}

/// All voxels of an image as one row.
access::PaddedGrid rowOfAll(const ImageModel& image) {
    std::size_t count = 0;
    static_cast<void>(helper::getElementCount(image, count));
    return {{count, 1, 1, 1, 1}, 2, 1};
}

/// Calls `use(ranks)` with what brings the labels into order.
template <class Use>
auto withRanks(const access::PaddedGrid& grid, const Use& use) {
    using Narrow = access::ValueRanks<std::uint32_t, std::uint32_t>;
    using Wide = access::ValueRanks<std::uint32_t, std::uint64_t>;
    return grid.cells() < std::size_t{1} << 32 ? use(static_cast<Narrow*>(nullptr)) : use(static_cast<Wide*>(nullptr));
}

/// By their order.
template <class T>
void relabelByOrder(access::ExecutionContext& context, const ImageModel& input, ImageModel& output) {
    const access::PaddedGrid grid = rowOfAll(input);
    const auto extents = helper::getExtents(input);
    withRanks(grid, [&](auto* none) {
        const std::remove_pointer_t<decltype(none)> ranks(grid);
        std::uint32_t* const keys = ranks.row(0);
        const access::Plan plan = access::cutBands(extents, {.nanosecondsPerVoxel = nanosecondsPerVoxel});
        access::run(context, plan, [&](const access::Block& block) {
            access::RowReader<T> reader(input);
            plan.forEachSegment(block, [&](const access::RowSegment& segment) {
                const T* const row = reader.read(segment);
                std::transform(row, row + segment.count, keys + access::detail::offsetOf(segment, extents),
                               [](T label) { return access::keyOf(label); });
            });
        });
        const std::uint32_t zero = access::keyOf(T{0});
        const std::size_t first = grid.cellOfRow(0);
        const access::Plan whole({grid.voxels(), 1, 1, 1, 1}, access::JoinedAxes::None);
        access::run(context, whole, [&](const access::Block&, access::BlockProgress& progress) {
            std::size_t number = 0;
            std::size_t before = 0;
            // What was numbered is not asked for again; 0 is no number.
            ranks.forEach(
                [&](std::size_t cell) {
                    const bool isLabel = keys[cell - first] != zero;
                    keys[cell - first] = isLabel ? keys[cell - first] : 0;
                    return isLabel;
                },
                [&](std::size_t cell, std::size_t rank) {
                    number += number == 0 || rank != before ? 1 : 0;
                    before = rank;
                    keys[cell - first] = static_cast<std::uint32_t>(number);
                    progress.add(1);
                });
        });
        access::run(context, plan, [&](const access::Block& block) {
            access::RowWriter<std::uint32_t> writer(output);
            plan.forEachSegment(block, [&](const access::RowSegment& segment) {
                std::copy_n(keys + access::detail::offsetOf(segment, extents), segment.count, writer.open(segment));
                writer.flush();
            });
        });
    });
}

void process(RelabelSequential& relabel, OptimLevelType /*level*/) {
    access::ExecutionContext& context = relabel.executionContext();
    const access::Steps steps(context, {0.2, 0.6, 0.2});
    const ImageModel& input = *relabel.getInputLabelImage();
    ImageModel& output = *relabel.getOutputLabelImage();
    access::dispatch(access::Integers{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (sizeof(T) <= 2) {
            relabelByTable<T>(context, input, output);
        } else {
            relabelByOrder<T>(context, input, output);
        }
    });
}

std::size_t memoryOf(const RelabelSequential& relabel) {
    using access::Scratch;
    const ImageModel& input = *relabel.getInputLabelImage();
    const std::size_t bytes = helper::getSizeOf(input.getVoxelType());
    const std::size_t all = access::TemporaryImage::bytes(input, input.getVoxelType());
    const std::size_t rows = input.getInterpretation() == RIX_BINARY
                                 ? relabel.getMaximumThreads() * Scratch::held(std::min(all, access::blockBytes()))
                                 : 0;
    if (bytes <= 2) {
        const std::size_t labels = std::size_t{1} << (8 * bytes);
        return Scratch::held(labels) + Scratch::held(labels * bytes) + rows;
    }
    const access::PaddedGrid grid = rowOfAll(input);
    return rows + withRanks(grid, [&](auto* none) { return std::remove_pointer_t<decltype(none)>::bytes(grid); });
}

constexpr algorithms::Definition<RelabelSequential> definition{
    .summary = "Numbers labels without gaps, in the order of the old ones.",
    .kind = AlgorithmKind::Labeling,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
};

}  // namespace

RIX_DEFINE_ALGORITHM(RelabelSequential, definition)

}  // namespace rix::segmentation
