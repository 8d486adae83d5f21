// What is small goes: connected sets of binary images, labels of others.

#include <algorithm>
#include <cmath>
#include <memory>
#include <type_traits>

#include <rix/access/Joins.h>
#include <rix/access/KeyTable.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/LeastSize.h>
#include <rix/rules/InputRules.h>
#include <rix/rules/OutputRules.h>
#include <rix/rules/OverlapRules.h>
#include <rix/segmentation/MarkedSets.h>
#include <rix/segmentation/RemoveSmallObjects2d.h>
#include <rix/segmentation/RemoveSmallObjects3d.h>

#include "LabelRows.h"

namespace rix::segmentation {

namespace {

template <class Filter>
constexpr std::size_t axesOf = std::is_same_v<Filter, RemoveSmallObjects3d> ? 3 : 2;

/// Parts are numbered with 32 bits.
class AssertPartCount {
public:
    static constexpr bool individual = true;
    explicit AssertPartCount(std::size_t axes) : m_axes(axes) {}

    void apply(const rules::ImageOperand& operand) const {
        double parts = 1;
        for (std::size_t axis = m_axes; axis < RIX_COMPONENTS_SIZE; ++axis) {
            parts *= static_cast<double>(operand.image.getNumOf(static_cast<Components>(axis)));
        }
        if (parts > most) {
            rules::refuse(rules::parameterText(operand.property) + ' ' + describe() + '.',
                          "There are " + rules::valueToText(parts) + '.');
        }
    }
    String describe() const { return String("must have at most 4294967295 ") + (m_axes == 3 ? "volumes" : "planes"); }

private:
    static constexpr double most = 4294967295.0;
    std::size_t m_axes;
};

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The objects: connected sets of a binary image, labels of another one.",
                     AddRulesForIntegerImage(), rules::AddRuleOnImage<AssertPartCount>(axesOf<Filter>));
    filter.minimumSize = 64.0;
    properties.input(filter.minimumSize, "The least size of what stays.");
    algorithms::addRuleLeastSize(filter.minimumSize, filter.inputImage, filter.lengthUnit, axesOf<Filter>);
    properties.input(filter.lengthUnit, "Whether that is in voxels, or in the image's unit to the power of the axes.");
    filter.neighborhood = axesOf<Filter> == 3 ? 2 : 1;
    properties.input(filter.neighborhood, "Which voxels of a binary image touch.");
    properties.output(filter.outputImage, "The image without small objects.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(filter.inputImage), AddRuleEnforceLike(filter.inputImage));
}

std::size_t partVoxels(const Extents& n, std::size_t axes) {
    return n[COLUMNS] * n[ROWS] * (axes == 3 ? n[PLANS] : 1);
}

template <class Filter>
std::size_t leastOf(const Filter& filter) {
    const ImageModel& image = *filter.getInputImage();
    return algorithms::leastVoxels(filter.getMinimumSize(), filter.getLengthUnit(), image, axesOf<Filter>,
                                   partVoxels(helper::getExtents(image), axesOf<Filter>) + 1);
}

template <class Filter>
MarkedSetsTask setsOf(const Filter& filter) {
    return {.image = *filter.getInputImage(),
            .axes = axesOf<Filter>,
            .farthest = static_cast<int>(filter.getNeighborhood()) + 1};
}

/// The number of the plane or volume of a row.
std::uint64_t partOf(const access::RowSegment& row, const Extents& n, std::size_t axes) {
    const std::uint64_t frame = row.spectral * n[SEQUENCE] + row.sequence;
    return axes == 3 ? frame : frame * n[PLANS] + row.plane;
}

/// Counts the voxels of each label: a step of the run.
template <class T>
access::KeyTable countLabels(access::ExecutionContext& context, const ImageModel& image, std::size_t axes) {
    const Extents n = helper::getExtents(image);
    const access::Plan plan = access::cutBands(n, {.nanosecondsPerVoxel = 1.0});
    access::Accumulators<access::KeyTable> tables;
    access::run(context, plan, [&](const access::Block& block) {
        auto table = tables.take([] { return std::make_unique<access::KeyTable>(); });
        access::RowReader<T> reader(image);
        access::Looks looks;
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            const T* const row = reader.read(segment);
            const std::uint64_t part = partOf(segment, n, axes);
            forEachStretch(
                segment.count, [&](std::size_t x) { return row[x] == row[x - 1]; },
                [&](std::size_t first, std::size_t end) {
                    if (row[first] != 0) {
                        (*table)[keyOfLabel(part, row[first])] += end - first;
                    }
                });
            looks.add(segment.count);
        });
        tables.give(std::move(table));
    });
    return access::joined(tables.all());
}

template <class T>
void removeLabels(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, std::size_t axes,
                  std::size_t least) {
    const access::Steps steps(context, 2);
    const Extents n = helper::getExtents(input);
    const access::KeyTable sizes = countLabels<T>(context, input, axes);
    transformLabels<T, T>(context, input, output, [&](const access::RowSegment& segment) {
        return [&, part = partOf(segment, n, axes)](T label) {
            return sizes.find(keyOfLabel(part, label)) >= least ? label : T{0};
        };
    });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputImage();
    ImageModel& output = *filter.getOutputImage();
    const std::size_t least = leastOf(filter);
    if (input.getInterpretation() == RIX_BINARY) {
        takeLargeSets(context, setsOf(filter), least, output, level);
        return;
    }
    access::dispatch(access::Integers{}, input.getVoxelType(), [&](auto tag) {
        removeLabels<typename decltype(tag)::type>(context, input, output, axesOf<Filter>, least);
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    if (input.getInterpretation() == RIX_BINARY) {
        return largeSetsMemory(setsOf(filter), filter.getMaximumThreads());
    }
    const Extents n = helper::getExtents(input);
    double parts = 1;
    for (std::size_t axis = axesOf<Filter>; axis < RIX_COMPONENTS_SIZE; ++axis) {
        parts *= static_cast<double>(n[axis]);
    }
    const double mostLabels = std::min(static_cast<double>(partVoxels(n, axesOf<Filter>)),
                                       std::exp2(8.0 * static_cast<double>(helper::getSizeOf(input.getVoxelType()))));
    return access::boundOf(static_cast<double>(filter.getMaximumThreads()) *
                           access::KeyTable::bytesFor(parts * mostLabels));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .memory = &memoryOf<Filter>,
        .memoryIsExact = false,  // it depends on the number of labels, or of runs
    };
}

constexpr auto inPlanes = definitionOf<RemoveSmallObjects2d>("Takes out the small objects of each plane.");
constexpr auto inVolumes = definitionOf<RemoveSmallObjects3d>("Takes out the small objects of each volume.");

}  // namespace

RIX_DEFINE_ALGORITHM(RemoveSmallObjects2d, inPlanes)
RIX_DEFINE_ALGORITHM(RemoveSmallObjects3d, inVolumes)

}  // namespace rix::segmentation
