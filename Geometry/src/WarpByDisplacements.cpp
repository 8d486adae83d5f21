// Both warps: that of planes has no displacement along z.

#include <rix/access/Rows.h>
#include <rix/geometry/WarpByDisplacement2d.h>
#include <rix/geometry/WarpByDisplacement3d.h>
#include <rix/rules/SizeRules.h>

#include "Mapped.h"
#include "PlaceProperties.h"
#include "WorldTransform.h"
#include "resampling/PlaceSampling.h"

namespace rix::geometry {

namespace {

template <class Warp>
constexpr std::size_t axesOf = std::is_same_v<Warp, WarpByDisplacement3d> ? 3 : 2;

/// Where elements of the field lie in the input, and how far a displacement leads there.
class DisplacedPlaces final : public PlaceFinder {
public:
    DisplacedPlaces(const ImageModel& field, const access::RegionMap& map, std::size_t axes,
                    const Eigen::Matrix3d& inverse)
        : m_reader(field), m_map(map), m_axes(axes), m_frames(field.getNumOf(SEQUENCE)), m_inverse(inverse) {}

    void find(const access::RowSegment& segment, const std::array<double*, 3>& places) override {
        access::RowSegment part = segment;
        part.sequence = m_frames == 1 ? 0 : segment.sequence;
        std::array<const double*, 3> displacements{};
        for (std::size_t axis = 0; axis < m_axes; ++axis) {
            part.spectral = axis;
            displacements[axis] = m_reader.read(part, axis);
        }
        for (std::size_t axis = 0; axis < m_axes; ++axis) {
            const auto i = static_cast<Eigen::Index>(axis);
            const double x = m_inverse(i, 0);
            const double y = m_inverse(i, 1);
            const double z = m_inverse(i, 2);
            for (std::size_t k = 0; k < segment.count; ++k) {
                double step = x * displacements[0][k] + y * displacements[1][k];
                if (m_axes == 3) {
                    step += z * displacements[2][k];
                }
                places[axis][k] = m_map.place(axis, segment.column + k, segment.row, segment.plane) + step;
            }
        }
    }

    static std::size_t bytes(const ImageModel& field, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents,
                             std::size_t axes) {
        const bool isConverted = field.getVoxelType() != RIX_FLOAT64 || field.getInterpretation() == RIX_BINARY;
        return isConverted ? axes * access::Scratch::held(placeTileColumns(extents, axes) * sizeof(double)) : 0;
    }

private:
    access::RowReader<double, 3> m_reader;
    access::RegionMap m_map;
    std::size_t m_axes;
    std::size_t m_frames;
    Eigen::Matrix3d m_inverse;
};

template <class Warp>
ImageHeader gridOf(const Warp& warp) {
    ImageHeader header = placedHeader(*warp.getInputImage());
    takeGrid(header, placedHeader(*warp.getInputDisplacementImage()));
    header.spatialFrame = std::nullopt;
    return header;
}

template <class Warp>
PlaceJob placesOf(const Warp& warp) {
    const ImageModel& input = *warp.getInputImage();
    const ImageModel& field = *warp.getInputDisplacementImage();
    const ImageHeader header = placedHeader(input);
    const ImageHeader grid = gridOf(warp);
    PlaceJob job;
    job.axes = axesOf<Warp>;
    TransformJob still;
    still.axes = job.axes;
    job.map = placesIn(header, grid, still);
    job.degree = degreeOf(warp.getInterpolation(), input);
    job.border = warp.getBorderPolicy();
    job.borderValue = warp.getBorderValue();
    job.makeFinder = [&field, map = job.map, axes = job.axes, inverse = elementsPerWorld(header, job.axes)] {
        return std::make_unique<DisplacedPlaces>(field, map, axes, inverse);
    };
    job.finderBytes = DisplacedPlaces::bytes(field, grid.extents, job.axes);
    return job;
}

/// On the field: its channels, planes and frames fit the input, and both have a place in the world.
template <class Warp>
class RuleDisplaces : public Rules<Property<const ImageModel*>> {
public:
    explicit RuleDisplaces(const Warp& warp) : m_warp(warp) {}

    void apply(Property<const ImageModel*>& property) override {
        constexpr std::size_t axes = axesOf<Warp>;
        const ImageModel& input = *m_warp.getInputImage();
        const ImageModel& field = *property.get();
        const std::size_t channels = field.getNumOf(SPECTRAL_SERIES);
        if (channels < axes) {
            rules::refuse(rules::parameterText(property) + ' ' + describe() + '.',
                          "It has " + std::to_string(channels) + " channels.");
        }
        if (m_warp.isIterationOnSpectralAxisEnabled()) {
            rules::refuse(
                rules::parameterText(property) +
                " has displacements as channels, which cannot be runs of their own; all channels of the image "
                "are warped alike in one run.");
        }
        const auto operands = [&] {
            return rules::describeOperand({field, property}) + "; " +
                   rules::describeOperand({input, m_warp.inputImage}) + ".";
        };
        if (axes == 2 && field.getNumOf(PLANS) != input.getNumOf(PLANS)) {
            rules::refuse(rules::parameterText(property) + " must have as many planes as " +
                              rules::quotedName(m_warp.inputImage) + ", whose planes are warped by themselves.",
                          operands());
        }
        if (field.getNumOf(SEQUENCE) != 1 && field.getNumOf(SEQUENCE) != input.getNumOf(SEQUENCE)) {
            rules::refuse(rules::parameterText(property) + " must have one frame, or as many as " +
                              rules::quotedName(m_warp.inputImage) + ".",
                          operands());
        }
        assertSpans(input, m_warp.inputImage, axes);
        assertSpans(field, property, axes);
        const ImageHeader grid = gridOf(m_warp);
        TransformJob still;
        still.axes = axes;
        if (!placesAreNear(placesIn(placedHeader(input), grid, still), grid.extents)) {
            rules::refuse(rules::parameterText(property) + " must lie within reach of " +
                              rules::quotedName(m_warp.inputImage) + ".",
                          "It lies more than 2^40 elements away, or nowhere.");
        }
        rules::assertImageFits(grid.extents, input.getVoxelType(), m_warp.getOutputImage(),
                               rules::quotedName(property));
    }
    String describe() const override {
        return axesOf<Warp> == 3 ? "must have three channels or more, x, y and z"
                                 : "must have two channels or more, x and y";
    }

private:
    const Warp& m_warp;
};

template <class Warp>
void declare(Warp& warp, algorithms::Properties& properties) {
    properties.input(warp.inputImage, "The image that is warped.", AddRulesForRealImage(), AddRuleAssertPlaced());
    properties.input(warp.inputDisplacementImage, "From where elements are taken, as channels x, y (and z).",
                     AddRulesForRealImage(), AddRuleAssertPlaced());
    warp.inputDisplacementImage.getImpl()->addRule(std::make_shared<RuleDisplaces<Warp>>(warp));
    properties.input(warp.interpolation, "How samples between elements are found.");
    warp.interpolation.getImpl()->addRule(std::make_shared<RuleSamplesMeaning>(warp.inputImage, axesOf<Warp> == 3));
    warp.setBorderPolicy(access::BorderPolicy::FIXED);
    properties.border(warp.borderPolicy, warp.borderValue);
    declareOutput(
        properties, warp.outputImage, "The warped image.", [&warp] { return gridOf(warp); }, warp.inputImage,
        warp.inputDisplacementImage);
}

template <class Warp>
void process(Warp& warp, OptimLevelType level) {
    samplePlaces(warp.executionContext(), *warp.getInputImage(), *warp.getOutputImage(), placesOf(warp), level);
}

template <class Warp>
std::size_t memoryOf(const Warp& warp) {
    return placeSamplingMemory(*warp.getInputImage(), gridOf(warp).extents, placesOf(warp), warp.getMaximumThreads());
}

template <class Warp>
constexpr algorithms::Definition<Warp> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Geometry,
        .declare = &declare<Warp>,
        .process = &process<Warp>,
        .memory = &memoryOf<Warp>,
    };
}

constexpr auto ofPlanes = definitionOf<WarpByDisplacement2d>("Takes elements of planes from where a field points.");
constexpr auto ofVolumes = definitionOf<WarpByDisplacement3d>("Takes elements of volumes from where a field points.");

}  // namespace

RIX_DEFINE_ALGORITHM(WarpByDisplacement2d, ofPlanes)
RIX_DEFINE_ALGORITHM(WarpByDisplacement3d, ofVolumes)

}  // namespace rix::geometry
