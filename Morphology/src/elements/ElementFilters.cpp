// The flat operations of planes and volumes: each is an erosion or a dilation, or both in turn.

#include <algorithm>
#include <optional>

#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/morphology/BlackTopHat2d.h>
#include <rix/morphology/BlackTopHat3d.h>
#include <rix/morphology/Closing2d.h>
#include <rix/morphology/Closing3d.h>
#include <rix/morphology/Dilation2d.h>
#include <rix/morphology/Dilation3d.h>
#include <rix/morphology/Erosion2d.h>
#include <rix/morphology/Erosion3d.h>
#include <rix/morphology/MorphologicalGradient2d.h>
#include <rix/morphology/MorphologicalGradient3d.h>
#include <rix/morphology/Opening2d.h>
#include <rix/morphology/Opening3d.h>
#include <rix/morphology/WhiteTopHat2d.h>
#include <rix/morphology/WhiteTopHat3d.h>
#include <rix/properties/EnumInfo.h>

#include "BallByDistance.h"
#include "ElementMinimum.h"
#include "ElementProperties.h"
#include "IsOneOf.h"

namespace rix::morphology {

namespace {

/// What an operation takes of its image.
struct Passes {
    std::optional<Extremum> first;  ///< into a temporary image; none: the image itself
    Extremum last;                  ///< of what the first made
    Difference difference = Difference::None;
    bool lessFirst = false;  ///< the last one is taken of the image, too, and the difference of both
};

constexpr auto erosion = Extremum::Minimum;
constexpr auto dilation = Extremum::Maximum;

template <class Filter>
constexpr bool isGradient = isOneOf<Filter, MorphologicalGradient2d, MorphologicalGradient3d>;

template <class Filter>
Passes passesOf(const Filter& filter) {
    if constexpr (isGradient<Filter>) {
        switch (filter.getGradient()) {
            case Filter::INTERNAL: return {{}, erosion, Difference::ImageLessResult};
            case Filter::EXTERNAL: return {{}, dilation, Difference::ResultLessImage};
            case Filter::BOTH: break;
        }
        return {erosion, dilation, Difference::ResultLessImage, true};
    } else if constexpr (isOneOf<Filter, Erosion2d, Erosion3d>) {
        return {{}, erosion};
    } else if constexpr (isOneOf<Filter, Dilation2d, Dilation3d>) {
        return {{}, dilation};
    } else if constexpr (isOneOf<Filter, Opening2d, Opening3d>) {
        return {erosion, dilation};
    } else if constexpr (isOneOf<Filter, Closing2d, Closing3d>) {
        return {dilation, erosion};
    } else if constexpr (isOneOf<Filter, WhiteTopHat2d, WhiteTopHat3d>) {
        return {erosion, dilation, Difference::ImageLessResult};
    } else {
        return {dilation, erosion, Difference::ResultLessImage};
    }
}

template <class Filter>
bool takesDifference(const Filter& filter) {
    return passesOf(filter).difference != Difference::None;
}

template <class Filter>
VoxelTypes outputType(const Filter& filter) {
    const VoxelTypes type = filter.getInputImage()->getVoxelType();
    return takesDifference(filter) ? differenceTypeOf(type) : type;
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image.", AddRulesForRealImage());
    declareElement(filter, properties);
    addRadiusRule(filter, spacingOf(filter));
    properties.input(filter.borderPolicy, "What lies beyond the edges.");
    properties.input(filter.borderValue, "Value beyond the edges with FIXED.", AddRuleAssertNotNaN());
    properties.onlyWith(filter.borderPolicy, {ElementBorderPolicy::FIXED}, filter.borderValue);
    if constexpr (isGradient<Filter>) {
        properties.input(filter.gradient, "What is taken from what.");
    }
    properties.output(filter.outputImage, "The result.", AddRuleAssertNotNull(),
                      AddRuleEnforceLike(filter.inputImage, {.chosenType = [&filter] { return outputType(filter); }}));
}

/// The element around each voxel.
Element elementFor(Extremum extremum, const Element& element) {
    return extremum == erosion ? element : element.reflected();
}

/// The square of the radius, where a binary image meets a ball and the settings ask for distances.
template <class Filter>
std::optional<std::int64_t> measuredBall(const Filter& filter, const ImageModel& image, const Element& element) {
    return image.getInterpretation() == RIX_BINARY && filter.getBorderPolicy() == Filter::NEUTRAL &&
                   isDistanceForced(filter.settings())
               ? squareOfBall(element, image, ofVolumes<Filter> ? 3 : 2)
               : std::nullopt;
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const Passes passes = passesOf(filter);
    const Element element = elementOfRun(filter, spacingOf(filter));
    const auto take = [&](const ImageModel& from, ImageModel& to, Extremum extremum, Difference difference,
                          const ImageModel* other) {
        if (const auto square = measuredBall(filter, from, element); square && difference == Difference::None) {
            takeBallByDistance(context, from, to, extremum, *square, ofVolumes<Filter> ? 3 : 2, level);
            return;
        }
        const Element around = elementFor(extremum, element);
        takeExtrema(context, from, to, {extremum, around, filter.getBorderPolicy(), filter.getBorderValue()},
                    difference, other, level);
    };
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        std::optional<access::TemporaryImage> first;
        const access::Steps steps(context, passes.first ? 2 : 1);
        if (passes.first) {
            first.emplace(input);
            take(input, first->image(), *passes.first, Difference::None, nullptr);
        }
        const ImageModel& from = passes.first && !passes.lessFirst ? first->image() : input;
        const ImageModel& other = passes.lessFirst ? first->image() : input;
        const bool readsInput = &from == &input || passes.difference != Difference::None;
        const auto last = [&](ImageModel& target) { take(from, target, passes.last, passes.difference, &other); };
        if (readsInput) {
            access::writeApart(context, input, *filter.getOutputImage(), last);
        } else {
            last(*filter.getOutputImage());
        }
    });
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    const Passes passes = passesOf(filter);
    const Element element = elementOf(filter, spacingOf(filter));
    access::Reach reach = elementFor(passes.last, element).reach();
    if (passes.first) {
        const access::Reach more = elementFor(*passes.first, element).reach();
        const auto join = [&](access::Reach::Axis& axis, const access::Reach::Axis& other) {
            // One of what the other made, or both of the image.
            axis = passes.lessFirst
                       ? access::Reach::Axis{std::max(axis.before, other.before), std::max(axis.after, other.after)}
                       : access::Reach::Axis{axis.before + other.before, axis.after + other.after};
        };
        join(reach.columns, more.columns);
        join(reach.rows, more.rows);
        join(reach.planes, more.planes);
    }
    return reach;
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const ImageModel* const output = filter.getOutputImage();
    const Passes passes = passesOf(filter);
    // As much for the reflected element.
    std::size_t bytes = extremaBytes(input, elementOf(filter, spacingOf(filter)), filter.getBorderPolicy(),
                                     takesDifference(filter), filter.getMaximumThreads());
    if (measuredBall(filter, input, elementOf(filter, spacingOf(filter)))) {
        bytes = std::max(bytes, ballByDistanceBytes(input, ofVolumes<Filter> ? 3 : 2, filter.getMaximumThreads()));
    }
    if (passes.first) {
        bytes += access::TemporaryImage::bytes(input, input.getVoxelType());
    }
    if (!passes.first || passes.difference != Difference::None) {
        bytes += access::writeApartMemory(input, output, outputType(filter));
    }
    return bytes;
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &rememberElement<Filter>,
        .influence = &reachOf<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

}  // namespace

const EnumInfo& getInfoMorphologicalGradientType() {
    static const EnumInfo info("Gradient", "BOTH = 0, INTERNAL, EXTERNAL");
    return info;
}

#define RIX_DEFINE_PAIR(Name, text)                                                          \
    static constexpr auto definitionOf##Name##2d = definitionOf<Name##2d>(text " plane.");   \
    static constexpr auto definitionOf##Name##3d = definitionOf<Name##3d>(text " volume.");  \
    RIX_DEFINE_ALGORITHM_ON(ElementFilter2d, Name##2d, ElementState, definitionOf##Name##2d) \
    RIX_DEFINE_ALGORITHM_ON(ElementFilter3d, Name##3d, ElementState, definitionOf##Name##3d)

RIX_DEFINE_PAIR(Erosion, "Takes the smallest value under a structuring element in each")
RIX_DEFINE_PAIR(Dilation, "Takes the largest value under a structuring element in each")
RIX_DEFINE_PAIR(Opening, "Takes out what is bright and does not hold a structuring element in each")
RIX_DEFINE_PAIR(Closing, "Fills what is dark and does not hold a structuring element in each")
RIX_DEFINE_PAIR(WhiteTopHat, "Keeps what is bright and does not hold a structuring element in each")
RIX_DEFINE_PAIR(BlackTopHat, "Keeps what is dark and does not hold a structuring element in each")
RIX_DEFINE_PAIR(MorphologicalGradient, "Takes how much values differ under a structuring element in each")

}  // namespace rix::morphology
