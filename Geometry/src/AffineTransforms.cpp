// Both affine transforms: that of planes has one angle and no third axis.

#include <rix/access/VoxelTypeLists.h>
#include <rix/geometry/AffineTransform2d.h>
#include <rix/geometry/AffineTransform3d.h>
#include <rix/image/ImageDetails.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/SizeRules.h>

#include "Mapped.h"
#include "PlaceProperties.h"
#include "World.h"
#include "WorldTransform.h"
#include "resampling/PlaceSampling.h"

namespace rix::geometry {

namespace {

constexpr std::size_t largestExtent = 0x7fffffff;

template <class Transform>
constexpr bool isOfVolumes = requires(Transform& transform) { transform.scaleZ; };

template <class Transform>
constexpr std::size_t axesOf = isOfVolumes<Transform> ? 3 : 2;

template <class Transform>
TurnAndScale partsOf(const Transform& transform) {
    TurnAndScale parts;
    parts.translation = {transform.getTranslationX(), transform.getTranslationY(), 0.0};
    parts.scales = {transform.getScaleX(), transform.getScaleY(), 1.0};
    if constexpr (isOfVolumes<Transform>) {
        parts.translation[2] = transform.getTranslationZ();
        parts.scales[2] = transform.getScaleZ();
        parts.angles = {transform.getAngleX(), transform.getAngleY(), transform.getAngleZ()};
    } else {
        parts.angles[2] = transform.getAngle();
    }
    return parts;
}

template <class Transform>
TransformJob jobOf(const Transform& transform) {
    TransformJob job;
    job.axes = axesOf<Transform>;
    job.isBackward = transform.getDirection() == TransformDirection::BACKWARD;
    const String text = transform.getMatrix();
    if (text.empty()) {
        job.transform = transformOf(partsOf(transform));
        job.isAboutImage = transform.getCenter() == TransformCenter::IMAGE;
    } else {
        job.transform = readTransform(text, job.axes).value_or(WorldTransform());
    }
    return job;
}

/// The header of the output.
template <class Transform>
ImageHeader gridOf(const Transform& transform) {
    const ImageHeader input = placedHeader(*transform.getInputImage());
    ImageHeader header = input;
    if (transform.getGrid() == TransformGrid::FIT) {
        header = fittingGrid(input, jobOf(transform));
    } else if (transform.getGrid() == TransformGrid::REFERENCE) {
        takeGrid(header, placedHeader(*transform.getInputReferenceImage()));
    }
    header.spatialFrame = std::nullopt;
    return header;
}

template <class Transform>
PlaceJob placesOf(const Transform& transform) {
    const ImageModel& input = *transform.getInputImage();
    PlaceJob job;
    job.map = placesIn(placedHeader(input), gridOf(transform), jobOf(transform));
    job.axes = axesOf<Transform>;
    job.degree = degreeOf(transform.getInterpolation(), input);
    job.border = transform.getBorderPolicy();
    job.borderValue = transform.getBorderValue();
    return job;
}

template <class Transform>
class RuleIsMatrix : public Rules<Property<String>> {
public:
    bool isIndividual() const override { return true; }
    void apply(Property<String>& property) override {
        const String& text = property.get();
        if (!text.empty() && !readTransform(text, axesOf<Transform>).has_value()) {
            rules::refuse(rules::parameterText(property) + ' ' + describe() + '.', "It is \"" + text + "\".");
        }
    }
    String describe() const override {
        return isOfVolumes<Transform> ? "must be empty or a matrix by rows, \"a,b,c,tx;d,e,f,ty;g,h,i,tz\""
                                      : "must be empty or a matrix by rows, \"a,b,tx;c,d,ty\"";
    }
};

/// The names of what the transform is made of, for messages.
template <class Transform>
String namesOf(const Transform& transform) {
    if (!transform.getMatrix().empty()) {
        return "\"matrix\"";
    }
    return isOfVolumes<Transform>
               ? "\"translationX\", \"translationY\", \"translationZ\", \"angleX\", \"angleY\", \"angleZ\", "
                 "\"scaleX\", \"scaleY\" and \"scaleZ\""
               : "\"translationX\", \"translationY\", \"angle\", \"scaleX\" and \"scaleY\"";
}

/// On the reference image, behind all that the grid depends on.
template <class Transform>
class RuleTransformsImage : public Rules<Property<const ImageModel*>> {
public:
    explicit RuleTransformsImage(const Transform& transform) : m_transform(transform) {}

    void apply(Property<const ImageModel*>& property) override {
        const ImageModel& input = *m_transform.getInputImage();
        const ImageHeader header = placedHeader(input);
        assertSpans(input, m_transform.inputImage, axesOf<Transform>);
        if (!isInvertible(jobOf(m_transform).transform)) {
            rules::refuse(namesOf(m_transform) + " must make a finite transform that has an inverse.");
        }
        if (m_transform.getGrid() == TransformGrid::REFERENCE) {
            if (property.get() == nullptr) {
                rules::refuse(rules::parameterText(property) + " must be set when " +
                              rules::quotedName(m_transform.grid) + " is REFERENCE.");
            }
            assertSpans(*property.get(), property, axesOf<Transform>);
            if (!isOfVolumes<Transform> && property.get()->getNumOf(PLANS) != header.extents[PLANS]) {
                rules::refuse(rules::parameterText(property) + " must have as many planes as " +
                                  rules::quotedName(m_transform.inputImage) + ", whose planes are moved by themselves.",
                              rules::describeOperand({*property.get(), property}) + "; " +
                                  rules::describeOperand({input, m_transform.inputImage}) + ".");
            }
        }
        const ImageHeader grid = gridOf(m_transform);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (std::max(grid.extents[axis], header.extents[axis]) > largestExtent) {
                rules::refuse(namesOf(m_transform) + " must give at most " + std::to_string(largestExtent) +
                              " elements on each axis, from no more.");
            }
        }
        if (!placesAreNear(placesIn(header, grid, jobOf(m_transform)), grid.extents)) {
            rules::refuse(namesOf(m_transform) + " must leave the image within reach.",
                          "The image would lie more than 2^40 elements away, or be none.");
        }
        rules::assertImageFits(grid.extents, input.getVoxelType(), m_transform.getOutputImage(),
                               "what makes the transform: " + namesOf(m_transform));
    }
    String describe() const override { return "must be set when grid is REFERENCE"; }

private:
    const Transform& m_transform;
};

template <class Transform>
void declare(Transform& transform, algorithms::Properties& properties) {
    const auto number = [&](Property<double>& property, const char* description) {
        properties.input(property, description, AddRuleAssertFinite());
    };
    const auto scale = [&](Property<double>& property, const char* description) {
        property = 1.0;
        properties.input(property, description, AddRuleAssertFinite());
    };
    properties.input(transform.inputImage, "The image that is moved.", AddRulesForRealImage(), AddRuleAssertPlaced());
    properties.input(transform.matrix, isOfVolumes<Transform>
                                           ? "The transform as a matrix of the world, \"a,b,c,tx;d,e,f,ty;g,h,i,tz\"."
                                           : "The transform as a matrix of the world, \"a,b,tx;c,d,ty\".");
    transform.matrix.getImpl()->addRule(std::make_shared<RuleIsMatrix<Transform>>());
    properties.input(transform.direction, "Whether the transform moves things, or tells where they come from.");
    number(transform.translationX, "How far things are moved along x, in the unit of the image.");
    number(transform.translationY, "How far things are moved along y, in the unit of the image.");
    if constexpr (isOfVolumes<Transform>) {
        number(transform.translationZ, "How far things are moved along z, in the unit of the image.");
        number(transform.angleX, "Degrees by which things are turned from y to z.");
        number(transform.angleY, "Degrees by which things are turned from z to x.");
        number(transform.angleZ, "Degrees by which things are turned from x to y.");
    } else {
        number(transform.angle, "Degrees by which things are turned from x to y.");
    }
    scale(transform.scaleX, "By how much things are stretched along x.");
    scale(transform.scaleY, "By how much things are stretched along y.");
    if constexpr (isOfVolumes<Transform>) {
        scale(transform.scaleZ, "By how much things are stretched along z.");
    }
    properties.input(transform.center, "About what things are turned and stretched.");
    properties.input(transform.grid, "Where the elements of the result are.");
    properties.input(transform.inputReferenceImage, "Where the elements of the result are with REFERENCE.",
                     AddRuleWhenSet(AddRuleAssertSingleElement()), AddRuleWhenSet(AddRuleAssertIntegerOrFloating()),
                     AddRuleWhenSet(AddRuleAssertImageNotEmpty()), AddRuleWhenSet(AddRuleAssertPlaced()));
    properties.onlyWith(transform.grid, {TransformGrid::REFERENCE}, transform.inputReferenceImage);
    transform.inputReferenceImage.getImpl()->addRule(std::make_shared<RuleTransformsImage<Transform>>(transform));
    properties.input(transform.interpolation, "How samples between elements are found.");
    transform.interpolation.getImpl()->addRule(
        std::make_shared<RuleSamplesMeaning>(transform.inputImage, isOfVolumes<Transform>));
    transform.setBorderPolicy(access::BorderPolicy::FIXED);
    properties.border(transform.borderPolicy, transform.borderValue);
    properties.output(transform.outputImage, "The moved image.", AddRuleAssertNotNull(),
                      AddRuleDisjointFrom(transform.inputImage),
                      AddRuleWhenSet(transform.inputReferenceImage, AddRuleDisjointFrom(transform.inputReferenceImage)),
                      AddRuleEnforceHeader([&transform] { return gridOf(transform); },
                                           "the elements that grid tells, and the rest from inputImage"));
}

template <class Transform>
void process(Transform& transform, OptimLevelType level) {
    samplePlaces(transform.executionContext(), *transform.getInputImage(), *transform.getOutputImage(),
                 placesOf(transform), level);
}

template <class Transform>
std::size_t memoryOf(const Transform& transform) {
    return placeSamplingMemory(*transform.getInputImage(), gridOf(transform).extents, placesOf(transform),
                               transform.getMaximumThreads());
}

template <class Transform>
constexpr algorithms::Definition<Transform> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Geometry,
        .declare = &declare<Transform>,
        .process = &process<Transform>,
        .memory = &memoryOf<Transform>,
    };
}

constexpr auto ofPlanes = definitionOf<AffineTransform2d>("Moves, turns and scales what is in planes.");
constexpr auto ofVolumes = definitionOf<AffineTransform3d>("Moves, turns and scales what is in volumes.");

}  // namespace

void AffineTransform2d::setMatrix(const std::array<double, 6>& rows) {
    setMatrix(writeTransform(rows.data(), 2));
}

void AffineTransform3d::setMatrix(const std::array<double, 12>& rows) {
    setMatrix(writeTransform(rows.data(), 3));
}

const EnumInfo& getInfoTransformDirection() {
    static const EnumInfo info("TransformDirection", "FORWARD = 0, BACKWARD");
    return info;
}

const EnumInfo& getInfoTransformCenter() {
    static const EnumInfo info("TransformCenter", "IMAGE = 0, ORIGIN");
    return info;
}

const EnumInfo& getInfoTransformGrid() {
    static const EnumInfo info("TransformGrid", "INPUT = 0, REFERENCE, FIT");
    return info;
}

const EnumInfo& getInfoPlaceInterpolation() {
    static const EnumInfo info("PlaceInterpolation",
                               "AUTOMATIC = 0, NEAREST, LINEAR, QUADRATIC_BSPLINE, CUBIC_BSPLINE, QUARTIC_BSPLINE, "
                               "QUINTIC_BSPLINE");
    return info;
}

RIX_DEFINE_ALGORITHM(AffineTransform2d, ofPlanes)
RIX_DEFINE_ALGORITHM(AffineTransform3d, ofVolumes)

}  // namespace rix::geometry
