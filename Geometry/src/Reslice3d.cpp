#include <rix/geometry/Reslice3d.h>

#include <Eigen/Geometry>

#include <rix/rules/SizeRules.h>

#include "Mapped.h"
#include "PlaceProperties.h"
#include "WorldTransform.h"
#include "resampling/PlaceSampling.h"

namespace rix::geometry {

namespace {

using Vector = Eigen::Vector3d;

constexpr double largestExtent = 0x7fffffff;

/// The directions of the plane, of length 1, and its normal: no numbers where they span none.
std::array<Vector, 3> directionsOf(const Reslice3d& reslice) {
    const Vector first =
        Vector(reslice.getDirectionX1(), reslice.getDirectionY1(), reslice.getDirectionZ1()).stableNormalized();
    const Vector second =
        Vector(reslice.getDirectionX2(), reslice.getDirectionY2(), reslice.getDirectionZ2()).stableNormalized();
    return {first, second, first.cross(second)};
}

bool spansPlane(const Reslice3d& reslice) {
    constexpr double least = 1e-9;
    const double sine = directionsOf(reslice)[2].norm();
    return sine > least;
}

double spacingOf(const Reslice3d& reslice, const ImageHeader& input) {
    if (reslice.getSpacing() != 0.0) {
        return reslice.getSpacing();
    }
    const Eigen::Matrix3d vectors = elementGridOf(input).vectors;
    return vectors.colwise().norm().minCoeff();
}

/// The extents, as they would be if they were counted in reals.
std::array<double, 2> extentsOf(const Reslice3d& reslice, const ImageHeader& input) {
    std::array<double, 2> extents{static_cast<double>(reslice.getColumns()), static_cast<double>(reslice.getRows())};
    if (extents[0] != 0 && extents[1] != 0) {
        return extents;
    }
    const ElementGrid grid = elementGridOf(input);
    const auto directions = directionsOf(reslice);
    Eigen::Matrix3d axes;
    axes << directions[0], directions[1], directions[2];
    const Eigen::Matrix3d coordinates = axes.inverse();
    const Vector origin(reslice.getOriginX(), reslice.getOriginY(), reslice.getOriginZ());
    const double spacing = spacingOf(reslice, input);
    std::array<double, 2> farthest{};
    for (unsigned corner = 0; corner < 8; ++corner) {
        Vector place;
        for (unsigned axis = 0; axis < 3; ++axis) {
            place(axis) = (corner >> axis & 1U) != 0 ? static_cast<double>(input.extents[axis]) - 1.0 : 0.0;
        }
        const Vector inPlane = coordinates * (grid.worldOf(place) - origin) / spacing;
        for (unsigned axis = 0; axis < 2; ++axis) {
            farthest[axis] = std::max(farthest[axis], inPlane(axis));
        }
    }
    for (std::size_t axis = 0; axis < 2; ++axis) {
        if (extents[axis] == 0) {
            extents[axis] = std::floor(farthest[axis] + 1e-6) + 1.0;
        }
    }
    return extents;
}

ImageHeader gridOf(const Reslice3d& reslice) {
    ImageHeader header = placedHeader(*reslice.getInputImage());
    const auto extents = extentsOf(reslice, header);
    const double spacing = spacingOf(reslice, header);
    const auto directions = directionsOf(reslice);
    const auto vector = [&](std::size_t i) {
        return vessel::Vector3d{directions[i].x(), directions[i].y(), directions[i].z()};
    };
    header.extents[COLUMNS] = static_cast<std::size_t>(extents[0]);
    header.extents[ROWS] = static_cast<std::size_t>(extents[1]);
    header.extents[PLANS] = 1;
    header.spacing[COLUMNS] = header.spacing[ROWS] = header.spacing[PLANS] = spacing;
    header.origin[COLUMNS] = reslice.getOriginX();
    header.origin[ROWS] = reslice.getOriginY();
    header.origin[PLANS] = reslice.getOriginZ();
    const Vector normal = directions[2].normalized();
    header.spatialDirections = {vector(0), vector(1), {normal.x(), normal.y(), normal.z()}};
    header.spatialFrame = std::nullopt;
    return header;
}

PlaceJob placesOf(const Reslice3d& reslice) {
    const ImageModel& input = *reslice.getInputImage();
    PlaceJob job;
    job.map = placesIn(placedHeader(input), gridOf(reslice), {});
    job.degree = degreeOf(reslice.getInterpolation(), input);
    job.border = reslice.getBorderPolicy();
    job.borderValue = reslice.getBorderValue();
    return job;
}

/// On the rows, behind all that the plane depends on.
class RuleCutsVolume : public Rules<Property<std::int64_t>> {
public:
    explicit RuleCutsVolume(const Reslice3d& reslice) : m_reslice(reslice) {}

    void apply(Property<std::int64_t>& property) override {
        const ImageModel& input = *m_reslice.getInputImage();
        assertSpans(input, m_reslice.inputImage, 3);
        if (!spansPlane(m_reslice)) {
            rules::refuse(
                "\"directionX1\", \"directionY1\", \"directionZ1\" and \"directionX2\", \"directionY2\", "
                "\"directionZ2\" must be two directions that span a plane.");
        }
        const auto extents = extentsOf(m_reslice, placedHeader(input));
        const String names = "\"originX\", \"originY\", \"originZ\", " + rules::quotedName(m_reslice.columns) + ", " +
                             rules::quotedName(property) + " and " + rules::quotedName(m_reslice.spacing);
        if (!(extents[0] <= largestExtent && extents[1] <= largestExtent)) {
            rules::refuse(names + " must give at most " + rules::valueToText(largestExtent) +
                          " elements on each axis.");
        }
        const ImageHeader grid = gridOf(m_reslice);
        if (!placesAreNear(placesOf(m_reslice).map, grid.extents)) {
            rules::refuse(names + " must leave the plane within reach.",
                          "It would lie more than 2^40 elements away, or nowhere.");
        }
        rules::assertImageFits(grid.extents, input.getVoxelType(), m_reslice.getOutputImage(), names);
    }
    String describe() const override { return "with the directions must give a plane within reach"; }

private:
    const Reslice3d& m_reslice;
};

void declare(Reslice3d& reslice, algorithms::Properties& properties) {
    const auto number = [&](Property<double>& property, const char* description) {
        properties.input(property, description, AddRuleAssertFinite());
    };
    properties.input(reslice.inputImage, "The volume that is cut.", AddRulesForRealImage(), AddRuleAssertPlaced());
    number(reslice.originX, "Where the first element lies in the world: x.");
    number(reslice.originY, "Where the first element lies in the world: y.");
    number(reslice.originZ, "Where the first element lies in the world: z.");
    reslice.directionX1 = 1.0;
    number(reslice.directionX1, "The direction of columns in the world: x.");
    number(reslice.directionY1, "The direction of columns in the world: y.");
    number(reslice.directionZ1, "The direction of columns in the world: z.");
    number(reslice.directionX2, "The direction of rows in the world: x.");
    reslice.directionY2 = 1.0;
    number(reslice.directionY2, "The direction of rows in the world: y.");
    number(reslice.directionZ2, "The direction of rows in the world: z.");
    properties.input(reslice.spacing, "From element to element, in the image's unit; 0: its smallest spacing.",
                     AddRuleAssertFinite(), AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
    properties.input(reslice.columns, "Columns of the plane; 0: to the end of the volume.",
                     AddRuleLimitedValue<std::int64_t>(0, CHECK_GREATER_OR_EQUAL));
    properties.input(reslice.rows, "Rows of the plane; 0: to the end of the volume.",
                     AddRuleLimitedValue<std::int64_t>(0, CHECK_GREATER_OR_EQUAL));
    reslice.rows.getImpl()->addRule(std::make_shared<RuleCutsVolume>(reslice));
    properties.input(reslice.interpolation, "How samples between elements are found.");
    reslice.interpolation.getImpl()->addRule(std::make_shared<RuleSamplesMeaning>(reslice.inputImage, true));
    reslice.setBorderPolicy(access::BorderPolicy::FIXED);
    properties.border(reslice.borderPolicy, reslice.borderValue);
    declareOutput(
        properties, reslice.outputImage, "The plane.", [&reslice] { return gridOf(reslice); }, reslice.inputImage);
}

void process(Reslice3d& reslice, OptimLevelType level) {
    samplePlaces(reslice.executionContext(), *reslice.getInputImage(), *reslice.getOutputImage(), placesOf(reslice),
                 level);
}

std::size_t memoryOf(const Reslice3d& reslice) {
    return placeSamplingMemory(*reslice.getInputImage(), gridOf(reslice).extents, placesOf(reslice),
                               reslice.getMaximumThreads());
}

constexpr algorithms::Definition<Reslice3d> definition{
    .summary = "Cuts a plane out of volumes, in any direction.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
};

}  // namespace

RIX_DEFINE_ALGORITHM(Reslice3d, definition)

}  // namespace rix::geometry
