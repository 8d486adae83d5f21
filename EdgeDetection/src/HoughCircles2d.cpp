// Circles: the share of the voxels at a distance that are edges.

#include <rix/edge_detection/HoughCircles2d.h>

#include <cmath>

#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/TemporaryImage.h>
#include <rix/exceptions/Exception.h>

#include "FeatureTable.h"
#include "RingKernels.h"
#include "Tensors.h"

namespace rix::edge_detection {

namespace {

constexpr double mostVoxels = 1000.0;  ///< of a radius
constexpr std::size_t mostRadii = 4096;
constexpr double nanosecondsPerVote = 0.05;
constexpr std::size_t rowsOfPart = 16;

/// The radii, and how the edges lie in memory: a frame of 0 around each plane as wide as the largest circle.
struct Circles {
    explicit Circles(const HoughCircles2d& filter) : step(filter.getRadiusStep()), smallest(filter.getMinimumRadius()) {
        const double number = std::floor((filter.getMaximumRadius() - smallest) / step * (1.0 + 1e-12)) + 1.0;
        radii = number <= static_cast<double>(mostRadii) ? static_cast<std::size_t>(number) : 0;
        units = unitsOf(filter);
        const ImageModel& image = *filter.getInputImage();
        columns = image.getNumOf(COLUMNS);
        rows = image.getNumOf(ROWS);
        width = std::min(units[0], units[1]);
        for (std::size_t axis = 0; axis < 2; ++axis) {
            const double most = (filter.getMaximumRadius() + 0.5 * width) / units[axis];
            reach[axis] = static_cast<std::size_t>(std::min(most, 2.0 * mostVoxels)) + 1;
        }
        stride = columns + 2 * reach[0];
    }
    double radius(double i) const { return smallest + i * step; }
    std::size_t edgeBytes() const { return product(stride, rows + 2 * reach[1]); }
    std::size_t voxels() const { return product(columns, rows); }
    std::size_t shareBytes() const { return product(voxels(), 3 * sizeof(float)); }
    /// The voxels of a circle, as offsets in the memory of edges.
    std::vector<std::ptrdiff_t> ring(std::size_t i) const {
        const double least = std::max(radius(static_cast<double>(i)) - 0.5 * width, 0.0);
        const double end = radius(static_cast<double>(i)) + 0.5 * width;
        const auto reachX = static_cast<std::ptrdiff_t>(reach[0]);
        const auto reachY = static_cast<std::ptrdiff_t>(reach[1]);
        std::vector<std::ptrdiff_t> offsets;
        for (std::ptrdiff_t y = -reachY; y <= reachY; ++y) {
            for (std::ptrdiff_t x = -reachX; x <= reachX; ++x) {
                const double dx = static_cast<double>(x) * units[0];
                const double dy = static_cast<double>(y) * units[1];
                const double square = dx * dx + dy * dy;
                if (square >= least * least && square < end * end) {
                    offsets.push_back(y * static_cast<std::ptrdiff_t>(stride) + x);
                }
            }
        }
        return offsets;
    }

    double step;
    double smallest;
    double width = 1.0;
    std::size_t radii = 0;
    std::array<double, 3> units{};
    std::array<std::size_t, 2> reach{};
    std::size_t columns = 0;
    std::size_t rows = 0;
    std::size_t stride = 0;

private:
    static std::size_t product(std::size_t a, std::size_t b) {
        std::size_t result = 0;
        if (!helper::checkedMultiply(a, b, result)) {
            throw MemoryError("The votes for circles do not fit 64 bits.");
        }
        return result;
    }
};

/// Stands on the unit, with which the radii are known.
class RuleRadii : public Rules<Property<int>> {
public:
    explicit RuleRadii(const HoughCircles2d& filter) : m_filter(filter) {}
    void apply(Property<int>& /*property*/) override {
        const double smallest = m_filter.getMinimumRadius();
        const double largest = m_filter.getMaximumRadius();
        if (smallest > largest) {
            rules::refuse(rules::parameterText(m_filter.maximumRadius) + " must not be below " +
                              rules::parameterText(m_filter.minimumRadius) + '.',
                          "They are " + rules::valueToText(largest) + " and " + rules::valueToText(smallest) + '.');
        }
        const std::array<double, 3> units = unitsOf(m_filter);
        for (std::size_t axis = 0; axis < 2; ++axis) {
            if (largest / units[axis] > mostVoxels) {
                rules::refuse(rules::parameterText(m_filter.maximumRadius) + " must be at most 1000 voxels.",
                              "It is " + rules::valueToText(largest / units[axis]) + " voxels along an axis.");
            }
        }
        if (Circles(m_filter).radii == 0) {
            rules::refuse(rules::parameterText(m_filter.radiusStep) + " must not give more than 4096 radii up to " +
                              rules::parameterText(m_filter.maximumRadius) + '.',
                          "It is " + rules::valueToText(m_filter.getRadiusStep()) + ". Take a larger step.");
        }
    }
    String describe() const override { return "with it, radii are at most 1000 voxels and 4096, the smallest first"; }

private:
    const HoughCircles2d& m_filter;
};

void declareLength(algorithms::Properties& properties, Property<double>& property, double value,
                   const char* description) {
    property = value;
    properties.input(property, description, AddRuleAssertFinite(), AddRuleLimitedValue<double>(0.0, CHECK_GREATER));
}

void declare(HoughCircles2d& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "Edges: voxels that are not 0.", AddRulesForRealImage());
    filter.inputImage.getImpl()->addRule(std::make_shared<RuleOneChannel>());
    declareLength(properties, filter.minimumRadius, 5.0, "The smallest radius.");
    declareLength(properties, filter.maximumRadius, 15.0, "The largest radius.");
    declareLength(properties, filter.radiusStep, 1.0, "From one radius to the next.");
    filter.threshold = 0.5;
    properties.input(filter.threshold, "The least share of a circle's voxels that are edges.",
                     AddRuleInRange<double>(0.0, 1.0, Bound::Included, Bound::Included));
    filter.minimumDistance = 5.0;
    properties.input(filter.minimumDistance, "How far from the centre of a stronger circle one is at least.",
                     AddRuleAssertFinite(), AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
    filter.maximumNumber = 0;
    properties.input(filter.maximumNumber, "The most circles of a plane; 0: any number.",
                     AddRuleLimitedValue<std::int32_t>(0, CHECK_GREATER_OR_EQUAL));
    declareUnit(filter, properties, "Whether lengths are in voxels or in the image's unit.");
    filter.lengthUnit.getImpl()->addRule(std::make_shared<RuleRadii>(filter));
    properties.output(filter.outputAccumulatorImage, "Optional: the strengths, a channel for each radius.");
    declareDisjoint(filter.outputAccumulatorImage, filter.inputImage, {});
    addRules(filter.outputAccumulatorImage,
             AddRuleWhenSet(AddRuleEnforceHeader(
                 [&filter] {
                     ImageHeader header = helper::headerOf(*filter.getInputImage());
                     header.extents[SPECTRAL_SERIES] = Circles(filter).radii;
                     header.voxelType = RIX_FLOAT32;
                     header.interpretation = RIX_VALUE;
                     header.colorInterpretation = UNKNOWN;
                     return header;
                 },
                 "extents and calibration of the input, with a channel for each radius")));
    properties.output(filter.outputMeasurement, "Optional: the circles.");
}

/// The edges of a plane as 0 and 1, in their frame.
void readEdges(access::ExecutionContext& context, const ImageModel& input, const PlanesOf& planes, std::size_t plane,
               const Circles& circles, std::uint8_t* edges) {
    const std::size_t all = circles.rows + 2 * circles.reach[1];
    const std::size_t parts = (all + rowsOfPart - 1) / rowsOfPart;
    access::forEachPart(context, parts, static_cast<double>(circles.stride * rowsOfPart), [&](std::size_t part) {
        access::RowReader<double> reader(input);
        const access::Interval rows = access::partOf(all, parts, part);
        for (std::size_t y = rows.begin; y < rows.end; ++y) {
            std::uint8_t* const to = edges + y * circles.stride;
            std::fill_n(to, circles.stride, std::uint8_t{0});
            if (y >= circles.reach[1] && y - circles.reach[1] < circles.rows) {
                const double* const row = reader.read(planes.row(plane, y - circles.reach[1]));
                for (std::size_t x = 0; x < circles.columns; ++x) {
                    to[circles.reach[0] + x] = row[x] != 0.0 && row[x] == row[x] ? 1 : 0;
                }
            }
        }
    });
}

/// The peaks of a radius among it and those beside it; null where there is none.
void findCircles(const std::array<const float*, 3>& shares, const Circles& circles, std::size_t radius, float least,
                 std::vector<Peak>& peaks) {
    access::Looks looks;
    for (std::size_t y = 0; y < circles.rows; ++y) {
        for (std::size_t x = 0; x < circles.columns; ++x) {
            const float value = shares[1][y * circles.columns + x];
            if (!(value > 0.0F && value >= least)) {
                continue;
            }
            const auto at = [&](int dx, int dy, int dr) {
                const std::size_t column = x + static_cast<std::size_t>(dx);  // wraps before the first
                const std::size_t row = y + static_cast<std::size_t>(dy);
                const float* const there = shares[static_cast<std::size_t>(dr + 1)];
                return there != nullptr && column < circles.columns && row < circles.rows
                           ? there[row * circles.columns + column]
                           : 0.0F;
            };
            if (isPeak(value, 1, at)) {
                peaks.push_back(peakAt(static_cast<double>(value), {x, y, radius}, 1, 0.0, at));
            }
        }
        looks.add(circles.columns / 32 + 1);
    }
}

void process(HoughCircles2d& filter, OptimLevelType level) {
    ImageModel* const output = filter.getOutputAccumulatorImage();
    FeaturesMsr* const table = filter.getOutputMeasurement();
    if (output == nullptr && table == nullptr) {
        return;
    }
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputImage();
    const Circles circles(filter);
    const PlanesOf planes(helper::getExtents(input));
    const ShareOfRing share = shareOfRing(level);
    const access::Scratch edgeMemory(circles.edgeBytes());
    auto* const edges = edgeMemory.as<std::uint8_t>();
    const access::Scratch shareMemory(circles.shareBytes());
    std::vector<std::vector<Peak>> found(planes.count());
    const auto sharesOf = [&](std::size_t radius) { return shareMemory.as<float>() + radius % 3 * circles.voxels(); };
    const std::size_t parts = (circles.rows + rowsOfPart - 1) / rowsOfPart;
    const std::array<double, 2> apart{filter.getMinimumDistance() / circles.units[0],
                                      filter.getMinimumDistance() / circles.units[1]};
    context.startStep(static_cast<double>(planes.count() * circles.radii * parts));
    for (std::size_t plane = 0; plane < planes.count(); ++plane) {
        readEdges(context, input, planes, plane, circles, edges);
        for (std::size_t radius = 0; radius <= circles.radii; ++radius) {
            if (radius < circles.radii) {
                const std::vector<std::ptrdiff_t> ring = circles.ring(radius);
                const double nanoseconds =
                    nanosecondsPerVote * static_cast<double>(ring.size() * circles.columns * rowsOfPart);
                access::forEachPart(context, parts, nanoseconds, [&](std::size_t part) {
                    access::Looks looks;
                    const access::Interval rows = access::partOf(circles.rows, parts, part);
                    for (std::size_t y = rows.begin; y < rows.end; ++y) {
                        share(edges + (y + circles.reach[1]) * circles.stride + circles.reach[0], ring.data(),
                              ring.size(), sharesOf(radius) + y * circles.columns, circles.columns);
                        looks.add(circles.columns * ring.size() / 1024 + 1);
                        if (output != nullptr) {
                            access::RowWriter<float> writer(*output);
                            access::RowSegment segment = planes.row(plane, y);
                            segment.spectral = radius;
                            std::copy_n(sharesOf(radius) + y * circles.columns, circles.columns, writer.open(segment));
                            writer.flush();
                        }
                    }
                    context.blockDone(1.0);
                });
            }
            if (radius > 0 && table != nullptr) {
                findCircles({radius > 1 ? sharesOf(radius - 2) : nullptr, sharesOf(radius - 1),
                             radius < circles.radii ? sharesOf(radius) : nullptr},
                            circles, radius - 1, static_cast<float>(filter.getThreshold()), found[plane]);
            }
        }
        orderByStrength(found[plane]);
        if (table != nullptr) {
            thinOut(found[plane], circles.columns, circles.rows, static_cast<std::size_t>(filter.getMaximumNumber()),
                    [&](const Peak& peak, const auto& mark) {
                        forEachCellWithin(peak, apart, circles.columns, circles.rows, mark);
                    });
        }
    }
    if (table == nullptr) {
        return;
    }
    const String unit = algorithms::unitOfLengths(filter.getLengthUnit(), input);
    fillFeatures(*table, {.radii = true, .unit = unit}, input, planes, found,
                 [&](std::size_t i, std::size_t /*plane*/, const Peak& peak) {
                     table->radius[i] = circles.radius(peak.at[2]);
                     return std::array<double, 2>{peak.at[0], peak.at[1]};
                 });
}

std::size_t memoryOf(const HoughCircles2d& filter) {
    const bool hasTable = filter.getOutputMeasurement() != nullptr;
    if (!hasTable && filter.getOutputAccumulatorImage() == nullptr) {
        return 0;
    }
    const Circles circles(filter);
    return access::Scratch::held(circles.edgeBytes()) + access::Scratch::held(circles.shareBytes()) +
           std::max(filter.getMaximumThreads() * rowBytes(circles.columns),
                    hasTable ? thinningBytes(circles.voxels()) : 0);
}

constexpr algorithms::Definition<HoughCircles2d> definition{
    .summary = "Finds circles in the edges of planes.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
};

}  // namespace

RIX_DEFINE_ALGORITHM(HoughCircles2d, definition)

}  // namespace rix::edge_detection
