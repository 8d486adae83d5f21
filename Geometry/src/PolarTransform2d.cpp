#include <rix/geometry/PolarTransform2d.h>

#include <cmath>
#include <numbers>
#include <optional>

#include <Eigen/LU>

#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/SizeRules.h>

#include "Gather.h"
#include "Mapped.h"
#include "PlaceProperties.h"
#include "WorldTransform.h"
#include "resampling/PlaceSampling.h"

namespace rix::geometry {

namespace {

using Matrix = Eigen::Matrix2d;
using Vector = Eigen::Vector2d;

constexpr double largestExtent = 0x7fffffff;
constexpr double round = 360.0;

bool isBackward(const PolarTransform2d& polar) {
    return polar.getDirection() == PolarDirection::FROM_POLAR;
}

/// What columns and rows of a polar image are.
struct PolarAxes {
    bool isLogarithmic = false;
    double firstRadius = 0.0;  ///< or its logarithm
    double radiusStep = 1.0;
    double firstAngle = 0.0;
    double angleStep = 1.0;

    double radiusOf(double column) const {
        const double at = firstRadius + radiusStep * column;
        return isLogarithmic ? std::exp(at) : at;
    }
};

/// Planes of an image about their middle, moved: from elements to x and y, and back.
struct PlaneGrid {
    Matrix inverse;
    Matrix vectors;
    Vector middle;  ///< in elements, without the offset
    Vector offset;  ///< in the world

    PlaneGrid(const ImageHeader& header, const PolarTransform2d& polar)
        : inverse(elementsPerWorld(header, 2).topLeftCorner<2, 2>()),
          vectors(inverse.inverse()),
          middle((static_cast<double>(header.extents[COLUMNS]) - 1.0) / 2.0,
                 (static_cast<double>(header.extents[ROWS]) - 1.0) / 2.0),
          offset(polar.getOffsetX(), polar.getOffsetY()) {}

    double smallestStep() const { return vectors.colwise().norm().minCoeff(); }
    double farthestCorner() const {
        double farthest = 0.0;
        for (const double x : {-1.0, 1.0}) {
            for (const double y : {-1.0, 1.0}) {
                const Vector corner(x * (middle.x() + 0.5), y * (middle.y() + 0.5));
                farthest = std::max(farthest, (vectors * corner - offset).norm());
            }
        }
        return farthest;
    }
};

/// The header of the output, with extents that need not be countable, and the polar one of the two.
struct PolarGrid {
    ImageHeader header;
    std::array<double, 2> extents{};
    PolarAxes axes;
};

PolarGrid toPolar(const PolarTransform2d& polar, const ImageHeader& input) {
    const PlaneGrid plane(input, polar);
    PolarGrid grid{input, {}, {}};
    const double least = plane.smallestStep();
    const double radius = polar.getRadius() != 0.0 ? polar.getRadius() : plane.farthestCorner();
    const double columns =
        polar.getSizeX() != 0 ? static_cast<double>(polar.getSizeX()) : std::max(1.0, std::ceil(radius / least));
    const double rows = polar.getSizeY() != 0 ? static_cast<double>(polar.getSizeY()) : round;
    grid.extents = {columns, rows};
    grid.axes.isLogarithmic = polar.getRadialScale() == RadialScale::LOGARITHMIC;
    grid.axes.firstRadius = grid.axes.isLogarithmic ? std::log(least) : 0.0;
    grid.axes.radiusStep = (grid.axes.isLogarithmic ? std::log(radius / least) : radius) / columns;
    grid.axes.angleStep = round / rows;
    grid.header.origin[COLUMNS] = grid.axes.firstRadius;
    grid.header.spacing[COLUMNS] = grid.axes.radiusStep;
    grid.header.origin[ROWS] = 0.0;
    grid.header.spacing[ROWS] = grid.axes.angleStep;
    return grid;
}

PolarGrid fromPolar(const PolarTransform2d& polar, const ImageHeader& input) {
    PolarGrid grid{input, {}, {}};
    grid.axes = {polar.getRadialScale() == RadialScale::LOGARITHMIC, input.origin[COLUMNS], input.spacing[COLUMNS],
                 input.origin[ROWS], input.spacing[ROWS]};
    if (const ImageModel* const given = polar.getInputReferenceImage()) {
        const ImageHeader reference = placedHeader(*given);
        for (const Components axis : {COLUMNS, ROWS, PLANS}) {
            grid.header.spacing[axis] = reference.spacing[axis];
            grid.header.origin[axis] = reference.origin[axis];
        }
        grid.header.spatialDirections = reference.spatialDirections;
        grid.extents = {static_cast<double>(reference.extents[COLUMNS]), static_cast<double>(reference.extents[ROWS])};
        return grid;
    }
    const double last = static_cast<double>(input.extents[COLUMNS]);
    const double radius = std::max(grid.axes.radiusOf(0.0), grid.axes.radiusOf(last));
    const double least = grid.axes.isLogarithmic ? std::min(grid.axes.radiusOf(0.0), grid.axes.radiusOf(last))
                                                 : std::abs(grid.axes.radiusStep);
    const std::array<std::int64_t, 2> sizes{polar.getSizeX(), polar.getSizeY()};
    const std::array<double, 2> offsets{polar.getOffsetX(), polar.getOffsetY()};
    for (const Components axis : {COLUMNS, ROWS}) {
        grid.extents[axis] = sizes[axis] != 0 ? static_cast<double>(sizes[axis]) : 2.0 * std::ceil(radius / least);
        grid.header.spacing[axis] = 2.0 * radius / grid.extents[axis];
        grid.header.origin[axis] = offsets[axis] - (grid.extents[axis] - 1.0) / 2.0 * grid.header.spacing[axis];
    }
    return grid;
}

PolarGrid gridOf(const PolarTransform2d& polar) {
    const ImageHeader input = placedHeader(*polar.getInputImage());
    PolarGrid grid = isBackward(polar) ? fromPolar(polar, input) : toPolar(polar, input);
    if (polar.getInputReferenceImage() == nullptr || !isBackward(polar)) {
        grid.header.spatialDirections = {};
    }
    grid.header.spatialFrame = std::nullopt;
    for (const Components axis : {COLUMNS, ROWS}) {
        const double extent = grid.extents[axis];
        grid.header.extents[axis] = extent >= 1.0 && extent <= largestExtent ? static_cast<std::size_t>(extent) : 0;
    }
    return grid;
}

/// From radius and angle to the elements of a plane.
class PlacesOnCircles final : public PlaceFinder {
public:
    PlacesOnCircles(const PolarAxes& axes, const PlaneGrid& plane) : m_axes(axes), m_plane(plane) {}
    void find(const access::RowSegment& segment, const std::array<double*, 3>& places) override {
        const auto [cosine, sine] = turnOf(m_axes.firstAngle + m_axes.angleStep * static_cast<double>(segment.row));
        const Vector direction = m_plane.inverse * Vector(cosine, sine);
        const Vector center = m_plane.middle + m_plane.inverse * m_plane.offset;
        for (std::size_t i = 0; i < segment.count; ++i) {
            const double radius = m_axes.radiusOf(static_cast<double>(segment.column + i));
            places[0][i] = center.x() + radius * direction.x();
            places[1][i] = center.y() + radius * direction.y();
        }
    }

private:
    PolarAxes m_axes;
    PlaneGrid m_plane;
};

/// From the elements of a plane to columns and rows of radii and angles.
class PlacesOfAngles final : public PlaceFinder {
public:
    /// @param added rows before those of the polar image
    PlacesOfAngles(const PolarAxes& axes, const PlaneGrid& plane, double added)
        : m_axes(axes), m_plane(plane), m_turn(round / std::abs(axes.angleStep)), m_added(added) {}
    void find(const access::RowSegment& segment, const std::array<double*, 3>& places) override {
        const double y = static_cast<double>(segment.row) - m_plane.middle.y();
        for (std::size_t i = 0; i < segment.count; ++i) {
            const double x = static_cast<double>(segment.column + i) - m_plane.middle.x();
            const Vector at = m_plane.vectors * Vector(x, y) - m_plane.offset;
            const double radius = std::sqrt(at.x() * at.x() + at.y() * at.y());
            const double angle = std::atan2(at.y(), at.x()) * (180.0 / std::numbers::pi);
            places[0][i] =
                ((m_axes.isLogarithmic ? std::log(radius) : radius) - m_axes.firstRadius) / m_axes.radiusStep;
            const double row = (angle - m_axes.firstAngle) / m_axes.angleStep;
            places[1][i] = row - std::floor((row + 0.5) / m_turn) * m_turn + m_added;
        }
    }

private:
    PolarAxes m_axes;
    PlaneGrid m_plane;
    double m_turn;
    double m_added;
};

/// The rows that are added on either side of a polar image that goes round, from its other end: as far as splines see.
std::size_t addedRows(const ImageHeader& input, int degree) {
    const double turn = std::abs(input.spacing[ROWS]) * static_cast<double>(input.extents[ROWS]);
    constexpr double tolerance = 1e-9;
    constexpr std::size_t ofSplines = 24;
    return std::abs(turn / round - 1.0) <= tolerance ? (degree > 1 ? ofSplines : 1) : 0;
}

PlaceJob placesOf(const PolarTransform2d& polar) {
    const ImageModel& image = *polar.getInputImage();
    const ImageHeader input = placedHeader(image);
    const PolarGrid grid = gridOf(polar);
    PlaceJob job;
    job.axes = 2;
    job.degree = degreeOf(polar.getInterpolation(), image);
    job.border = polar.getBorderPolicy();
    job.borderValue = polar.getBorderValue();
    if (isBackward(polar)) {
        const auto added = static_cast<double>(addedRows(input, job.degree));
        job.makeFinder = [axes = grid.axes, plane = PlaneGrid(grid.header, polar), added] {
            return std::make_unique<PlacesOfAngles>(axes, plane, added);
        };
    } else {
        job.makeFinder = [axes = grid.axes, plane = PlaneGrid(input, polar)] {
            return std::make_unique<PlacesOnCircles>(axes, plane);
        };
    }
    return job;
}

/// On the reference, behind all that the output depends on.
class RulePolarGrid : public Rules<Property<const ImageModel*>> {
public:
    explicit RulePolarGrid(const PolarTransform2d& polar) : m_polar(polar) {}
    void apply(Property<const ImageModel*>& property) override {
        const ImageModel& input = *m_polar.getInputImage();
        assertSpans(input, m_polar.inputImage, 2);
        if (isBackward(m_polar) && property.get() != nullptr) {
            assertSpans(*property.get(), property, 2);
            if (property.get()->getNumOf(PLANS) != input.getNumOf(PLANS)) {
                rules::refuse(rules::parameterText(property) + " must have as many planes as " +
                                  rules::quotedName(m_polar.inputImage) + '.',
                              rules::describeOperand({*property.get(), property}) + "; " +
                                  rules::describeOperand({input, m_polar.inputImage}) + ".");
            }
        }
        const PolarGrid grid = gridOf(m_polar);
        String names;
        const std::initializer_list<const BaseProperty*> told{&m_polar.inputImage, &m_polar.radius, &m_polar.offsetX,
                                                              &m_polar.offsetY, &m_polar.sizeX};
        for (const BaseProperty* const each : told) {
            names += rules::quotedName(*each) + ", ";
        }
        names.replace(names.size() - 2, 2, " and " + rules::quotedName(m_polar.sizeY));
        if (!std::isfinite(grid.axes.radiusStep) || grid.axes.radiusStep == 0.0 ||
            (!isBackward(m_polar) && grid.axes.radiusStep < 0.0)) {
            rules::refuse(names + " must give radii that can be counted; logarithms count from the smallest spacing.");
        }
        if (!std::isfinite(grid.axes.angleStep) || grid.axes.angleStep == 0.0 || !std::isfinite(grid.axes.firstAngle) ||
            !std::isfinite(grid.axes.firstRadius)) {
            rules::refuse(
                rules::parameterText(m_polar.inputImage) +
                " must have origins that are finite and a spacing of its rows, the angles, that is finite and "
                "not 0.");
        }
        for (const Components axis : {COLUMNS, ROWS}) {
            if (grid.header.extents[axis] == 0 || !std::isfinite(grid.header.spacing[axis]) ||
                !std::isfinite(grid.header.origin[axis])) {
                rules::refuse(names + " must give 1 to " + rules::valueToText(largestExtent) +
                              " elements on each axis, of finite size.");
            }
        }
        rules::assertImageFits(grid.header.extents, input.getVoxelType(), m_polar.getOutputImage(), names);
    }
    String describe() const override { return "has as many planes as inputImage"; }

private:
    const PolarTransform2d& m_polar;
};

void declare(PolarTransform2d& polar, algorithms::Properties& properties) {
    properties.input(polar.inputImage, "The image, or the polar image.", AddRulesForRealImage(), AddRuleAssertPlaced());
    properties.input(polar.direction, "Whether the result is polar or the image is.");
    properties.input(polar.radialScale, "What columns of the polar image count.");
    properties.input(polar.radius, "The largest radius; 0: to the farthest corner.", AddRuleAssertFinite(),
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
    properties.input(polar.offsetX, "How far the centre lies from the middle along x.", AddRuleAssertFinite());
    properties.input(polar.offsetY, "How far the centre lies from the middle along y.", AddRuleAssertFinite());
    properties.input(polar.sizeX, "Columns of the result; 0: as many as there are steps to the largest radius.",
                     AddRuleLimitedValue<std::int64_t>(0, CHECK_GREATER_OR_EQUAL));
    properties.input(polar.sizeY, "Rows of the result; 0: 360 angles, or as many as a circle needs.",
                     AddRuleLimitedValue<std::int64_t>(0, CHECK_GREATER_OR_EQUAL));
    properties.input(polar.inputReferenceImage, "Where the elements of the result are with FROM_POLAR.",
                     AddRuleWhenSet(AddRuleAssertSingleElement()), AddRuleWhenSet(AddRuleAssertIntegerOrFloating()),
                     AddRuleWhenSet(AddRuleAssertImageNotEmpty()), AddRuleWhenSet(AddRuleAssertPlaced()));
    properties.onlyWith(polar.direction, {PolarDirection::FROM_POLAR}, polar.inputReferenceImage);
    polar.inputReferenceImage.getImpl()->addRule(std::make_shared<RulePolarGrid>(polar));
    properties.input(polar.interpolation, "How samples between elements are found.");
    polar.interpolation.getImpl()->addRule(std::make_shared<RuleSamplesMeaning>(polar.inputImage, false));
    polar.setBorderPolicy(access::BorderPolicy::FIXED);
    properties.border(polar.borderPolicy, polar.borderValue);
    properties.output(polar.outputImage, "The transformed image.", AddRuleAssertNotNull(),
                      AddRuleDisjointFrom(polar.inputImage),
                      AddRuleWhenSet(polar.inputReferenceImage, AddRuleDisjointFrom(polar.inputReferenceImage)),
                      AddRuleEnforceHeader([&polar] { return gridOf(polar).header; },
                                           "radii and angles, or what they are taken from"));
}

/// The polar image with rows added on either side.
ImageHeader addedHeader(const ImageModel& input, std::size_t added) {
    ImageHeader header = helper::headerOf(input);
    header.extents[ROWS] += 2 * added;
    return header;
}

void process(PolarTransform2d& polar, OptimLevelType level) {
    const ImageModel& input = *polar.getInputImage();
    const PlaceJob job = placesOf(polar);
    const std::size_t added = isBackward(polar) ? addedRows(placedHeader(input), job.degree) : 0;
    if (added == 0) {
        samplePlaces(polar.executionContext(), input, *polar.getOutputImage(), job, level);
        return;
    }
    const access::Steps steps(polar.executionContext(), {1.0, 5.0});
    access::TemporaryImage all{HeaderImage(addedHeader(input, added))};
    AxisMaps maps = identityMaps(input);
    maps[ROWS].first = -static_cast<std::int64_t>(added);
    maps[ROWS].extent = input.getNumOf(ROWS) + 2 * added;
    maps[ROWS].beyond = Beyond::Again;
    gather(polar.executionContext(), input, maps, all.image(), level);
    samplePlaces(polar.executionContext(), all.image(), *polar.getOutputImage(), job, level);
}

std::size_t memoryOf(const PolarTransform2d& polar) {
    const ImageModel& input = *polar.getInputImage();
    const PlaceJob job = placesOf(polar);
    const auto extents = gridOf(polar).header.extents;
    const std::size_t added = isBackward(polar) ? addedRows(placedHeader(input), job.degree) : 0;
    const HeaderImage all(addedHeader(input, added));
    return (added > 0 ? access::TemporaryImage::bytes(all, input.getVoxelType()) : 0) +
           placeSamplingMemory(all, extents, job, polar.getMaximumThreads());
}

constexpr algorithms::Definition<PolarTransform2d> definition{
    .summary = "Brings planes into polar coordinates, or back.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
};

}  // namespace

const EnumInfo& getInfoPolarDirection() {
    static const EnumInfo info("PolarDirection", "TO_POLAR = 0, FROM_POLAR");
    return info;
}

const EnumInfo& getInfoRadialScale() {
    static const EnumInfo info("RadialScale", "LINEAR = 0, LOGARITHMIC");
    return info;
}

RIX_DEFINE_ALGORITHM(PolarTransform2d, definition)

}  // namespace rix::geometry
