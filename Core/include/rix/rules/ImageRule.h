#pragma once

#include <concepts>
#include <memory>
#include <utility>

#include <rix/image/ImageModel.h>
#include <rix/rules/RuleSupport.h>

/// How rules reach the images that properties hold, and the one rule class over image properties.
namespace rix::rules {

/// How a rule reaches the image that a property's value stands for. `open` gives an image that lives as long as the
/// returned pointer and the value; null for an unset value.
template <class T>
struct ImageAccess;

template <>
struct ImageAccess<const ImageModel*> {
    using Image = const ImageModel;
    // Sharing with nobody: the caller of the algorithm owns the image.
    static std::shared_ptr<Image> open(const ImageModel* value) { return {std::shared_ptr<void>(), value}; }
};

template <>
struct ImageAccess<ImageModel*> {
    using Image = ImageModel;
    static std::shared_ptr<Image> open(ImageModel* value) { return {std::shared_ptr<void>(), value}; }
};

/// A value type that stands for an image.
template <class T>
concept ImageValue = requires(const T& value) { ImageAccess<T>::open(value); };

/// The image of a property. @throws RuleException when the property is unset.
template <ImageValue T>
std::shared_ptr<typename ImageAccess<T>::Image> openImage(const Property<T>& property) {
    auto image = ImageAccess<T>::open(property.get());
    if (image == nullptr) {
        refuseUnset(property);
    }
    return image;
}

/// True when two images are one object, or start at the same address of memory.
RIX_EXPORT bool isSameImage(const ImageModel& a, const ImageModel& b);

/// An image property that a rule compares with, whatever its value type. The property outlives the reference: both
/// belong to the same algorithm.
class RIX_EXPORT ImageReference {
public:
    template <ImageValue T>
    ImageReference(const Property<T>& property)  // NOLINT: rules take the property itself
        : m_property(&property), m_open([](const BaseProperty& base) -> std::shared_ptr<const ImageModel> {
              return openImage(static_cast<const Property<T>&>(base));
          }) {}

    /// The image that the property holds now. @throws RuleException when it is unset.
    std::shared_ptr<const ImageModel> open() const { return m_open(*m_property); }
    const BaseProperty& property() const { return *m_property; }

private:
    const BaseProperty* m_property;
    std::shared_ptr<const ImageModel> (*m_open)(const BaseProperty&);
};

/// An image with the property that holds it.
struct ImageOperand {
    const ImageModel& image;
    const BaseProperty& property;
};

/// An image that a rule may change, with the property that holds it.
struct OutputOperand {
    ImageModel& image;
    const BaseProperty& property;

    operator ImageOperand() const { return {image, property}; }  // NOLINT: an output can be looked at
};

/// `"inputImage" is (384, 303, 1, 1, 1, scalar, uint8, value)`
RIX_EXPORT String describeOperand(const ImageOperand& operand);

/// A rule on a property that holds an image.
///
/// What the rule requires is `Requirement`, written once for all kinds of image properties. It has `apply`, which takes
/// an `ImageOperand` (an assertion) or an `OutputOperand` (an enforcement) and throws RuleException, `describe`, and
/// `individual`, which tells whether it looks at its own property only. The rule is made with its arguments.
/// An unset property is refused before the requirement sees it.
template <class T, class Requirement>
class RIX_EXPORT RuleOnImage : public Rules<Property<T>>, private Requirement {
public:
    using ValueType = T;

    RuleOnImage() = default;
    explicit RuleOnImage(const Requirement& requirement) : Requirement(requirement) {}
    using Requirement::Requirement;

    bool isIndividual() const override { return Requirement::individual; }
    void apply(Property<T>& property) override {
        const auto image = openImage(property);
        Requirement::apply({*image, property});
    }
    String describe() const override { return Requirement::describe(); }
};

/// Attaches `RuleOnImage` to an image property; made with the requirement's arguments.
template <class Requirement>
class AddRuleOnImage : private Requirement {
public:
    AddRuleOnImage() = default;
    using Requirement::Requirement;

    /// Appends a new rule to the property. @return the rule, so that it can be removed again.
    template <ImageValue T>
    std::shared_ptr<Rules<Property<T>>> operator()(Property<T>& property) const {
        std::shared_ptr<Rules<Property<T>>> rule =
            std::make_shared<RuleOnImage<T, Requirement>>(static_cast<const Requirement&>(*this));
        property.getImpl()->addRule(rule);
        return rule;
    }
};

}  // namespace rix::rules
