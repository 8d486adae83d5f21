#include "ElementProperties.h"

#include <cmath>
#include <utility>

#include <rix/access/VoxelTypeLists.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/ValueRules.h>

namespace rix::morphology {

namespace {

constexpr std::int32_t largestSize = 10001;
constexpr std::int32_t largestOffset = 10000;
constexpr double largestRadius = 1000.0;

/// The choices by the same names for both kinds of classes.
template <class Owner>
struct Choices {
    using Type = typename Owner::StructuringElement;
    static constexpr Type box = static_cast<Type>(StructuringElement3DType::BOX);
    static constexpr Type ball = static_cast<Type>(StructuringElement3DType::BALL);
    static constexpr Type octahedron = static_cast<Type>(StructuringElement3DType::OCTAHEDRON);
    static constexpr Type line = static_cast<Type>(StructuringElement3DType::LINE);
    static constexpr Type image = static_cast<Type>(StructuringElement3DType::IMAGE);
};

template <class Owner>
bool isRound(const Owner& owner) {
    return owner.getStructuringElement() == Choices<Owner>::ball ||
           owner.getStructuringElement() == Choices<Owner>::octahedron;
}

template <class Owner>
double voxelsOf(const Owner& owner, const SpacingOf& spacingOf, Components axis) {
    return owner.getLengthUnit() == Owner::WORLD ? owner.getRadius() / std::fabs(spacingOf(axis)) : owner.getRadius();
}

template <class Owner>
constexpr std::size_t axesOf = ofVolumes<Owner> ? 3 : 2;

template <class Owner>
class RuleRadius : public Rules<Property<double>> {
public:
    RuleRadius(const Owner& owner, SpacingOf spacingOf) : m_owner(owner), m_spacingOf(std::move(spacingOf)) {}

    void apply(Property<double>& property) override {
        if (!isRound(m_owner)) {
            return;
        }
        RuleAssertFinite<double>().apply(property);
        RuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL).apply(property);
        for (std::size_t axis = 0; axis < axesOf<Owner>; ++axis) {
            const auto component = static_cast<Components>(axis);
            if (m_owner.getLengthUnit() == Owner::WORLD) {
                algorithms::assertSpacingFor(property, m_spacingOf(component));
            }
            algorithms::assertVoxelsOf(property, voxelsOf(m_owner, m_spacingOf, component), largestRadius);
        }
    }
    String describe() const override {
        return "for a round element, must be a length from 0 to " + rules::valueToText(largestRadius) + " voxels";
    }

private:
    const Owner& m_owner;
    SpacingOf m_spacingOf;
};

/// Of an element image that is needed: not too large, and with something in it.
class RuleElementVoxels : public Rules<Property<const ImageModel*>> {
public:
    void apply(Property<const ImageModel*>& property) override {
        const ImageModel& image = *property.get();
        for (const Components axis : {COLUMNS, ROWS, PLANS}) {
            if (image.getNumOf(axis) > static_cast<std::size_t>(largestSize)) {
                rules::refuse(rules::parameterText(property) + " must have at most " + std::to_string(largestSize) +
                                  " voxels along an axis.",
                              "It has " + std::to_string(image.getNumOf(axis)) + '.');
            }
        }
        if (!Element::isIn(image)) {
            rules::refuse(rules::parameterText(property) + " must have a voxel that is not 0.");
        }
    }
    String describe() const override { return "must have a voxel that is not 0"; }
};

struct AddRuleElementVoxels {
    std::shared_ptr<Rules<Property<const ImageModel*>>> operator()(Property<const ImageModel*>& property) const {
        const std::shared_ptr<Rules<Property<const ImageModel*>>> rule = std::make_shared<RuleElementVoxels>();
        property.getImpl()->addRule(rule);
        return rule;
    }
};

template <class Owner>
void declareFor(Owner& owner, algorithms::Properties& properties) {
    properties.input(owner.structuringElement, "The shape of the structuring element.");
    const auto size = [&](Property<std::int32_t>& property, const char* description) {
        property = 3;
        properties.input(property, description,
                         AddRuleInRange<std::int32_t>(1, largestSize, Bound::Included, Bound::Included));
    };
    const auto offset = [&](Property<std::int32_t>& property, const char* description) {
        properties.input(property, description,
                         AddRuleInRange<std::int32_t>(-largestOffset, largestOffset, Bound::Included, Bound::Included));
    };
    size(owner.kernelSizeX, ofVolumes<Owner> ? "Columns of a box." : "Columns of a rectangle.");
    size(owner.kernelSizeY, ofVolumes<Owner> ? "Rows of a box." : "Rows of a rectangle.");
    if constexpr (ofVolumes<Owner>) {
        size(owner.kernelSizeZ, "Planes of a box.");
    }
    properties.onlyWith(owner.structuringElement, {Choices<Owner>::box}, owner.kernelSizeX, owner.kernelSizeY);
    if constexpr (ofVolumes<Owner>) {
        properties.onlyWith(owner.structuringElement, {Choices<Owner>::box}, owner.kernelSizeZ);
    }
    owner.radius = 1.0;
    properties.input(owner.radius, ofVolumes<Owner> ? "Of a ball or an octahedron." : "Of a disc or a diamond.");
    properties.input(owner.lengthUnit, "Whether the radius is in voxels or in the image's unit.");
    properties.onlyWith(owner.structuringElement, {Choices<Owner>::ball, Choices<Owner>::octahedron}, owner.radius,
                        owner.lengthUnit);
    offset(owner.lineX, "Columns from the origin to the far end of a line.");
    offset(owner.lineY, "Rows from the origin to the far end of a line.");
    if constexpr (ofVolumes<Owner>) {
        offset(owner.lineZ, "Planes from the origin to the far end of a line.");
    }
    properties.onlyWith(owner.structuringElement, {Choices<Owner>::line}, owner.lineX, owner.lineY);
    if constexpr (ofVolumes<Owner>) {
        properties.onlyWith(owner.structuringElement, {Choices<Owner>::line}, owner.lineZ);
    }
    const std::function<bool()> isImage = [&owner] { return owner.getStructuringElement() == Choices<Owner>::image; };
    const auto forImage = [&isImage](const auto& adder) { return AddRuleWhen("for IMAGE", isImage, adder); };
    constexpr ImageDimension dimension = ofVolumes<Owner> ? ImageDimension::Any : ImageDimension::Only2d;
    properties.input(owner.inputElementImage, "The element itself, where that is an image: what is not 0.",
                     forImage(AddRuleAssertNotNull()), forImage(AddRuleAssertSingleElement()),
                     forImage(AddRuleAssertIntegerOrFloating()), forImage(AddRuleAssertImageNotEmpty()),
                     forImage(AddRuleAssertDimension(dimension, AxisUse::Refused, AxisUse::Refused)),
                     forImage(AddRuleElementVoxels()));
    properties.onlyWith(owner.structuringElement, {Choices<Owner>::image}, owner.inputElementImage);
}

template <class Owner>
Element elementFor(const Owner& owner, const SpacingOf& spacingOf) {
    const auto chosen = owner.getStructuringElement();
    if (isRound(owner)) {
        std::array<double, 3> radii{};
        for (std::size_t axis = 0; axis < axesOf<Owner>; ++axis) {
            radii[axis] = voxelsOf(owner, spacingOf, static_cast<Components>(axis));
        }
        return chosen == Choices<Owner>::ball ? Element::ofBall(radii, axesOf<Owner>)
                                              : Element::ofOctahedron(radii, axesOf<Owner>);
    }
    if (chosen == Choices<Owner>::image) {
        return Element::ofImage(*owner.getInputElementImage());
    }
    Offset numbers{0, 0, 0};
    const bool isLine = chosen == Choices<Owner>::line;
    numbers[0] = isLine ? owner.getLineX() : owner.getKernelSizeX();
    numbers[1] = isLine ? owner.getLineY() : owner.getKernelSizeY();
    if constexpr (ofVolumes<Owner>) {
        numbers[2] = isLine ? owner.getLineZ() : owner.getKernelSizeZ();
    } else {
        numbers[2] = isLine ? 0 : 1;
    }
    return isLine ? Element::ofLine(numbers) : Element::ofBox(numbers);
}

template <class Owner>
std::optional<Element> drawnFor(const Owner& owner) {
    const ImageModel* const image = owner.getInputElementImage();
    if (owner.getStructuringElement() != Choices<Owner>::image || image == nullptr ||
        image->getElementType() != SINGLE || !access::contains(access::Reals{}, image->getVoxelType())) {
        return std::nullopt;
    }
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        if (image->getNumOf(axis) > static_cast<std::size_t>(largestSize)) {
            return std::nullopt;
        }
    }
    return Element::ofImage(*image);
}

}  // namespace

const EnumInfo& getInfoStructuringElement2DType() {
    static const EnumInfo info("StructuringElement", "RECTANGLE = 0, DISK, DIAMOND, LINE, IMAGE");
    return info;
}

const EnumInfo& getInfoStructuringElement3DType() {
    static const EnumInfo info("StructuringElement", "BOX = 0, BALL, OCTAHEDRON, LINE, IMAGE");
    return info;
}

const EnumInfo& getInfoElementBorderPolicy() {
    static const EnumInfo info("BorderPolicy", "NEUTRAL = 0, MIRROR, CONTINUE, FIXED");
    return info;
}

ElementOwner2d::ElementOwner2d(algorithms::AbstractPrivateImplementation* implementation)
    : BaseAlgorithm(implementation) {}
ElementOwner2d::~ElementOwner2d() = default;
ElementOwner3d::ElementOwner3d(algorithms::AbstractPrivateImplementation* implementation)
    : BaseAlgorithm(implementation) {}
ElementOwner3d::~ElementOwner3d() = default;
ElementFilter2d::ElementFilter2d(algorithms::AbstractPrivateImplementation* implementation)
    : ElementOwner2d(implementation) {}
ElementFilter2d::~ElementFilter2d() = default;
ElementFilter3d::ElementFilter3d(algorithms::AbstractPrivateImplementation* implementation)
    : ElementOwner3d(implementation) {}
ElementFilter3d::~ElementFilter3d() = default;

void declareElement(ElementOwner2d& owner, algorithms::Properties& properties) {
    declareFor(owner, properties);
}
void declareElement(ElementOwner3d& owner, algorithms::Properties& properties) {
    declareFor(owner, properties);
}

void addRadiusRule(ElementOwner2d& owner, SpacingOf spacingOf) {
    owner.radius.getImpl()->addRule(std::make_shared<RuleRadius<ElementOwner2d>>(owner, std::move(spacingOf)));
}
void addRadiusRule(ElementOwner3d& owner, SpacingOf spacingOf) {
    owner.radius.getImpl()->addRule(std::make_shared<RuleRadius<ElementOwner3d>>(owner, std::move(spacingOf)));
}

std::optional<Element> drawnElement(const ElementOwner2d& owner) {
    return drawnFor(owner);
}
std::optional<Element> drawnElement(const ElementOwner3d& owner) {
    return drawnFor(owner);
}

Element elementOf(const ElementOwner2d& owner, const SpacingOf& spacingOf) {
    return elementFor(owner, spacingOf);
}
Element elementOf(const ElementOwner3d& owner, const SpacingOf& spacingOf) {
    return elementFor(owner, spacingOf);
}

}  // namespace rix::morphology
