// Both bilateral filters: the disc is a ball of one plane.

#include <rix/filtering/smoothing/BilateralFilter2d.h>
#include <rix/filtering/smoothing/BilateralFilter3d.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include <rix/access/MovingWindows.h>

#include "EdgeFilter.h"
#include "SharedWeights.h"

namespace rix::filtering::smoothing {

namespace {

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, BilateralFilter3d>;

template <class Filter>
constexpr std::int32_t largestRadius = ofVolumes<Filter> ? 20 : 64;

/// A voxel of the disc or ball.
struct Neighbour {
    std::int64_t x;
    std::int64_t y;
    std::int64_t z;
    double squaredDistance;
};

/// Within the bounds that rules keep, also where they were not asked yet.
template <class Filter>
std::int64_t radiusOf(const Filter& filter) {
    const std::int32_t radius = filter.getKernelRadius();
    const double computed = std::ceil(3.0 * filter.getSpatialStandardDeviation());
    const std::int32_t wanted =
        computed < largestRadius<Filter> ? static_cast<std::int32_t>(std::max(computed, 1.0)) : largestRadius<Filter>;
    return radius > 0 ? std::min(radius, largestRadius<Filter>) : wanted;
}

template <class Filter>
std::vector<Neighbour> neighboursOf(const Filter& filter) {
    const std::int64_t r = radiusOf(filter);
    const std::int64_t planes = ofVolumes<Filter> ? r : 0;
    std::vector<Neighbour> neighbours;
    for (std::int64_t z = -planes; z <= planes; ++z) {
        for (std::int64_t y = -r; y <= r; ++y) {
            for (std::int64_t x = -r; x <= r; ++x) {
                if (const std::int64_t square = x * x + y * y + z * z; square <= r * r) {
                    neighbours.push_back({x, y, z, static_cast<double>(square)});
                }
            }
        }
    }
    return neighbours;
}

/// A radius of 0 is computed, and may become too large; stands on the deviation that it follows from.
template <class Filter>
class RuleRadius : public Rules<Property<double>> {
public:
    explicit RuleRadius(const Filter& filter) : m_filter(filter) {}
    void apply(Property<double>& property) override {
        if (m_filter.getKernelRadius() == 0 && property.get() > largestRadius<Filter> / 3.0) {
            String text = rules::parameterText(property);
            text += " makes a radius above ";
            text += std::to_string(largestRadius<Filter>);
            text += '.';
            rules::refuse(text);
        }
    }
    String describe() const override {
        String text("must not be above ");
        text += std::to_string(largestRadius<Filter>);
        text += " / 3 where the radius follows from it";
        return text;
    }

private:
    const Filter& m_filter;
};

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is smoothed.", AddRulesForRealImage());
    declareRadius(properties, filter.kernelRadius, 0, largestRadius<Filter>,
                  "Radius of the disc or ball; 0: ceil(3 s).");
    declarePositive(properties, filter.spatialStandardDeviation, 1.0, "How fast weights fall with the distance.");
    filter.spatialStandardDeviation.getImpl()->addRule(std::make_shared<RuleRadius<Filter>>(filter));
    declarePositive(properties, filter.intensityStandardDeviation, 10.0, "How fast weights fall with the difference.");
    declareResult(filter, properties);
}

/// The half of the disc that follows its middle, where planes are smoothed and the weights are few enough to be kept;
/// else nothing.
template <class Filter>
std::vector<PairOffset> pairsOf(const Filter& filter) {
    std::vector<PairOffset> offsets;
    if constexpr (!ofVolumes<Filter>) {
        const double s = filter.getSpatialStandardDeviation();
        for (const Neighbour& each : neighboursOf(filter)) {
            if (each.y > 0 || (each.y == 0 && each.x > 0)) {
                offsets.push_back({each.x, each.y, logarithmOfWeight<double>(0.5 * each.squaredDistance / s / s)});
            }
        }
        if (keptRows(offsets) > mostKeptRows) {
            offsets.clear();
        }
    }
    return offsets;
}

template <class Filter>
access::BoxNeeds needsOf(const Filter& filter) {
    const auto r = static_cast<std::size_t>(radiusOf(filter));
    const access::Reach::Axis axis{r, r};
    const double side = 2.0 * static_cast<double>(r) + 1.0;
    const double voxels = side * side * (ofVolumes<Filter> ? side : 1.0) * 0.7;
    access::BoxNeeds needs{{axis, axis, ofVolumes<Filter> ? axis : access::Reach::Axis{}},
                           2.0 * voxels};  // at the portable level
    if (const auto offsets = pairsOf(filter); !offsets.empty()) {
        needs.carried = carriedWeights(offsets);
    }
    return needs;
}

/// Row by row, with the weights of the rows above.
template <class Filter, class T>
void smoothByPairs(Filter& filter, const ImageModel& input, ImageModel& target, const std::vector<PairOffset>& offsets,
                   const EdgeKernels<T>& kernels) {
    const Rounding<T> round(target, kernels);
    const double t = filter.getIntensityStandardDeviation();
    const T factor = logarithmOfWeight<T>(0.5 / t / t);
    const auto border = access::borderOf<T>(filter.getBorderPolicy(), filter.getBorderValue());
    const auto radius = static_cast<std::size_t>(radiusOf(filter));
    access::transformMovingWindows<T, T>(
        filter.executionContext(), input, *border, target, needsOf(filter),
        [&](access::WindowRows<T>& window, const access::Block& part) {
            return SharedWeights<T>(window, part.columns().length(), radius, offsets, kernels, factor);
        },
        [&](SharedWeights<T>& weights, const access::RowSegment& segment, T* out) {
            weights.average(segment, out);
            round(out, segment.count);
        });
}

template <class Filter, class T>
void smooth(Filter& filter, const ImageModel& input, ImageModel& target, OptimLevelType level) {
    const std::vector<Neighbour> neighbours = neighboursOf(filter);
    const EdgeKernels<T> kernels = edgeKernels<T>(level);
    if (const auto offsets = pairsOf(filter); !offsets.empty()) {
        smoothByPairs<Filter, T>(filter, input, target, offsets, kernels);
        return;
    }
    const Rounding<T> round(target, kernels);
    const double s = filter.getSpatialStandardDeviation();
    const double t = filter.getIntensityStandardDeviation();
    const T factor = logarithmOfWeight<T>(0.5 / t / t);
    std::vector<T> weights;
    for (const Neighbour& each : neighbours) {
        weights.push_back(logarithmOfWeight<T>(0.5 * each.squaredDistance / s / s));
    }
    const auto border = access::borderOf<T>(filter.getBorderPolicy(), filter.getBorderValue());
    access::transformWindows<T, T>(filter.executionContext(), input, *border, target, needsOf(filter),
                                   [&](access::WindowRows<T>& window, const access::RowSegment& segment, T* out) {
                                       const RowArray<const T*> rows(neighbours.size());
                                       const auto rowAt = [&](std::int64_t y, std::int64_t z) {
                                           return window.row(static_cast<std::int64_t>(segment.row) + y,
                                                             static_cast<std::int64_t>(segment.plane) + z);
                                       };
                                       for (std::size_t i = 0; i < neighbours.size(); ++i) {
                                           rows[i] = rowAt(neighbours[i].y, neighbours[i].z) + neighbours[i].x;
                                       }
                                       kernels.average({neighbours.size(), rows.data(), weights.data()}, rowAt(0, 0),
                                                       factor, out, segment.count);
                                       round(out, segment.count);
                                   });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    runApart(filter, [&](const ImageModel& input, ImageModel& target) {
        inWorkType(input,
                   [&](auto tag) { smooth<Filter, typename decltype(tag)::type>(filter, input, target, level); });
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const access::BoxNeeds needs = needsOf(filter);
    std::size_t more = neighboursOf(filter).size() * sizeof(void*);
    if (const auto offsets = pairsOf(filter); !offsets.empty()) {
        const auto radius = static_cast<std::size_t>(radiusOf(filter));
        const std::size_t columns = access::cutBoxes({&input}, {}, needs).largestPart(COLUMNS);
        const std::size_t row = worksInDouble(input) ? SharedWeights<double>::stride(columns, radius) * sizeof(double)
                                                     : SharedWeights<float>::stride(columns, radius) * sizeof(float);
        more += access::Scratch::held(keptRows(offsets) * row) + more;
    }
    return edgeMemory(input, filter.getOutputImage(), chosenType(filter), needs, filter.getMaximumThreads(), more);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence = [](const Filter& filter) { return needsOf(filter).reach; },
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes = definitionOf<BilateralFilter2d>("Averages near voxels that are alike, plane by plane.");
constexpr auto inVolumes = definitionOf<BilateralFilter3d>("Averages near voxels of a volume that are alike.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(BilateralFilter2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(BilateralFilter3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::filtering::smoothing
