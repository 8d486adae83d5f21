#include <rix/geometry/ProfileAlongLine.h>

#include <cmath>
#include <optional>

#include <Eigen/Geometry>

#include <rix/algorithms/Definition.h>

#include "PlaceProperties.h"
#include "PointSampling.h"
#include "World.h"
#include "WorldTransform.h"

namespace rix::geometry {

namespace {

using Vector = Eigen::Vector3d;

constexpr double mostSamples = 0x1p28;

/// A line and the samples about it, in elements.
struct Line {
    Vector first;
    Vector along;   ///< to the other end
    double length;  ///< in the unit that it is told in
    double steps;   ///< samples but one
    /// To neighbours across, and how many samples there are in each direction.
    std::array<Vector, 2> across{Vector::Zero(), Vector::Zero()};
    std::array<double, 2> counts{1.0, 1.0};
    std::array<double, 2> distances{};  ///< of these, in the unit that it is told in
    double radius = 0.0;

    double atOnce() const { return counts[0] * counts[1]; }
};

Line lineOf(const ProfileAlongLine& profile) {
    const ImageModel& input = *profile.getInputImage();
    const bool isPlanar = input.getNumOf(PLANS) == 1;
    const bool isWorld = profile.getLengthUnit() == algorithms::LengthUnit::WORLD;
    const ElementGrid grid = elementGridOf(placedHeader(input));
    // What is told, to elements.
    const Eigen::Matrix3d vectors = isWorld ? grid.vectors : Eigen::Matrix3d::Identity();
    const Eigen::Matrix3d inverse = isWorld ? grid.inverse : Eigen::Matrix3d::Identity();
    const auto placeOf = [&](const Vector& point) {
        Vector place = isWorld ? grid.placeOf(point) : point;
        place.z() = isPlanar ? 0.0 : place.z();
        return place;
    };
    Line line;
    line.first = placeOf({profile.getX1(), profile.getY1(), profile.getZ1()});
    line.along = placeOf({profile.getX2(), profile.getY2(), profile.getZ2()}) - line.first;
    const Vector told = vectors * line.along;
    line.length = told.norm();
    line.steps = std::ceil(line.along.norm() * (1.0 - 1e-12));
    const Vector direction = line.length > 0.0 ? Vector(told / line.length) : Vector(vectors.col(0).normalized());
    std::array<Vector, 2> across;
    if (isPlanar) {
        across[0] = vectors.col(0).cross(vectors.col(1)).cross(direction).normalized();
    } else {
        Eigen::Index least = 0;
        direction.cwiseAbs().minCoeff(&least);
        across[0] = direction.cross(Vector::Unit(least)).normalized();
        across[1] = direction.cross(across[0]);
    }
    const double width = profile.getWidth();
    line.radius = width / 2.0;
    for (std::size_t i = 0; i < (isPlanar ? 1U : 2U); ++i) {
        const Vector step = inverse * across[i];
        line.counts[i] = std::max(1.0, std::round(width * step.norm()));
        line.distances[i] = width / line.counts[i];
        line.across[i] = step * line.distances[i];
    }
    return line;
}

/// Calls `use(y, x, count)` for the rows of samples about a point of the line that lie within the width: their place,
/// in samples from the middle, that of their first sample and how many they have.
template <class Use>
void forEachRowAcross(const Line& line, const Use& use) {
    constexpr double tolerance = 1.0 + 1e-9;
    const auto columns = static_cast<std::size_t>(line.counts[0]);
    const double half = (line.counts[0] - 1.0) / 2.0;
    for (double j = 0; j < line.counts[1]; ++j) {
        const double y = j - (line.counts[1] - 1.0) / 2.0;
        const auto isWithin = [&](std::size_t i) {
            const double x = static_cast<double>(i) - half;
            return std::hypot(x * line.distances[0], y * line.distances[1]) <= line.radius * tolerance;
        };
        // The nearer to the middle, the nearer to the line.
        std::size_t first = 0;
        std::size_t within = (columns - 1) / 2;
        if (!isWithin(within)) {
            continue;
        }
        while (first < within) {
            const std::size_t middle = (first + within) / 2;
            if (isWithin(middle)) {
                within = middle;
            } else {
                first = middle + 1;
            }
        }
        use(y, static_cast<double>(first) - half, columns - 2 * first);
    }
}

std::size_t countOffsets(const Line& line) {
    std::size_t count = 0;
    forEachRowAcross(line, [&](double /*y*/, double /*x*/, std::size_t samples) { count += samples; });
    return count;
}

using Offsets = access::CountedVector<Vector>;

/// The offsets of samples from a point of the line.
Offsets offsetsOf(const Line& line) {
    Offsets offsets;
    offsets.reserve(countOffsets(line));
    access::Looks looks;
    forEachRowAcross(line, [&](double y, double x, std::size_t samples) {
        for (std::size_t i = 0; i < samples; ++i) {
            offsets.emplace_back((x + static_cast<double>(i)) * line.across[0] + y * line.across[1]);
        }
        looks.add(samples);
    });
    return offsets;
}

PlaceJob jobOf(const ProfileAlongLine& profile) {
    const ImageModel& input = *profile.getInputImage();
    return PointSampling::jobOf(input, degreeOf(profile.getInterpolation(), input), profile.getBorderPolicy(),
                                profile.getBorderValue());
}

/// On the width, behind all that tells the line.
class RuleIsLine : public Rules<Property<double>> {
public:
    explicit RuleIsLine(const ProfileAlongLine& profile) : m_profile(profile) {}
    void apply(Property<double>& property) override {
        assertSpans(*m_profile.getInputImage(), m_profile.inputImage, 3);
        const Line line = lineOf(m_profile);
        if (!((line.steps + 1.0) * line.atOnce() <= mostSamples)) {
            rules::refuse("The line from \"x1\", \"y1\", \"z1\" to \"x2\", \"y2\", \"z2\" of the width " +
                          rules::quotedName(property) + " must have at most 2^28 samples.");
        }
    }
    String describe() const override { return "with the line must give at most 2^28 samples"; }

private:
    const ProfileAlongLine& m_profile;
};

void declare(ProfileAlongLine& profile, algorithms::Properties& properties) {
    const auto number = [&](Property<double>& property, const char* description) {
        properties.input(property, description, AddRuleAssertFinite());
    };
    properties.input(profile.inputImage, "The image whose values are wanted.", AddRulesForRealImage(),
                     AddRuleAssertPlaced());
    number(profile.x1, "The first end: x.");
    number(profile.y1, "The first end: y.");
    number(profile.z1, "The first end: z.");
    number(profile.x2, "The other end: x.");
    number(profile.y2, "The other end: y.");
    number(profile.z2, "The other end: z.");
    properties.input(profile.lengthUnit, "Whether the line is told in indices of elements or in the world.");
    profile.width = 1.0;
    properties.input(profile.width, "How wide the strip is over which values are means.", AddRuleAssertFinite(),
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
    profile.width.getImpl()->addRule(std::make_shared<RuleIsLine>(profile));
    properties.input(profile.interpolation, "How samples between elements are found.");
    profile.interpolation.getImpl()->addRule(std::make_shared<RuleSamplesMeaning>(profile.inputImage, true));
    profile.setBorderPolicy(access::BorderPolicy::FIXED);
    properties.border(profile.borderPolicy, profile.borderValue);
    properties.output(profile.outputMeasurement, "A row for each sample.", AddRuleCreateMeasurement());
}

void process(ProfileAlongLine& profile, OptimLevelType level) {
    const ImageModel& input = *profile.getInputImage();
    const Line line = lineOf(profile);
    const Offsets offsets = offsetsOf(line);
    const std::size_t count = static_cast<std::size_t>(line.steps) + 1;
    PointSampling::Places places;
    places.reserve(count * offsets.size());
    access::Looks looks;
    for (std::size_t i = 0; i < count; ++i) {
        const double share = line.steps > 0.0 ? static_cast<double>(i) / line.steps : 0.0;
        for (const Vector& offset : offsets) {
            const Vector place = line.first + share * line.along + offset;
            places.push_back({place.x(), place.y(), place.z()});
            looks.add(1);
        }
    }
    ProfileMsr& table = *profile.getOutputMeasurement();
    table.reset(input, count * input.getNumOf(SEQUENCE) * input.getNumOf(SPECTRAL_SERIES));
    table.distance.setUnit(algorithms::unitOfLengths(profile.getLengthUnit(), input));
    const PointSampling samples(profile.executionContext(), input, jobOf(profile), places, level);
    double sum = 0.0;
    std::size_t row = 0;
    samples.forEach([&](std::size_t frame, std::size_t channel, std::size_t point, double value) {
        const std::size_t i = point / offsets.size();
        const std::size_t of = point % offsets.size();
        sum = of == 0 ? value : sum + value;
        if (of + 1 < offsets.size()) {
            return;
        }
        table.setFrame(row, frame, channel);
        table.distance[row] = line.steps > 0.0 ? line.length * (static_cast<double>(i) / line.steps) : 0.0;
        table.value[row] = sum / static_cast<double>(offsets.size());
        ++row;
    });
}

std::size_t memoryOf(const ProfileAlongLine& profile) {
    const Line line = lineOf(profile);
    const std::size_t offsets = countOffsets(line);
    const std::size_t count = (static_cast<std::size_t>(line.steps) + 1) * offsets;
    return offsets * sizeof(Vector) +
           PointSampling::bytes(*profile.getInputImage(), jobOf(profile), count, profile.getMaximumThreads());
}

constexpr algorithms::Definition<ProfileAlongLine> definition{
    .summary = "Takes the values of an image along a line.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
};

}  // namespace

RIX_DEFINE_ALGORITHM(ProfileAlongLine, definition)

}  // namespace rix::geometry
