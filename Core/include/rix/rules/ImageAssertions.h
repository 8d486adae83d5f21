#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/rules/ImageRule.h>

/// Rules that check images. Each rule class takes the value type of its property, `const ImageModel*` (an input) or
/// `ImageModel*` (an output); each `AddRule...` takes the same arguments and fits both. Every rule refuses an unset
/// image. Accepted values and the given one are part of the message, or of the level above it.
namespace rix {

/// How many planes an image has: one (2D) or more (3D).
enum class ImageDimension : std::uint8_t { Any, Only2d, Only3d };

/// Whether an image may have more than one element on an axis.
enum class AxisUse : std::uint8_t { Accepted, Refused };

namespace rules {

/// No extent is 0.
struct RIX_EXPORT AssertImageNotEmpty {
    static constexpr bool individual = true;
    void apply(const ImageOperand& operand) const;
    String describe() const;
};

/// The number of planes, and no spectral or sequence axis where that is refused.
class RIX_EXPORT AssertDimension {
public:
    static constexpr bool individual = true;
    explicit AssertDimension(ImageDimension dimension, AxisUse spectral = AxisUse::Accepted,
                             AxisUse sequence = AxisUse::Accepted)
        : m_dimension(dimension), m_spectral(spectral), m_sequence(sequence) {}
    void apply(const ImageOperand& operand) const;
    String describe() const;

private:
    ImageDimension m_dimension;
    AxisUse m_spectral;
    AxisUse m_sequence;
};

/// One plane; sequence and spectral axes are free.
struct RIX_EXPORT AssertImage2d {
    static constexpr bool individual = true;
    void apply(const ImageOperand& operand) const;
    String describe() const;
};

/// The voxel type is one of a list.
class RIX_EXPORT AssertType {
public:
    static constexpr bool individual = true;
    explicit AssertType(std::vector<VoxelTypes> accepted) : m_accepted(std::move(accepted)) {}
    void apply(const ImageOperand& operand) const;
    String describe() const;

private:
    std::vector<VoxelTypes> m_accepted;
};

/// The voxel type belongs to a class of types.
class RIX_EXPORT AssertTypeClass {
public:
    static constexpr bool individual = true;
    void apply(const ImageOperand& operand) const;
    String describe() const;

protected:
    enum class TypeClass : std::uint8_t { Integer, IntegerOrFloating };
    explicit AssertTypeClass(TypeClass accepted) : m_accepted(accepted) {}

private:
    TypeClass m_accepted;
};

/// Integer samples of any width and sign.
struct RIX_EXPORT AssertInteger : AssertTypeClass {
    AssertInteger() : AssertTypeClass(TypeClass::Integer) {}
};

/// Real samples: every voxel type but the complex ones.
struct RIX_EXPORT AssertIntegerOrFloating : AssertTypeClass {
    AssertIntegerOrFloating() : AssertTypeClass(TypeClass::IntegerOrFloating) {}
};

/// The element type is one of a list.
class RIX_EXPORT AssertElementType {
public:
    static constexpr bool individual = true;
    explicit AssertElementType(std::vector<ElementTypes> accepted) : m_accepted(std::move(accepted)) {}
    void apply(const ImageOperand& operand) const;
    String describe() const;

private:
    std::vector<ElementTypes> m_accepted;
};

/// One sample an element.
struct RIX_EXPORT AssertSingleElement {
    static constexpr bool individual = true;
    void apply(const ImageOperand& operand) const;
    String describe() const;
};

/// The interpretation is one of a list.
class RIX_EXPORT AssertInterpretation {
public:
    static constexpr bool individual = true;
    explicit AssertInterpretation(std::vector<Interpretations> accepted) : m_accepted(std::move(accepted)) {}
    void apply(const ImageOperand& operand) const;
    String describe() const;

private:
    std::vector<Interpretations> m_accepted;
};

/// The colour interpretation is one of a list.
class RIX_EXPORT AssertColorInterpretation {
public:
    static constexpr bool individual = true;
    explicit AssertColorInterpretation(std::vector<ColorInterpretation> accepted) : m_accepted(std::move(accepted)) {}
    void apply(const ImageOperand& operand) const;
    String describe() const;

private:
    std::vector<ColorInterpretation> m_accepted;
};

/// At least so many channels on the spectral axis, whatever the channels mean.
class RIX_EXPORT AssertAnyColor {
public:
    static constexpr bool individual = true;
    explicit AssertAnyColor(std::size_t minimumChannels) : m_minimumChannels(minimumChannels) {}
    void apply(const ImageOperand& operand) const;
    String describe() const;

private:
    std::size_t m_minimumChannels;
};

/// Base of the requirements that compare with another image property of the same algorithm.
class RIX_EXPORT WithReference {
public:
    static constexpr bool individual = false;
    /// @param reference the other property; it outlives the rule.
    explicit WithReference(ImageReference reference) : m_reference(reference) {}

protected:
    ImageReference m_reference;
};

/// As many elements on one axis as the other image.
class RIX_EXPORT AssertDimensionImage : public WithReference {
public:
    AssertDimensionImage(Components axis, ImageReference reference) : WithReference(reference), m_axis(axis) {}
    void apply(const ImageOperand& operand) const;
    String describe() const;

private:
    Components m_axis;
};

/// Binary when the other image is binary.
struct RIX_EXPORT AssertBinaryIfBinary : WithReference {
    using WithReference::WithReference;
    void apply(const ImageOperand& operand) const;
    String describe() const;
};

struct RIX_EXPORT AssertSameInterpretation : WithReference {
    using WithReference::WithReference;
    void apply(const ImageOperand& operand) const;
    String describe() const;
};

/// The same extent on all five axes.
struct RIX_EXPORT AssertSameSize : WithReference {
    using WithReference::WithReference;
    void apply(const ImageOperand& operand) const;
    String describe() const;
};

/// The same spacing on all five axes, exactly; NaN is the same as nothing.
struct RIX_EXPORT AssertSameSpacing : WithReference {
    using WithReference::WithReference;
    void apply(const ImageOperand& operand) const;
    String describe() const;
};

/// The same voxel type.
struct RIX_EXPORT AssertSameType : WithReference {
    using WithReference::WithReference;
    void apply(const ImageOperand& operand) const;
    String describe() const;
};

}  // namespace rules

template <class T>
using RuleAssertImageNotEmpty = rules::RuleOnImage<T, rules::AssertImageNotEmpty>;
template <class T>
using RuleAssertDimension = rules::RuleOnImage<T, rules::AssertDimension>;
template <class T>
using RuleAssertDimensionImage = rules::RuleOnImage<T, rules::AssertDimensionImage>;
template <class T>
using RuleAssertImage2d = rules::RuleOnImage<T, rules::AssertImage2d>;
template <class T>
using RuleAssertType = rules::RuleOnImage<T, rules::AssertType>;
template <class T>
using RuleAssertInteger = rules::RuleOnImage<T, rules::AssertInteger>;
template <class T>
using RuleAssertIntegerOrFloating = rules::RuleOnImage<T, rules::AssertIntegerOrFloating>;
template <class T>
using RuleAssertElementType = rules::RuleOnImage<T, rules::AssertElementType>;
template <class T>
using RuleAssertSingleElement = rules::RuleOnImage<T, rules::AssertSingleElement>;
template <class T>
using RuleAssertInterpretation = rules::RuleOnImage<T, rules::AssertInterpretation>;
template <class T>
using RuleAssertColorInterpretation = rules::RuleOnImage<T, rules::AssertColorInterpretation>;
template <class T>
using RuleAssertAnyColor = rules::RuleOnImage<T, rules::AssertAnyColor>;
template <class T>
using RuleAssertBinaryIfBinary = rules::RuleOnImage<T, rules::AssertBinaryIfBinary>;
template <class T>
using RuleAssertSameInterpretation = rules::RuleOnImage<T, rules::AssertSameInterpretation>;
template <class T>
using RuleAssertSameSize = rules::RuleOnImage<T, rules::AssertSameSize>;
template <class T>
using RuleAssertSameSpacing = rules::RuleOnImage<T, rules::AssertSameSpacing>;
template <class T>
using RuleAssertSameType = rules::RuleOnImage<T, rules::AssertSameType>;

using AddRuleAssertImageNotEmpty = rules::AddRuleOnImage<rules::AssertImageNotEmpty>;
using AddRuleAssertDimension = rules::AddRuleOnImage<rules::AssertDimension>;
using AddRuleAssertDimensionImage = rules::AddRuleOnImage<rules::AssertDimensionImage>;
using AddRuleAssertImage2d = rules::AddRuleOnImage<rules::AssertImage2d>;
using AddRuleAssertType = rules::AddRuleOnImage<rules::AssertType>;
using AddRuleAssertInteger = rules::AddRuleOnImage<rules::AssertInteger>;
using AddRuleAssertIntegerOrFloating = rules::AddRuleOnImage<rules::AssertIntegerOrFloating>;
using AddRuleAssertElementType = rules::AddRuleOnImage<rules::AssertElementType>;
using AddRuleAssertSingleElement = rules::AddRuleOnImage<rules::AssertSingleElement>;
using AddRuleAssertInterpretation = rules::AddRuleOnImage<rules::AssertInterpretation>;
using AddRuleAssertColorInterpretation = rules::AddRuleOnImage<rules::AssertColorInterpretation>;
using AddRuleAssertAnyColor = rules::AddRuleOnImage<rules::AssertAnyColor>;
using AddRuleAssertBinaryIfBinary = rules::AddRuleOnImage<rules::AssertBinaryIfBinary>;
using AddRuleAssertSameInterpretation = rules::AddRuleOnImage<rules::AssertSameInterpretation>;
using AddRuleAssertSameSize = rules::AddRuleOnImage<rules::AssertSameSize>;
using AddRuleAssertSameSpacing = rules::AddRuleOnImage<rules::AssertSameSpacing>;
using AddRuleAssertSameType = rules::AddRuleOnImage<rules::AssertSameType>;

}  // namespace rix
