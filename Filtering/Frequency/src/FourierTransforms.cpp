// The transforms of planes and volumes: forward rows first, back rows last, so that half spectra are real at the ends.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/Definition.h>
#include <rix/filtering/frequency/FourierTransform2d.h>
#include <rix/filtering/frequency/FourierTransform3d.h>
#include <rix/filtering/frequency/InverseFourierTransform2d.h>
#include <rix/filtering/frequency/InverseFourierTransform3d.h>
#include <rix/rules/SpacingRules.h>
#include <rix/rules/When.h>

#include "FourierGeometry.h"
#include "FourierPasses.h"

namespace rix::filtering::frequency {

namespace {

template <class Transform>
constexpr bool isInverse =
    std::is_same_v<Transform, InverseFourierTransform2d> || std::is_same_v<Transform, InverseFourierTransform3d>;

template <class Transform>
constexpr std::size_t axesOf =
    std::is_same_v<Transform, FourierTransform3d> || std::is_same_v<Transform, InverseFourierTransform3d> ? 3 : 2;

bool hasSpacing(const ImageModel& image) {
    return image.getSpacingOf(COLUMNS) != 0.0 || image.getSpacingOf(ROWS) != 0.0 || image.getSpacingOf(PLANS) != 0.0;
}

template <class Transform>
std::size_t columnsOf(const Transform& transform) {
    return columnsOfSamples(*transform.getInputImage(), transform.getLayout(),
                            static_cast<std::size_t>(transform.getSizeX()));
}

/// Only a real image is told by half of its spectrum.
template <class Transform>
class RuleLayout : public Rules<Property<int>> {
public:
    explicit RuleLayout(const Transform& transform) : m_transform(transform) {}
    void apply(Property<int>& property) override {
        const ImageModel* const image = m_transform.getInputImage();
        if (image != nullptr && isComplex(*image) && m_transform.getLayout() == SpectrumLayout::HALF) {
            rules::refuse(rules::parameterText(property) +
                          " is HALF, but half a spectrum is enough of real images only: " +
                          rules::quotedName(m_transform.inputImage) + " is complex and needs FULL.");
        }
    }
    String describe() const override { return "must be FULL for a complex image"; }

private:
    const Transform& m_transform;
};

/// The columns of the result are those of which the spectrum is the half.
template <class Transform>
class RuleColumns : public Rules<Property<std::int64_t>> {
public:
    explicit RuleColumns(const Transform& transform) : m_transform(transform) {}
    void apply(Property<std::int64_t>& property) override {
        const ImageModel* const image = m_transform.getInputImage();
        if (image == nullptr) {
            return;
        }
        const std::size_t columns = image->getNumOf(COLUMNS);
        const auto asked = static_cast<std::size_t>(property.get());
        const String has = "The spectrum has " + std::to_string(columns) + " columns";
        if (m_transform.getLayout() == SpectrumLayout::FULL) {
            if (asked != 0 && asked != columns) {
                rules::refuse(
                    rules::parameterText(property) + " must be 0 or the number of columns for the layout FULL.",
                    has + ", sizeX is " + std::to_string(asked) + ".");
            }
            return;
        }
        const auto frame = helper::getSpatialFrame(*image);
        const std::size_t kept = frame ? frame->columns : 0;
        if (asked != 0 && asked / 2 + 1 != columns) {
            rules::refuse(
                rules::parameterText(property) + " must be a number of columns of which it is the half spectrum.",
                has + ", those of " + std::to_string(asked) + " columns " + std::to_string(asked / 2 + 1) + ".");
        }
        if (asked == 0 && kept != 0 && kept / 2 + 1 != columns) {
            rules::refuse(rules::parameterText(property) + " must be given, or the layout be FULL.",
                          has + ", but was made of an image of " + std::to_string(kept) + " columns.");
        }
    }
    String describe() const override {
        return "must be 0 or a number of columns that has a half spectrum of the input's columns";
    }

private:
    const Transform& m_transform;
};

template <class Transform>
void declare(Transform& transform, algorithms::Properties& properties) {
    constexpr bool inverse = isInverse<Transform>;
    properties.input(transform.inputImage, inverse ? "The spectrum." : "The image that is transformed.",
                     AddRulesForScalarImage(),
                     AddRuleWhen(
                         "unless all spacings are 0", [&transform] { return hasSpacing(*transform.getInputImage()); },
                         AddRuleAssertSpacing(axesOf<Transform>)));
    properties.input(transform.layout,
                     inverse ? "How much of the spectrum there is." : "How much of the spectrum to make.");
    properties.input(transform.origin, "Where the coefficient of frequency 0 lies.");
    properties.input(transform.scaling, "Which way sums are divided by the number of samples.");
    if constexpr (inverse) {
        properties.input(transform.result, "Whether the real part is made, or all of the result.");
        properties.input(transform.sizeX, "Columns of the result; 0: as the spectrum tells, or an even number.",
                         AddRuleLimitedValue<std::int64_t>(0, CHECK_GREATER_OR_EQUAL),
                         AddRuleLimitedValue<std::int64_t>(std::int64_t{1} << 40, CHECK_LOWER_OR_EQUAL));
        transform.sizeX.getImpl()->addRule(std::make_shared<RuleColumns<Transform>>(transform));
    } else {
        transform.layout.getImpl()->addRule(std::make_shared<RuleLayout<Transform>>(transform));
    }
    properties.output(
        transform.outputImage, inverse ? "The image." : "The spectrum.", AddRuleAssertNotNull(),
        AddRuleDisjointFrom(transform.inputImage),
        AddRuleEnforceHeader(
            [&transform] {
                const ImageModel& input = *transform.getInputImage();
                if constexpr (inverse) {
                    return headerOfSamples(input, axesOf<Transform>, columnsOf(transform), transform.getResult());
                } else {
                    return headerOfSpectrum(input, axesOf<Transform>, transform.getLayout(), transform.getOrigin());
                }
            },
            "extents and calibration that follow from the input"));
}

/// Which sums are divided by the number of samples, and by what, on this way.
template <class Transform>
double scaleOf(const Transform& transform, const ImageModel& samples) {
    double count = 1.0;
    for (std::size_t axis = 0; axis < axesOf<Transform>; ++axis) {
        count *= static_cast<double>(samples.getNumOf(static_cast<Components>(axis)));
    }
    const FourierScaling scaling = transform.getScaling();
    if (scaling == FourierScaling::ORTHONORMAL) {
        return 1.0 / std::sqrt(count);
    }
    return (scaling == FourierScaling::BACKWARD) == isInverse<Transform> ? 1.0 / count : 1.0;
}

template <class Real, class Transform>
void forward(Transform& transform) {
    const ImageModel& input = *transform.getInputImage();
    ImageModel& output = *transform.getOutputImage();
    access::ExecutionContext& context = transform.executionContext();
    const bool centered = transform.getOrigin() == SpectrumOrigin::CENTER;
    const double scale = scaleOf(transform, input);
    constexpr std::size_t axes = axesOf<Transform>;
    const access::Steps steps(context, axes);
    transformPlanesForward<Real>(context, input, output,
                                 {.centered = centered && transform.getLayout() == SpectrumLayout::FULL},
                                 {.axis = ROWS, .centered = centered, .scale = axes == 2 ? scale : 1.0});
    if constexpr (axes == 3) {
        transformAcross<Real>(context, output, output, {.axis = PLANS, .centered = centered, .scale = scale});
    }
}

template <class Real, class Transform>
void backward(Transform& transform) {
    const ImageModel& input = *transform.getInputImage();
    ImageModel& output = *transform.getOutputImage();
    access::ExecutionContext& context = transform.executionContext();
    const bool half = transform.getLayout() == SpectrumLayout::HALF;
    const bool centered = transform.getOrigin() == SpectrumOrigin::CENTER;
    constexpr std::size_t axes = axesOf<Transform>;
    const access::Steps steps(context, axes);
    const auto through = [&](ImageModel& spectrum) {
        const ImageModel* from = &input;
        if constexpr (axes == 3) {
            transformAcross<Real>(context, input, spectrum, {.axis = PLANS, .backward = true, .centered = centered});
            from = &spectrum;
        }
        transformPlanesBackward<Real>(
            context, *from, spectrum, output, half, {.axis = ROWS, .backward = true, .centered = centered},
            {.backward = true, .centered = centered && !half, .scale = scaleOf(transform, output)});
    };
    if (!half && isComplex(output)) {
        through(output);
    } else {
        access::TemporaryImage spectrum(input, spectrumTypeOf(input.getVoxelType()));
        through(spectrum.image());
    }
}

template <class Transform>
void process(Transform& transform, OptimLevelType /*level*/) {
    const bool wide = spectrumTypeOf(transform.getInputImage()->getVoxelType()) == RIX_COMPLEX_FLOAT64;
    if constexpr (isInverse<Transform>) {
        wide ? backward<double>(transform) : backward<float>(transform);
    } else {
        wide ? forward<double>(transform) : forward<float>(transform);
    }
}

template <class Transform>
std::size_t memoryOf(const Transform& transform) {
    const ImageModel& input = *transform.getInputImage();
    const VoxelTypes type = spectrumTypeOf(input.getVoxelType());
    std::size_t columns = input.getNumOf(COLUMNS);
    std::size_t bytes = 0;
    if constexpr (isInverse<Transform>) {
        columns = columnsOf(transform);
        if (transform.getLayout() == SpectrumLayout::HALF || transform.getResult() == InverseResult::REAL) {
            bytes = access::TemporaryImage::bytes(input, type);
        }
    }
    const std::size_t threads = transform.getMaximumThreads();
    return bytes + (type == RIX_COMPLEX_FLOAT64 ? passBytes<double>(input, columns, axesOf<Transform>, threads)
                                                : passBytes<float>(input, columns, axesOf<Transform>, threads));
}

template <class Transform>
constexpr algorithms::Definition<Transform> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Reduction,
        .declare = &declare<Transform>,
        .process = &process<Transform>,
        .memory = &memoryOf<Transform>,
    };
}

constexpr auto ofPlanes = definitionOf<FourierTransform2d>("Computes the Fourier transform of each plane.");
constexpr auto ofVolumes = definitionOf<FourierTransform3d>("Computes the Fourier transform of each volume.");
constexpr auto backToPlanes =
    definitionOf<InverseFourierTransform2d>("Computes the inverse Fourier transform of each plane.");
constexpr auto backToVolumes =
    definitionOf<InverseFourierTransform3d>("Computes the inverse Fourier transform of each volume.");

}  // namespace

RIX_DEFINE_ALGORITHM(FourierTransform2d, ofPlanes)
RIX_DEFINE_ALGORITHM(FourierTransform3d, ofVolumes)
RIX_DEFINE_ALGORITHM(InverseFourierTransform2d, backToPlanes)
RIX_DEFINE_ALGORITHM(InverseFourierTransform3d, backToVolumes)

}  // namespace rix::filtering::frequency
