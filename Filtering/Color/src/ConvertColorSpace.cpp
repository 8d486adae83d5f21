#include <rix/filtering/color/ConvertColorSpace.h>

#include <limits>
#include <type_traits>

#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/image/SampleMemory.h>
#include <rix/properties/EnumInfo.h>

#include "ColorEncoding.h"
#include "ColorRows.h"

namespace rix::filtering::color {

namespace {

using Space = ConvertColorSpace::ColorSpace;

Space spaceOf(const Property<int>& property) {
    return static_cast<Space>(property.get());
}

/// Whether an image whose channels are said to be of a kind can hold colours of a space.
bool agrees(ColorInterpretation interpretation, Space space) {
    switch (interpretation) {
        case UNKNOWN: return true;
        case rix::RGB: return space == ConvertColorSpace::RGB || space == ConvertColorSpace::LINEAR_RGB;
        case rix::HSL: return space == ConvertColorSpace::HSL;
        case rix::YIQ: return space == ConvertColorSpace::YIQ;
        default: return false;
    }
}

ColorInterpretation interpretationOf(Space space) {
    switch (space) {
        case ConvertColorSpace::RGB: return rix::RGB;
        case ConvertColorSpace::HSL: return rix::HSL;
        case ConvertColorSpace::YIQ: return rix::YIQ;
        default: return UNKNOWN;
    }
}

/// The input has the channels of the space, with or without opacity, and is not said to be of another.
class RuleIsOfSpace : public Rules<Property<int>> {
public:
    explicit RuleIsOfSpace(const ConvertColorSpace& algorithm)
        : m_algorithm(algorithm), m_image(algorithm.inputImage) {}

    void apply(Property<int>& property) override {
        const ImageModel* const image = m_image.get();
        const Space space = spaceOf(property);
        const String name = ConvertColorSpace::getInfoColorSpace().getLabelFromValue(property.get());
        if (m_algorithm.isIterationOnSpectralAxisEnabled()) {
            rules::refuse(rules::parameterText(property) +
                          " is of all channels: a run for each channel has no colours.");
        }
        const std::size_t channels = image->getNumOf(SPECTRAL_SERIES);
        const std::size_t wanted = channelsOf(space);
        if (channels != wanted && channels != wanted + 1) {
            rules::refuse(rules::parameterText(property) + " is " + name + ", of " + std::to_string(wanted) +
                              " channels and perhaps opacity, but \"" + m_image.getName() + "\" has " +
                              std::to_string(channels) + (channels == 1 ? " channel." : " channels."),
                          helper::describeImage(*image) + '.');
        }
        // One channel is no colour, whatever it was taken from.
        if (wanted > 1 && !agrees(image->getColorInterpretation(), space)) {
            rules::refuse(rules::parameterText(property) + " is " + name + ", but \"" + m_image.getName() +
                          "\" has the color interpretation " +
                          helper::colorInterpretationToString(image->getColorInterpretation()) + '.');
        }
    }
    String describe() const override {
        return "must be the space of " + m_image.getName() + ", as its channels and color interpretation have it";
    }

private:
    const ConvertColorSpace& m_algorithm;
    const Property<const ImageModel*>& m_image;
};

ImageHeader headerOfResult(const ConvertColorSpace& algorithm) {
    const ImageModel& input = *algorithm.getInputImage();
    ImageHeader header = helper::headerOf(input);
    const bool hasOpacity = header.extents[SPECTRAL_SERIES] > channelsOf(algorithm.getFromSpace());
    header.extents[SPECTRAL_SERIES] = channelsOf(algorithm.getToSpace()) + (hasOpacity ? 1 : 0);
    switch (algorithm.getOutputType()) {
        case ConvertColorSpace::REAL:
            header.voxelType = header.voxelType == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
            break;
        case ConvertColorSpace::SAME_AS_INPUT: break;
        case ConvertColorSpace::UNSIGNED_INTEGER_8_BIT: header.voxelType = RIX_UINT8; break;
        case ConvertColorSpace::UNSIGNED_INTEGER_16_BIT: header.voxelType = RIX_UINT16; break;
    }
    header.interpretation = RIX_VALUE;
    header.colorInterpretation = interpretationOf(algorithm.getToSpace());
    return header;
}

/// An output that is the input can take the result.
class RuleFitsInPlace : public Rules<Property<ImageModel*>> {
public:
    explicit RuleFitsInPlace(const ConvertColorSpace& algorithm) : m_algorithm(algorithm) {}

    void apply(Property<ImageModel*>& property) override {
        const ImageModel& input = *m_algorithm.getInputImage();
        if (!helper::mayShareSamples(*property.get(), input)) {
            return;
        }
        const ImageHeader result = headerOfResult(m_algorithm);
        if (result.extents != helper::getExtents(input) || result.voxelType != input.getVoxelType()) {
            rules::refuse(rules::parameterText(property) + " must be another image than \"inputImage\".",
                          "The result has " + std::to_string(result.extents[SPECTRAL_SERIES]) + " channels of " +
                              helper::voxelTypesToString(result.voxelType) + "; the input is " +
                              helper::describeImage(input) + '.');
        }
    }
    String describe() const override { return "is another image than inputImage where type or channels change"; }

private:
    const ConvertColorSpace& m_algorithm;
};

void declare(ConvertColorSpace& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image whose colours are told in another space.",
                     AddRulesForRealImage());
    properties.input(algorithm.fromSpace, "The colour space of the input.");
    algorithm.fromSpace.getImpl()->addRule(std::make_shared<RuleIsOfSpace>(algorithm));
    algorithm.toSpace = ConvertColorSpace::GRAY;
    properties.input(algorithm.toSpace, "The colour space of the result.");
    properties.input(algorithm.outputType,
                     "The type of the result: real units, or integers in which they are encoded.");
    properties.output(algorithm.outputImage, "The same colours in the other space.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(algorithm.inputImage));
    algorithm.outputImage.getImpl()->addRule(std::make_shared<RuleFitsInPlace>(algorithm));
    AddRuleEnforceHeader(
        [&algorithm] { return headerOfResult(algorithm); },
        "shape and calibration of inputImage with the channels of toSpace, as a value image")(algorithm.outputImage);
}

/// The sample of 1.
double largestOf(VoxelTypes type, bool isBinary) {
    double largest = 1.0;
    if (!isBinary && access::contains(access::Integers{}, type)) {
        access::dispatch(access::Integers{}, type, [&](auto tag) {
            largest = static_cast<double>(std::numeric_limits<typename decltype(tag)::type>::max());
        });
    }
    return largest;
}

void process(ConvertColorSpace& algorithm, OptimLevelType level) {
    const ImageModel& input = *algorithm.getInputImage();
    ImageModel& output = *algorithm.getOutputImage();
    const bool isBinary = algorithms::wasBinary(algorithm);
    const ColorWork work{.from = algorithm.getFromSpace(),
                         .to = algorithm.getToSpace(),
                         .largestIn = largestOf(input.getVoxelType(), isBinary),
                         .largestOut = largestOf(output.getVoxelType(), false),
                         .inputIsBinary = isBinary};
    convertColors(algorithm.executionContext(), level, input, output, work);
}

constexpr algorithms::Definition<ConvertColorSpace> definition{
    .summary = "Tells colours in another space: grey, HSV, CIE Lab ...",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .prepare = &algorithms::rememberMeaning<ConvertColorSpace>,
    .memory = [](const ConvertColorSpace& algorithm) { return colorMemory(algorithm.getMaximumThreads()); },
};

}  // namespace

const EnumInfo& ConvertColorSpace::getInfoColorSpace() {
    static const EnumInfo info("ColorSpace", "RGB = 0, LINEAR_RGB, HSV, HSL, XYZ, LAB, LCH, YCBCR, YIQ, GRAY");
    return info;
}

const EnumInfo& ConvertColorSpace::getInfoOutputType() {
    static const EnumInfo info("ColorOutputType",
                               "REAL = 0, SAME_AS_INPUT, UNSIGNED_INTEGER_8_BIT, UNSIGNED_INTEGER_16_BIT");
    return info;
}

RIX_DEFINE_ALGORITHM_WITH(ConvertColorSpace, algorithms::InputMeaning, definition)

}  // namespace rix::filtering::color
