// What touches the edges of planes and volumes goes, or what does not is filled.

#include <algorithm>

#include <rix/access/Looks.h>
#include <rix/morphology/FillHoles2d.h>
#include <rix/morphology/FillHoles3d.h>
#include <rix/morphology/RemoveBorderObjects2d.h>
#include <rix/morphology/RemoveBorderObjects3d.h>
#include <rix/segmentation/MarkedSets.h>
#include <rix/simd/Loops.h>

#include "IsOneOf.h"
#include "elements/ElementMinimum.h"
#include "reconstruction/FloodRun.h"

namespace rix::morphology {

namespace {

template <class Filter>
constexpr bool isFiller = isOneOf<Filter, FillHoles2d, FillHoles3d>;

template <class Filter>
FloodSpace spaceOf(const Filter& filter) {
    FloodSpace space = floodSpaceOf(filter.getNeighborhood());
    if (isFiller<Filter>) {  // the background is connected as the objects are not
        space.farthest = space.farthest > 1 ? 1 : static_cast<int>(space.axes);
    }
    return space;
}

template <class Filter>
VoxelTypes outputType(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    return isFiller<Filter> || input.getInterpretation() != RIX_VALUE ? input.getVoxelType()
                                                                      : differenceTypeOf(input.getVoxelType());
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage,
                     isFiller<Filter> ? "The image whose holes are filled." : "The image, of grey values or objects.",
                     AddRulesForRealImage());
    takeAllNeighbours(filter);
    properties.input(filter.neighborhood, isFiller<Filter>
                                              ? "Which voxels of an object touch; holes are connected the other way."
                                              : "Which voxels of an object touch.");
    properties.output(filter.outputImage,
                      isFiller<Filter> ? "The image without holes." : "The image without what touches its edges.",
                      AddRuleAssertNotNull(),
                      AddRuleEnforceLike(filter.inputImage, {.chosenType = [&filter] { return outputType(filter); }}));
}

template <class T>
DifferenceOf<T> difference(T ground, T level) {
    if constexpr (std::is_floating_point_v<T>) {
        return ground == level ? T{0} : ground - level;  // also of infinities
    } else {
        return static_cast<DifferenceOf<T>>(static_cast<DifferenceOf<T>>(ground) - static_cast<DifferenceOf<T>>(level));
    }
}

/// What is left of the ground above the levels, in their place.
template <class T>
void takeFromGround(access::ExecutionContext& context, const FloodImages<T>& images) {
    forEachRowOf(context, images.extents, sizeof(T), [&](const access::RowSegment& segment, std::size_t offset) {
        auto* const results = reinterpret_cast<DifferenceOf<T>*>(images.levels);
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t i = offset; i < offset + segment.count; ++i) {
            results[i] = difference(images.ground[i], images.levels[i]);
        }
    });
}

/// The voxels of planes or volumes on their edges.
std::size_t edgeVoxels(const Extents& n, std::size_t axes) {
    const auto inside = [](std::size_t extent) { return extent - std::min<std::size_t>(extent, 2); };
    return n[0] * n[1] * (axes == 3 ? n[2] : 1) - inside(n[0]) * inside(n[1]) * (axes == 3 ? inside(n[2]) : 1);
}

/// The labels on the edges of a plane or volume, in order, each once.
template <class T>
class EdgeLabels {
public:
    EdgeLabels(const T* labels, const Extents& n, std::size_t axes) {
        m_labels.reserve(edgeVoxels(n, axes));
        access::Looks looks;
        const std::size_t planes = axes == 3 ? n[PLANS] : 1;
        for (std::size_t row = 0; row < n[ROWS] * planes; ++row, labels += n[COLUMNS]) {
            const std::size_t y = row % n[ROWS];
            const std::size_t z = row / n[ROWS];
            const bool isEdge =
                y == 0 || y + 1 == n[ROWS] || (axes == 3 && (z == 0 || z + 1 == planes)) || n[COLUMNS] < 3;
            const std::size_t step = isEdge ? 1 : n[COLUMNS] - 1;
            for (std::size_t x = 0; x < n[COLUMNS]; x += step) {
                looks.add(1);
                const bool isNew = m_labels.empty() || m_labels.back() != labels[x];
                if (isNew && !isNaN(labels[x])) {
                    m_labels.push_back(labels[x]);
                }
            }
        }
        std::sort(m_labels.begin(), m_labels.end());
        m_labels.erase(std::unique(m_labels.begin(), m_labels.end()), m_labels.end());
    }

    bool holds(T label) const { return std::binary_search(m_labels.begin(), m_labels.end(), label); }

private:
    access::CountedVector<T> m_labels;
};

/// Takes out the labels that occur on the edges.
template <class T>
void removeEdgeLabels(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                      std::size_t axes) {
    const Extents n = helper::getExtents(input);
    const access::Steps steps(context, 2);
    const access::WholeInput<T> whole(context, input, sharingBeside(input, output));
    access::WholeOutput<T> result(output);
    const std::size_t rows = n[ROWS] * (axes == 3 ? n[PLANS] : 1);
    const std::size_t parts = n[SPECTRAL_SERIES] * n[SEQUENCE] * (axes == 3 ? 1 : n[PLANS]);
    access::forEachPart(context, parts, static_cast<double>(rows * n[COLUMNS]), [&](std::size_t part) {
        const T* const from = whole.data() + part * rows * n[COLUMNS];
        T* const to = result.data() + part * rows * n[COLUMNS];
        const EdgeLabels<T> edges(from, n, axes);
        access::Looks looks;
        for (std::size_t row = 0; row < rows; ++row) {
            looks.add(n[COLUMNS] / 4 + 1);
            std::replace_copy_if(
                from + row * n[COLUMNS], from + (row + 1) * n[COLUMNS], to + row * n[COLUMNS],
                [&](T label) { return label != T{0} && edges.holds(label); }, T{0});
        }
    });
    result.commit(context);
}

/// Holes are what of the background meets no edge.
template <class Filter>
segmentation::MarkedSetsTask setsOf(const ImageModel& image, const FloodSpace& space) {
    return {image, isFiller<Filter>, nullptr, isFiller<Filter>, space.axes, space.farthest};
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputImage();
    ImageModel& output = *filter.getOutputImage();
    const FloodSpace space = spaceOf(filter);
    if (input.getInterpretation() == RIX_BINARY) {
        segmentation::takeMarkedSets(context, setsOf<Filter>(input, space), output, level);
        return;
    }
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        constexpr Extremum extremum = isFiller<Filter> ? Extremum::Minimum : Extremum::Maximum;
        if (!isFiller<Filter> && input.getInterpretation() == RIX_LABEL) {
            removeEdgeLabels<T>(context, input, output, space.axes);
            return;
        }
        const T limit = floodLimit<T>(extremum);
        reconstruct<T>(
            context, input, output, extremum, space, level,
            [&](const FloodImages<T>& images) { startFromEdges(context, images, limit, space); },
            [&](const FloodImages<T>& images) {
                if constexpr (!isFiller<Filter>) {
                    takeFromGround(context, images);
                }
            });
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const ImageModel* const output = filter.getOutputImage();
    const FloodSpace space = spaceOf(filter);
    const std::size_t threads = filter.getMaximumThreads();
    if (input.getInterpretation() == RIX_BINARY) {
        return segmentation::markedSetsMemory(setsOf<Filter>(input, space), threads);
    }
    if (!isFiller<Filter> && input.getInterpretation() == RIX_LABEL) {
        const Extents n = helper::getExtents(input);
        const std::size_t parts = n[SPECTRAL_SERIES] * n[SEQUENCE] * (space.axes == 3 ? 1 : n[PLANS]);
        return wholeInputBytes(input, output) + wholeOutputBytes(input, output, input.getVoxelType()) +
               std::min(threads, parts) * edgeVoxels(n, space.axes) * helper::getSizeOf(input.getVoxelType());
    }
    return reconstructionBytes(input, output, space, threads) + wholeOutputBytes(input, output, input.getVoxelType());
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .memory = &memoryOf<Filter>,
        .memoryIsExact = false,  // of binary images it depends on the number of runs
    };
}

constexpr auto fillsPlanes = definitionOf<FillHoles2d>("Fills the holes of the objects of each plane.");
constexpr auto fillsVolumes = definitionOf<FillHoles3d>("Fills the holes of the objects of each volume.");
constexpr auto clearsPlanes = definitionOf<RemoveBorderObjects2d>("Takes out what touches the edges of each plane.");
constexpr auto clearsVolumes = definitionOf<RemoveBorderObjects3d>("Takes out what touches the faces of each volume.");

}  // namespace

RIX_DEFINE_ALGORITHM(FillHoles2d, fillsPlanes)
RIX_DEFINE_ALGORITHM(FillHoles3d, fillsVolumes)
RIX_DEFINE_ALGORITHM(RemoveBorderObjects2d, clearsPlanes)
RIX_DEFINE_ALGORITHM(RemoveBorderObjects3d, clearsVolumes)

}  // namespace rix::morphology
