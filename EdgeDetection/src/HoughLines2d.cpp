// Straight lines: votes for angles and distances.

#include <rix/edge_detection/HoughLines2d.h>

#include <cmath>
#include <numbers>

#include <rix/access/Looks.h>
#include <rix/access/PositionedRows.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>

#include "EdgeProperties.h"
#include "FeatureTable.h"

namespace rix::edge_detection {

namespace {

constexpr std::int32_t mostAngles = 3600;
constexpr double mostDistances = 1 << 20;  ///< to either side
constexpr std::size_t anglesOfPart = 32;
constexpr double nanosecondsPerRead = 2.0;
/// Of the most votes, where no threshold is set.
constexpr double partOfMost = 0.5;

/// The lines that are voted for.
struct Lines {
    explicit Lines(const HoughLines2d& filter)
        : angles(static_cast<std::size_t>(filter.getNumberOfAngles())), step(filter.getDistanceStep()) {
        units = unitsOf(filter);
        const ImageModel& image = *filter.getInputImage();
        const double x = static_cast<double>(image.getNumOf(COLUMNS) - 1) * units[0];
        const double y = static_cast<double>(image.getNumOf(ROWS) - 1) * units[1];
        toEitherSide = std::ceil(std::sqrt(x * x + y * y) / step);
        distances = toEitherSide <= mostDistances ? 2 * static_cast<std::size_t>(toEitherSide) + 1 : 0;
    }
    double angle(double i) const { return i * std::numbers::pi / static_cast<double>(angles); }
    double distance(double j) const { return (j - toEitherSide) * step; }
    std::size_t cells() const { return angles * distances; }
    std::size_t bytes() const { return access::Scratch::held(cells() * sizeof(std::uint32_t)); }

    std::size_t angles;
    double step;
    std::array<double, 3> units{};
    double toEitherSide;
    std::size_t distances;
};

/// Stands on the unit, with which the distances are known: there must not be too many.
class RuleFewDistances : public Rules<Property<int>> {
public:
    explicit RuleFewDistances(const HoughLines2d& filter) : m_filter(filter) {}
    void apply(Property<int>& /*property*/) override {
        if (Lines(m_filter).distances == 0) {
            rules::refuse(rules::parameterText(m_filter.distanceStep) + " must not give more than 2^20 distances.",
                          "It is " + rules::valueToText(m_filter.getDistanceStep()) + ". Take a larger step.");
        }
    }
    String describe() const override { return "with it, the step must not give more than 2^20 distances"; }

private:
    const HoughLines2d& m_filter;
};

/// The counters hold as many votes as there are voxels.
class RuleCountablePlane : public Rules<Property<const ImageModel*>> {
public:
    bool isIndividual() const override { return true; }
    void apply(Property<const ImageModel*>& property) override {
        std::size_t voxels = 0;
        if (!helper::checkedMultiply(property.get()->getNumOf(COLUMNS), property.get()->getNumOf(ROWS), voxels) ||
            voxels > 0xffffffffU) {
            rules::refuse(rules::parameterText(property) + " must have fewer than 2^32 voxels a plane.",
                          "Take a part of it.");
        }
    }
    String describe() const override { return "must have fewer than 2^32 voxels a plane"; }
};

void declareLength(algorithms::Properties& properties, Property<double>& property, double value,
                   const char* description) {
    property = value;
    properties.input(property, description, AddRuleAssertFinite(),
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
}

void declare(HoughLines2d& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "Edges: voxels that are not 0.", AddRulesForRealImage());
    filter.inputImage.getImpl()->addRule(std::make_shared<RuleCountablePlane>());
    filter.numberOfAngles = 180;
    properties.input(filter.numberOfAngles, "Angles that are looked at, in half a turn.",
                     AddRuleInRange<std::int32_t>(1, mostAngles, Bound::Included, Bound::Included));
    filter.distanceStep = 1.0;
    properties.input(filter.distanceStep, "From one distance to the next.", AddRuleAssertFinite(),
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER));
    filter.threshold = -1.0;
    properties.input(filter.threshold, "The least votes of a line; negative: half of the most.", AddRuleAssertFinite());
    declareLength(properties, filter.minimumAngle, 5.0, "What lines differ by at least, in degrees, or in distance.");
    declareLength(properties, filter.minimumDistance, 10.0, "What lines differ by at least, or in their angles.");
    filter.maximumNumber = 0;
    properties.input(filter.maximumNumber, "The most lines of a plane; 0: any number.",
                     AddRuleLimitedValue<std::int32_t>(0, CHECK_GREATER_OR_EQUAL));
    declareUnit(filter, properties, "Whether lengths are in voxels or in the image's unit.");
    filter.lengthUnit.getImpl()->addRule(std::make_shared<RuleFewDistances>(filter));
    properties.output(filter.outputAccumulatorImage, "Optional: the votes, by angle and distance.");
    declareDisjoint(filter.outputAccumulatorImage, filter.inputImage, {});
    addRules(filter.outputAccumulatorImage, AddRuleWhenSet(AddRuleEnforceHeader(
                                                [&filter] {
                                                    const Lines lines(filter);
                                                    ImageHeader header = helper::headerOf(*filter.getInputImage());
                                                    header.extents[COLUMNS] = lines.angles;
                                                    header.extents[ROWS] = lines.distances;
                                                    header.voxelType = RIX_UINT32;
                                                    header.interpretation = RIX_VALUE;
                                                    header.colorInterpretation = UNKNOWN;
                                                    header.origin[COLUMNS] = 0.0;
                                                    header.origin[ROWS] = lines.distance(0.0);
                                                    header.spacing[COLUMNS] = 180.0 / static_cast<double>(lines.angles);
                                                    header.spacing[ROWS] = lines.step;
                                                    return header;
                                                },
                                                "a column for each angle and a row for each distance")));
    properties.output(filter.outputMeasurement, "Optional: the lines.");
}

/// Counts the votes of a plane for some angles.
void vote(const ImageModel& input, const PlanesOf& planes, std::size_t plane, const Lines& lines, access::Interval part,
          std::uint32_t* votes) {
    access::Looks looks;
    for (std::size_t a = part.begin; a < part.end; ++a) {
        std::fill_n(votes + a * lines.distances, lines.distances, 0U);
        looks.add(lines.distances / 64 + 1);
    }
    access::RowReader<double> reader(input);
    std::vector<double> edges(input.getNumOf(COLUMNS));
    std::array<double, anglesOfPart> cosines{};
    std::array<double, anglesOfPart> sines{};
    for (std::size_t a = part.begin; a < part.end; ++a) {
        cosines[a - part.begin] = std::cos(lines.angle(static_cast<double>(a))) / lines.step;
        sines[a - part.begin] = std::sin(lines.angle(static_cast<double>(a))) / lines.step;
    }
    for (std::size_t y = 0; y < input.getNumOf(ROWS); ++y) {
        const access::RowSegment segment = planes.row(plane, y);
        const double* const row = reader.read(segment);
        std::size_t n = 0;
        for (std::size_t x = 0; x < segment.count; ++x) {
            edges[n] = static_cast<double>(x) * lines.units[0];
            n += row[x] != 0.0 && row[x] == row[x] ? 1U : 0U;
        }
        looks.add(segment.count / 64 + 1);
        const double height = static_cast<double>(y) * lines.units[1];
        for (std::size_t a = part.begin; a < part.end && n > 0; ++a) {
            std::uint32_t* const counters = votes + a * lines.distances;
            const double cosine = cosines[a - part.begin];
            const double start = height * sines[a - part.begin] + lines.toEitherSide + 0.5;
            for (std::size_t i = 0; i < n; ++i) {
                // Above 0, so that the cast rounds down; beside the ends only by rounding.
                const auto j = static_cast<std::ptrdiff_t>(edges[i] * cosine + start);
                ++counters[std::clamp<std::ptrdiff_t>(j, 0, static_cast<std::ptrdiff_t>(lines.distances) - 1)];
            }
            looks.add(n / 32 + 1);
        }
    }
}

std::vector<Peak> linesOf(const std::uint32_t* votes, const Lines& lines, const HoughLines2d& filter) {
    access::Looks looks;
    double least = filter.getThreshold();
    if (least < 0.0) {
        std::uint32_t most = 0;
        for (std::size_t i = 0; i < lines.cells(); ++i) {
            most = std::max(most, votes[i]);
            looks.add(i % 64 == 0 ? 1 : 0);
        }
        least = partOfMost * static_cast<double>(most);
    }
    std::vector<Peak> peaks;
    const auto angles = static_cast<std::ptrdiff_t>(lines.angles);
    const auto distances = static_cast<std::ptrdiff_t>(lines.distances);
    // Half a turn farther is the other sign of the distance.
    const auto cellOf = [&](std::ptrdiff_t a, std::ptrdiff_t d) {
        return a >= 0 && a < angles ? std::array{a, d} : std::array{a < 0 ? a + angles : a - angles, distances - 1 - d};
    };
    for (std::ptrdiff_t d = 0; d < distances; ++d) {
        for (std::ptrdiff_t a = 0; a < angles; ++a) {
            const std::uint32_t value = votes[a * distances + d];
            if (value == 0 || static_cast<double>(value) < least) {
                continue;
            }
            const auto at = [&](int da, int dd, int /*dz*/) {
                const auto [angle, distance] = cellOf(a + da, d + dd);
                return distance >= 0 && distance < distances ? static_cast<double>(votes[angle * distances + distance])
                                                             : 0.0;
            };
            if (isPeak(static_cast<double>(value), 0, at)) {
                peaks.push_back(peakAt(static_cast<double>(value),
                                       {static_cast<std::size_t>(a), static_cast<std::size_t>(d), 0}, 0, 0.0, at));
            }
        }
        looks.add(lines.angles / 8 + 1);
    }
    orderByStrength(peaks);
    const double anglesApart = filter.getMinimumAngle() / 180.0 * static_cast<double>(angles);
    const double distancesApart = filter.getMinimumDistance() / lines.step;
    const auto cellsCloserThan = [](double apart, std::ptrdiff_t most) {
        return static_cast<std::ptrdiff_t>(std::clamp(std::ceil(apart) - 1.0, 0.0, static_cast<double>(most)));
    };
    // A right angle is as far as angles can be apart.
    const std::ptrdiff_t aroundAngle = cellsCloserThan(anglesApart, angles / 2);
    const std::ptrdiff_t aroundDistance = cellsCloserThan(distancesApart, distances);
    thinOut(peaks, lines.angles, lines.distances, static_cast<std::size_t>(filter.getMaximumNumber()),
            [&](const Peak& peak, const auto& mark) {
                if (anglesApart == 0.0 || distancesApart == 0.0) {
                    return;  // no line differs by less than 0
                }
                for (std::ptrdiff_t da = -aroundAngle; da <= aroundAngle; ++da) {
                    const auto [angle, middle] = cellOf(static_cast<std::ptrdiff_t>(peak.cell[0]) + da,
                                                        static_cast<std::ptrdiff_t>(peak.cell[1]));
                    const std::ptrdiff_t end = std::min(middle + aroundDistance, distances - 1);
                    for (std::ptrdiff_t d = std::max<std::ptrdiff_t>(middle - aroundDistance, 0); d <= end; ++d) {
                        mark(static_cast<std::size_t>(angle), static_cast<std::size_t>(d));
                    }
                }
            });
    return peaks;
}

void process(HoughLines2d& filter, OptimLevelType /*level*/) {
    ImageModel* const output = filter.getOutputAccumulatorImage();
    FeaturesMsr* const table = filter.getOutputMeasurement();
    if (output == nullptr && table == nullptr) {
        return;
    }
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputImage();
    const Lines lines(filter);
    const PlanesOf planes(helper::getExtents(input));
    const access::Scratch memory(lines.cells() * sizeof(std::uint32_t));
    auto* const votes = memory.as<std::uint32_t>();
    std::vector<std::vector<Peak>> found(planes.count());
    const std::size_t parts = (lines.angles + anglesOfPart - 1) / anglesOfPart;
    const double nanoseconds =
        nanosecondsPerRead * static_cast<double>(input.getNumOf(COLUMNS)) * static_cast<double>(input.getNumOf(ROWS));
    context.startStep(static_cast<double>(planes.count() * parts));
    for (std::size_t plane = 0; plane < planes.count(); ++plane) {
        access::forEachPart(context, parts, nanoseconds, [&](std::size_t part) {
            vote(input, planes, plane, lines, access::partOf(lines.angles, parts, part), votes);
            context.blockDone(1.0);
        });
        if (output != nullptr) {
            access::RowWriter<std::uint32_t> writer(*output);
            access::Looks looks;
            for (std::size_t d = 0; d < lines.distances; ++d) {
                access::RowSegment segment = planes.row(plane, d);
                segment.count = lines.angles;
                std::uint32_t* const row = writer.open(segment);
                for (std::size_t a = 0; a < lines.angles; ++a) {
                    row[a] = votes[a * lines.distances + d];
                }
                writer.flush();
                looks.add(lines.angles / 16 + 1);
            }
        }
        if (table != nullptr) {
            found[plane] = linesOf(votes, lines, filter);
        }
    }
    if (table == nullptr) {
        return;
    }
    const String unit = algorithms::unitOfLengths(filter.getLengthUnit(), input);
    fillFeatures(*table, {.orientations = true, .distances = true, .unit = unit}, input, planes, found,
                 [&](std::size_t i, std::size_t /*plane*/, const Peak& peak) {
                     const double angle = lines.angle(peak.at[0]);
                     const double distance = lines.distance(peak.at[1]);
                     table->orientation[i] = angle;
                     table->distance[i] = distance;
                     const std::array<double, 2> normal{std::cos(angle), std::sin(angle)};
                     std::array<double, 2> middle{};
                     for (std::size_t axis = 0; axis < 2; ++axis) {
                         middle[axis] = 0.5 * static_cast<double>(input.getNumOf(static_cast<Components>(axis)) - 1) *
                                        lines.units[axis];
                     }
                     const double away = distance - (normal[0] * middle[0] + normal[1] * middle[1]);
                     return std::array<double, 2>{(middle[0] + away * normal[0]) / lines.units[0],
                                                  (middle[1] + away * normal[1]) / lines.units[1]};
                 });
}

std::size_t memoryOf(const HoughLines2d& filter) {
    const bool hasTable = filter.getOutputMeasurement() != nullptr;
    if (!hasTable && filter.getOutputAccumulatorImage() == nullptr) {
        return 0;
    }
    const Lines lines(filter);
    const std::size_t rows =
        filter.getMaximumThreads() * rowBytes(std::max(filter.getInputImage()->getNumOf(COLUMNS), lines.angles));
    return lines.bytes() + std::max(rows, hasTable ? thinningBytes(lines.cells()) : 0);
}

constexpr algorithms::Definition<HoughLines2d> definition{
    .summary = "Finds straight lines in the edges of planes.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
};

}  // namespace

RIX_DEFINE_ALGORITHM(HoughLines2d, definition)

}  // namespace rix::edge_detection
