// Both rescalings: that of planes has no third axis.

#include <algorithm>
#include <array>
#include <cmath>

#include <rix/access/VoxelTypeLists.h>
#include <rix/geometry/Rescale2d.h>
#include <rix/geometry/Rescale3d.h>
#include <rix/image/ImageDetails.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/SizeRules.h>
#include <rix/rules/SpacingRules.h>

#include "Mapped.h"
#include "World.h"
#include "resampling/ElementScaling.h"
#include "resampling/SeparableScaling.h"

namespace rix::geometry {

namespace {

/// Indices of elements are held in 32 bits.
constexpr std::size_t largestExtent = 0x7fffffff;

template <class Rescaling>
constexpr bool hasPlanes = requires(Rescaling& rescaling) { rescaling.sizeZ; };

/// The properties of an axis.
template <class Rescaling>
struct AxisProperties {
    algorithms::BoundProperty<Property<std::int64_t>> Rescaling::* size;
    algorithms::BoundProperty<Property<double>> Rescaling::* factor;
    algorithms::BoundProperty<Property<double>> Rescaling::* spacing;
};

template <class Rescaling>
constexpr auto axesOf() {
    constexpr AxisProperties<Rescaling> x{&Rescaling::sizeX, &Rescaling::factorX, &Rescaling::spacingX};
    constexpr AxisProperties<Rescaling> y{&Rescaling::sizeY, &Rescaling::factorY, &Rescaling::spacingY};
    if constexpr (hasPlanes<Rescaling>) {
        return std::array{x, y,
                          AxisProperties<Rescaling>{&Rescaling::sizeZ, &Rescaling::factorZ, &Rescaling::spacingZ}};
    } else {
        return std::array{x, y};
    }
}

/// round(n factor), at least 1; beyond what an image may have one more than that.
std::size_t scaledExtent(std::size_t n, double factor) {
    const double extent = std::round(static_cast<double>(n) * factor);
    return extent < 1.0 ? 1 : static_cast<std::size_t>(std::min(extent, static_cast<double>(largestExtent) + 1.0));
}

template <class Rescaling>
std::array<std::size_t, RIX_COMPONENTS_SIZE> extentsOf(const Rescaling& rescaling) {
    const ImageHeader header = helper::headerOf(*rescaling.getInputImage());
    const auto spacings = spacingsOf(header);
    auto extents = header.extents;
    constexpr auto axes = axesOf<Rescaling>();
    for (std::size_t axis = 0; axis < axes.size(); ++axis) {
        const std::int64_t size = (rescaling.*axes[axis].size).get();
        const double spacing = (rescaling.*axes[axis].spacing).get();
        switch (rescaling.getMode()) {
            case ScalingMode::EXTENTS: extents[axis] = size > 0 ? static_cast<std::size_t>(size) : extents[axis]; break;
            case ScalingMode::FACTORS:
                extents[axis] = scaledExtent(extents[axis], (rescaling.*axes[axis].factor).get());
                break;
            case ScalingMode::SPACING:
                extents[axis] = spacing > 0 && extents[axis] > 1
                                    ? scaledExtent(extents[axis], std::abs(spacings[axis]) / spacing)
                                    : extents[axis];
                break;
        }
    }
    return extents;
}

bool isOfClasses(const ImageModel& image) {
    return image.getInterpretation() == RIX_LABEL || image.getInterpretation() == RIX_BINARY;
}

LineRule ruleOf(ScalingInterpolation interpolation, bool ofClasses, std::size_t in, std::size_t out) {
    if (in == out) {
        return LineRule::Keep;
    }
    switch (interpolation) {
        case ScalingInterpolation::NEAREST: return LineRule::Nearest;
        case ScalingInterpolation::LINEAR: return LineRule::Linear;
        case ScalingInterpolation::CUBIC_BSPLINE: return LineRule::Spline;
        case ScalingInterpolation::LANCZOS: return LineRule::Lanczos;
        case ScalingInterpolation::AREA:
        case ScalingInterpolation::LABEL_MAJORITY: return LineRule::Area;
        case ScalingInterpolation::AUTOMATIC: break;
    }
    return ofClasses ? LineRule::Nearest : in / 2 >= out ? LineRule::Area : LineRule::Linear;
}

template <class Rescaling>
ImageScales scalesOf(const Rescaling& rescaling) {
    const ImageModel& input = *rescaling.getInputImage();
    const auto in = helper::getExtents(input);
    const auto out = extentsOf(rescaling);
    ImageScales scales;
    for (std::size_t axis = 0; axis < scales.size(); ++axis) {
        scales[axis] = {ruleOf(rescaling.getInterpolation(), isOfClasses(input), in[axis], out[axis]),
                        in[axis],
                        out[axis],
                        rescaling.getAntiAliasing() == AntiAliasing::YES,
                        rescaling.getBorderPolicy(),
                        rescaling.getBorderValue()};
    }
    return scales;
}

/// How the image is gone through.
enum class Way : std::uint8_t { Nearest, Majority, Sums };

template <class Rescaling>
Way wayOf(const Rescaling& rescaling) {
    if (rescaling.getInterpolation() == ScalingInterpolation::LABEL_MAJORITY) {
        return Way::Majority;
    }
    return rescaling.getInterpolation() == ScalingInterpolation::NEAREST || isOfClasses(*rescaling.getInputImage())
               ? Way::Nearest
               : Way::Sums;
}

/// The header of the output: the outer borders of the image stay where they are.
template <class Rescaling>
ImageHeader headerOfRescaled(const Rescaling& rescaling) {
    ImageHeader header = helper::headerOf(*rescaling.getInputImage());
    header.spacing = spacingsOf(header);
    const auto out = extentsOf(rescaling);
    const vessel::SpatialDirections& directions = header.spatialDirections;
    const vessel::Vector3d* const axes[] = {&directions.columnDirection, &directions.rowDirection,
                                            &directions.sliceDirection};
    for (std::size_t axis = 0; axis < std::size(axes); ++axis) {
        if (out[axis] == header.extents[axis]) {
            continue;
        }
        header.spatialFrame = std::nullopt;
        const double ratio = static_cast<double>(header.extents[axis]) / static_cast<double>(out[axis]);
        const double shift = 0.5 * (ratio - 1.0) * header.spacing[axis];
        for (std::size_t i = 0; i < axes[axis]->size(); ++i) {
            header.origin[i] += shift * (*axes[axis])[i];
        }
        header.spacing[axis] *= ratio;
        header.extents[axis] = out[axis];
    }
    return header;
}

/// On the last of what tells the extents.
template <class Rescaling>
class RuleScaledImage : public Rules<Property<double>> {
public:
    explicit RuleScaledImage(const Rescaling& rescaling) : m_rescaling(rescaling) {}

    void apply(Property<double>& /*property*/) override {
        const ImageModel& input = *m_rescaling.getInputImage();
        const auto in = helper::getExtents(input);
        const auto extents = extentsOf(m_rescaling);
        const auto spacings = spacingsOf(helper::headerOf(input));
        constexpr auto axes = axesOf<Rescaling>();
        String names;
        for (std::size_t axis = 0; axis < axes.size(); ++axis) {
            const BaseProperty& property = propertyOf(axes[axis]);
            names += (names.empty() ? "" : ", ") + property.getName();
            if (in[axis] > largestExtent || extents[axis] > largestExtent) {
                rules::refuse(rules::parameterText(property) + " must give at most " + std::to_string(largestExtent) +
                                  " elements, from no more.",
                              rules::quotedName(m_rescaling.inputImage) + " has " + std::to_string(in[axis]) +
                                  " on the axis \"" + helper::componentToString(static_cast<Components>(axis)) + "\".");
            }
            if (extents[axis] != in[axis] && !rules::isDivisor(spacings[axis])) {
                rules::refuse(rules::parameterText(property) + " must keep an axis without spacing.",
                              "The spacing on the axis \"" + helper::componentToString(static_cast<Components>(axis)) +
                                  "\" of " + rules::quotedName(m_rescaling.inputImage) + " is " +
                                  rules::valueToText(spacings[axis]) + ". Set the spacing.");
            }
        }
        if (extents[PLANS] != in[PLANS] && helper::areLabelsOfPlanes(input)) {
            rules::refuse(rules::parameterText(propertyOf(axes.back())) +
                              " must keep the planes of this label image as they are.",
                          "Its labels count plane by plane: the same label in the next plane is another object. Label "
                          "it in 3D, or convert it to values.");
        }
        rules::assertImageFits(extents, input.getVoxelType(), m_rescaling.getOutputImage(), names);
    }
    String describe() const override { return "must give an image that memory holds"; }

private:
    const BaseProperty& propertyOf(const AxisProperties<Rescaling>& axis) const {
        switch (m_rescaling.getMode()) {
            case ScalingMode::FACTORS: return m_rescaling.*axis.factor;
            case ScalingMode::SPACING: return m_rescaling.*axis.spacing;
            case ScalingMode::EXTENTS: break;
        }
        return m_rescaling.*axis.size;
    }

    const Rescaling& m_rescaling;
};

/// What is between labels is none.
template <class Rescaling>
class RuleScalesMeaning : public Rules<Property<int>> {
public:
    explicit RuleScalesMeaning(const Rescaling& rescaling) : m_rescaling(rescaling) {}

    void apply(Property<int>& property) override {
        using enum ScalingInterpolation;
        const ImageModel& input = *m_rescaling.getInputImage();
        const ScalingInterpolation interpolation = m_rescaling.getInterpolation();
        const String given = "It is " + getInfoScalingInterpolation().getLabelFromValue(property.get()) + "; " +
                             rules::quotedName(m_rescaling.inputImage) + " is a " +
                             helper::interpretationsToString(input.getInterpretation()) + " image.";
        if (interpolation == LABEL_MAJORITY) {
            if (!isOfClasses(input)) {
                rules::refuse(rules::parameterText(property) + " must be another one for an image of values.", given);
            }
            if (!access::contains(access::Integers{}, input.getVoxelType())) {
                rules::refuse(rules::parameterText(property) + " LABEL_MAJORITY is for labels of an integer type.",
                              rules::describeOperand({input, m_rescaling.inputImage}) + ".");
            }
        } else if (isOfClasses(input) && interpolation != AUTOMATIC && interpolation != NEAREST) {
            rules::refuse(rules::parameterText(property) +
                              " must be AUTOMATIC, NEAREST or LABEL_MAJORITY for labels and binary images: what is "
                              "between labels is none.",
                          given);
        }
    }
    String describe() const override {
        return "must be AUTOMATIC, NEAREST or LABEL_MAJORITY for label and binary images, the last only for these";
    }

private:
    const Rescaling& m_rescaling;
};

template <class Rescaling>
void declare(Rescaling& rescaling, algorithms::Properties& properties) {
    constexpr std::array<const char*, 3> things{"Columns", "Rows", "Planes"};
    constexpr auto axes = axesOf<Rescaling>();
    properties.input(rescaling.inputImage, "The image that gets other extents.", AddRulesForRealImage(),
                     AddRuleAssertPlaced());
    properties.input(rescaling.mode, "What tells the extents of the result.");
    for (std::size_t axis = 0; axis < axes.size(); ++axis) {
        const String text = String(things[axis]) + " of the result with EXTENTS; 0 keeps them.";
        properties.input(rescaling.*axes[axis].size, text.c_str(),
                         AddRuleLimitedValue<std::int64_t>(0, CHECK_GREATER_OR_EQUAL));
        properties.onlyWith(rescaling.mode, {ScalingMode::EXTENTS}, rescaling.*axes[axis].size);
    }
    for (std::size_t axis = 0; axis < axes.size(); ++axis) {
        const String text = String(things[axis]) + " become so many times as many with FACTORS.";
        rescaling.*axes[axis].factor = 1.0;
        properties.input(rescaling.*axes[axis].factor, text.c_str(), AddRuleAssertFinite(),
                         AddRuleLimitedValue<double>(0.0, CHECK_GREATER));
        properties.onlyWith(rescaling.mode, {ScalingMode::FACTORS}, rescaling.*axes[axis].factor);
    }
    for (std::size_t axis = 0; axis < axes.size(); ++axis) {
        const String text = String(things[axis]) + " get about this spacing with SPACING; 0 keeps them.";
        properties.input(rescaling.*axes[axis].spacing, text.c_str(), AddRuleAssertFinite(),
                         AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
        properties.onlyWith(rescaling.mode, {ScalingMode::SPACING}, rescaling.*axes[axis].spacing);
    }
    (rescaling.*axes.back().spacing).getImpl()->addRule(std::make_shared<RuleScaledImage<Rescaling>>(rescaling));
    properties.input(rescaling.interpolation, "How elements between those of the image are made.");
    rescaling.interpolation.getImpl()->addRule(std::make_shared<RuleScalesMeaning<Rescaling>>(rescaling));
    rescaling.setAntiAliasing(AntiAliasing::YES);
    properties.input(rescaling.antiAliasing, "Whether axes are smoothed before they become shorter.");
    properties.border(rescaling.borderPolicy, rescaling.borderValue);
    declareOutput(
        properties, rescaling.outputImage, "The image with its new extents.",
        [&rescaling] { return headerOfRescaled(rescaling); }, rescaling.inputImage);
}

template <class Rescaling>
void process(Rescaling& rescaling, OptimLevelType level) {
    const ImageModel& input = *rescaling.getInputImage();
    ImageModel& output = *rescaling.getOutputImage();
    const ImageScales scales = scalesOf(rescaling);
    switch (wayOf(rescaling)) {
        case Way::Nearest: scaleNearest(rescaling.executionContext(), input, output, scales); break;
        case Way::Majority: scaleByMajority(rescaling.executionContext(), input, output, scales); break;
        case Way::Sums: scaleImage(rescaling.executionContext(), input, output, scales, level); break;
    }
}

template <class Rescaling>
std::size_t memoryOf(const Rescaling& rescaling) {
    const ImageModel& input = *rescaling.getInputImage();
    const ImageScales scales = scalesOf(rescaling);
    const std::size_t threads = rescaling.getMaximumThreads();
    switch (wayOf(rescaling)) {
        case Way::Nearest: return nearestMemory(input, scales, threads);
        case Way::Majority: return majorityMemory(input, scales, threads);
        case Way::Sums: break;
    }
    return scalingMemory(input, scales, threads);
}

template <class Rescaling>
constexpr algorithms::Definition<Rescaling> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Geometry,
        .declare = &declare<Rescaling>,
        .process = &process<Rescaling>,
        .memory = &memoryOf<Rescaling>,
    };
}

constexpr auto ofPlanes = definitionOf<Rescale2d>("Gives planes other extents.");
constexpr auto ofVolumes = definitionOf<Rescale3d>("Gives volumes other extents.");

}  // namespace

const EnumInfo& getInfoScalingMode() {
    static const EnumInfo info("ScalingMode", "EXTENTS = 0, FACTORS, SPACING");
    return info;
}

const EnumInfo& getInfoScalingInterpolation() {
    static const EnumInfo info("ScalingInterpolation",
                               "AUTOMATIC = 0, NEAREST, LINEAR, CUBIC_BSPLINE, LANCZOS, AREA, LABEL_MAJORITY");
    return info;
}

const EnumInfo& getInfoAntiAliasing() {
    static const EnumInfo info("AntiAliasing", "NO = 0, YES");
    return info;
}

RIX_DEFINE_ALGORITHM(Rescale2d, ofPlanes)
RIX_DEFINE_ALGORITHM(Rescale3d, ofVolumes)

}  // namespace rix::geometry
