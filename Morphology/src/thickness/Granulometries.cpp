// How much of an image is of which size.

#include <cmath>
#include <limits>
#include <vector>

#include <rix/access/Joins.h>
#include <rix/access/Rows.h>
#include <rix/access/Steps.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/ObjectInfo.h>
#include <rix/morphology/Granulometry2d.h>
#include <rix/morphology/Granulometry3d.h>
#include <rix/morphology/Opening2d.h>
#include <rix/morphology/Opening3d.h>
#include <rix/settings/Settings.h>

#include "distance/SpacingRule.h"
#include "reconstruction/FloodRun.h"

namespace rix::morphology {

namespace {

template <class Filter>
constexpr bool isOfVolumes = std::is_same_v<Filter, Granulometry3d>;
template <class Filter>
constexpr std::size_t axesOf = isOfVolumes<Filter> ? 3 : 2;
template <class Filter>
using OpeningOf = std::conditional_t<isOfVolumes<Filter>, Opening3d, Opening2d>;

constexpr double nanosecondsPerSum = 0.5;
constexpr double sumWeight = 0.05;  ///< of the progress of an opening

template <class Filter>
constexpr double mostSteps = isOfVolumes<Filter> ? 250 : 1000;

/// The difference of radii.
template <class Filter>
double stepOf(const Filter& filter) {
    if (filter.getLengthUnit() == Filter::VOXEL) {
        return 1;
    }
    double step = std::numeric_limits<double>::infinity();
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        step = std::min(step, std::fabs(filter.getInputImage()->getSpacingOf(static_cast<Components>(axis))));
    }
    return step;
}

template <class Filter>
class RuleRadius : public Rules<Property<double>> {
public:
    explicit RuleRadius(const Filter& filter) : m_filter(filter) {}

    void apply(Property<double>& property) override {
        RuleAssertFinite<double>().apply(property);
        const double step = stepOf(m_filter);
        for (std::size_t axis = 0; axis < axesOf<Filter> && m_filter.getLengthUnit() == Filter::WORLD; ++axis) {
            algorithms::assertSpacingFor(property,
                                         m_filter.getInputImage()->getSpacingOf(static_cast<Components>(axis)));
        }
        if (property.get() < step || property.get() > mostSteps<Filter> * step) {
            rules::refuse(rules::parameterText(property) + " must be from " + rules::valueToText(step) + " to " +
                              rules::valueToText(mostSteps<Filter> * step) + '.',
                          "It is " + rules::valueToText(property.get()) + '.');
        }
    }
    String describe() const override {
        return "must be from 1 to " + rules::valueToText(mostSteps<Filter>) + " voxels, or smallest spacings";
    }

private:
    const Filter& m_filter;
};

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image.", AddRulesForRealImage());
    filter.setMaximumRadius(10.0);
    properties.input(filter.maximumRadius, "The radius of the last opening.");
    filter.maximumRadius.getImpl()->addRule(std::make_shared<RuleRadius<Filter>>(filter));
    properties.input(filter.lengthUnit, "Whether radii are in voxels or in the image's unit.");
    properties.output(filter.outputMeasurement, "A row for each radius.", AddRuleCreateMeasurement());
}

/// Running sums; which of them a voxel belongs to follows from its place.
struct LaneSums {
    static constexpr std::size_t lanes = 8;
    double sums[lanes] = {};
    double total() const {
        return ((sums[0] + sums[1]) + (sums[2] + sums[3])) + ((sums[4] + sums[5]) + (sums[6] + sums[7]));
    }
};

/// The sum of all voxels but NaN: a step of the run.
double sumOf(access::ExecutionContext& context, const ImageModel& image) {
    double sum = 0;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const auto open = [&](const access::Plan& plan) {
            return [in = access::RowReader<T>(image, plan)](LaneSums& leaf, const access::RowSegment& segment,
                                                            std::size_t first) mutable {
                const T* const samples = in.read(segment);
                for (std::size_t i = 0; i < segment.count; ++i) {
                    leaf.sums[(first + i) % LaneSums::lanes] += isNaN(samples[i]) ? 0 : static_cast<double>(samples[i]);
                }
            };
        };
        sum = access::reduceRows<LaneSums>(
            context, {&image}, nanosecondsPerSum, open, [](const LaneSums& leaf) { return leaf.total(); },
            [](double& left, double right) { left += right; });
    });
    return sum;
}

template <class Filter>
void setUp(OpeningOf<Filter>& opening, const Filter& filter, double radius) {
    using Opening = OpeningOf<Filter>;
    opening.setInputImage(filter.getInputImage());
    if constexpr (isOfVolumes<Filter>) {
        opening.setStructuringElement(Opening::BALL);
    } else {
        opening.setStructuringElement(Opening::DISK);
    }
    opening.setRadius(radius);
    opening.setLengthUnit(filter.getLengthUnit());
}

/// Whether discs or balls around any voxel hold the whole plane or volume.
template <class Filter>
bool isBroaderThan(const ImageModel& image, const Filter& filter, double radius) {
    double square = 0;
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        const auto component = static_cast<Components>(axis);
        const double spacing = filter.getLengthUnit() == Filter::WORLD ? image.getSpacingOf(component) : 1.0;
        const double way = static_cast<double>(image.getNumOf(component) - 1) * spacing;
        square += way * way;
    }
    constexpr double more = 1 + 1e-9;  // the radius is divided by the spacings, which rounds
    return square * more < radius * radius;
}

bool takesNoSign(const ImageModel& image) {
    bool takesNone = false;
    access::dispatch(access::Reals{}, image.getVoxelType(),
                     [&](auto tag) { takesNone = std::is_unsigned_v<typename decltype(tag)::type>; });
    return takesNone;
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputImage();
    const double step = stepOf(filter);
    const auto count = static_cast<std::size_t>(std::floor(filter.getMaximumRadius() / step)) + 1;
    GranulometryMsr& table = *filter.getOutputMeasurement();
    table.radius.setUnit(algorithms::unitOfLengths(filter.getLengthUnit(), input));
    for (auto* const array : {&table.radius, &table.sum, &table.share}) {
        array->reset(count);
    }
    access::TemporaryImage opened(input);
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        opened.image().setSpacingOf(axis, input.getSpacingOf(axis));
    }
    std::vector<double> weights{sumWeight};
    for (std::size_t i = 1; i < count; ++i) {
        weights.insert(weights.end(), {1.0, sumWeight});
    }
    const access::Steps steps(context, weights);
    for (std::size_t i = 0; i < count; ++i) {
        table.radius[i] = static_cast<double>(i) * step;
        if (i == 0) {
            table.sum[i] = sumOf(context, input);
            continue;
        }
        // What larger ones leave is the same: one value a plane or volume, or nothing.
        if (isBroaderThan(input, filter, table.radius[i - 1]) || (takesNoSign(input) && table.sum[i - 1] == 0)) {
            table.sum[i] = table.sum[i - 1];
            continue;
        }
        OpeningOf<Filter> opening;
        setUp(opening, filter, table.radius[i]);
        opening.setOutputImage(&opened.image());
        algorithms::runChild(filter, opening, level);
        table.sum[i] = sumOf(context, opened.image());
    }
    for (std::size_t i = 0; i < count; ++i) {
        const double whole = table.sum[0];
        const double next = i + 1 < count ? table.sum[i + 1] : 0;
        table.share[i] = whole != 0 ? (table.sum[i] - next) / whole : std::numeric_limits<double>::quiet_NaN();
    }
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    std::size_t most = 0;
    const double step = stepOf(filter);
    for (double radius = step; radius <= filter.getMaximumRadius(); radius += step) {
        OpeningOf<Filter> opening;
        opening.settings() = filter.settings();
        setUp(opening, filter, radius);
        most = std::max(most, opening.describe().extraMemory);
    }
    std::size_t voxels = 0;
    static_cast<void>(helper::getElementCount(input, voxels));
    const std::size_t sums = (voxels / access::leafElements + 1) * sizeof(double);
    return access::TemporaryImage::bytes(input, input.getVoxelType()) +
           std::max(most, sums + convertedRowBytes(input, filter.getMaximumThreads()));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Reduction,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto ofPlanes =
    definitionOf<Granulometry2d>("Tells how much of an image is of which size, by openings of planes.");
constexpr auto ofVolumes =
    definitionOf<Granulometry3d>("Tells how much of an image is of which size, by openings of volumes.");

}  // namespace

GranulometryMsr::GranulometryMsr()
    : radius("Radius", "The radius of the opening."),
      sum("Sum", "The sum of the voxels of the opened image."),
      share("Share", "What goes with the next radius, of the sum at radius 0; in the last row what is left.") {}

const ObjectInfo& GranulometryMsr::getInfo() {
    static const ObjectInfo info("GranulometryMsr", [] {
        return std::shared_ptr<measurement::MeasurementObject>(std::make_shared<GranulometryMsr>());
    });
    return info;
}

const ObjectInfo& GranulometryMsr::getClassInfo() const {
    return getInfo();
}

String GranulometryMsr::getDescription() const {
    return "This object contains how much of an image is of which size.";
}

std::vector<const measurement::BaseMeasurementArray*> GranulometryMsr::arrays() const {
    return {&radius, &sum, &share};
}

RIX_DEFINE_ALGORITHM(Granulometry2d, ofPlanes)
RIX_DEFINE_ALGORITHM(Granulometry3d, ofVolumes)

}  // namespace rix::morphology
