#pragma once

#include <optional>

#include <rix/image/LabelScope.h>
#include <rix/rules/ImageAssertions.h>

/// Rules that shape output images. They change the image, never the property, so a locked property does not stop them.
/// Each rule class takes the value type of its property, `ImageModel*`. What matches already is left alone, samples
/// included; a failing enforcement leaves the image as far as it got.
///
/// A failure is a RuleException of several levels: what the image refused, then what the rule wanted.
namespace rix {

/// What an output image is to be: the shape (extents and element type), the calibration and the colour interpretation
/// of a model image, with samples of a type of its own.
struct ImageCheck {
    VoxelTypes voxelType;
    rules::ImageReference model;
    std::optional<Interpretations> interpretation = std::nullopt;  ///< none leaves the output's own
    /// Of an output whose interpretation becomes `RIX_LABEL`; none takes the model's.
    std::optional<LabelScope> labelScope = std::nullopt;
};

namespace rules {

/// The output takes a voxel type; its element type becomes `SINGLE`.
class RIX_EXPORT EnforceType {
public:
    static constexpr bool individual = false;
    explicit EnforceType(VoxelTypes type) : m_type(type) {}
    void apply(const OutputOperand& output) const;
    String describe() const;

private:
    VoxelTypes m_type;
};

/// The output takes an interpretation.
class RIX_EXPORT EnforceInterpretation {
public:
    static constexpr bool individual = false;
    explicit EnforceInterpretation(Interpretations interpretation) : m_interpretation(interpretation) {}
    void apply(const OutputOperand& output) const;
    String describe() const;

private:
    Interpretations m_interpretation;
};

/// The output's values get another meaning; as `EnforceInterpretation`, for outputs that have one already, which the
/// message tells.
class RIX_EXPORT SetInterpretation {
public:
    static constexpr bool individual = false;
    explicit SetInterpretation(Interpretations interpretation) : m_interpretation(interpretation) {}
    void apply(const OutputOperand& output) const;
    String describe() const;

private:
    Interpretations m_interpretation;
};

/// The output takes the voxel type of the reference; its element type becomes `SINGLE`.
struct RIX_EXPORT EnforceSameType : WithReference {
    using WithReference::WithReference;
    void apply(const OutputOperand& output) const;
    String describe() const;
};

struct RIX_EXPORT EnforceSameInterpretation : WithReference {
    using WithReference::WithReference;
    void apply(const OutputOperand& output) const;
    String describe() const;
};

struct RIX_EXPORT EnforceSameColorInterpretation : WithReference {
    using WithReference::WithReference;
    void apply(const OutputOperand& output) const;
    String describe() const;
};

/// The output takes origin, spacing, unit names and axis system of the reference.
struct RIX_EXPORT EnforceSameCalibration : WithReference {
    using WithReference::WithReference;
    void apply(const OutputOperand& output) const;
    String describe() const;
};

/// The output takes extents and calibration and keeps its voxel type; its element type becomes `SINGLE`.
struct RIX_EXPORT EnforceSameSizeAndCalibration : WithReference {
    using WithReference::WithReference;
    void apply(const OutputOperand& output) const;
    String describe() const;
};

/// The output takes extents, calibration and voxel type; its element type becomes `SINGLE`.
struct RIX_EXPORT EnforceSameSizeCalibrationAndType : WithReference {
    using WithReference::WithReference;
    void apply(const OutputOperand& output) const;
    String describe() const;
};

/// The output becomes what an `ImageCheck` asks for. An output that is the model image itself is never reshaped or
/// retyped: its samples are an input of the same run.
class RIX_EXPORT EnforceImage {
public:
    static constexpr bool individual = false;
    explicit EnforceImage(const ImageCheck& check) : m_check(check) {}
    void apply(const OutputOperand& output) const;
    String describe() const;

private:
    void reserve(const OutputOperand& output, const ImageModel& model) const;
    ImageCheck m_check;
};

}  // namespace rules

template <class T>
using RuleEnforceType = rules::RuleOnImage<T, rules::EnforceType>;
template <class T>
using RuleEnforceInterpretation = rules::RuleOnImage<T, rules::EnforceInterpretation>;
template <class T>
using RuleSetInterpretation = rules::RuleOnImage<T, rules::SetInterpretation>;
template <class T>
using RuleEnforceSameType = rules::RuleOnImage<T, rules::EnforceSameType>;
template <class T>
using RuleEnforceSameInterpretation = rules::RuleOnImage<T, rules::EnforceSameInterpretation>;
template <class T>
using RuleEnforceSameColorInterpretation = rules::RuleOnImage<T, rules::EnforceSameColorInterpretation>;
template <class T>
using RuleEnforceSameCalibration = rules::RuleOnImage<T, rules::EnforceSameCalibration>;
template <class T>
using RuleEnforceSameSizeAndCalibration = rules::RuleOnImage<T, rules::EnforceSameSizeAndCalibration>;
template <class T>
using RuleEnforceSameSizeCalibrationAndType = rules::RuleOnImage<T, rules::EnforceSameSizeCalibrationAndType>;
template <class T>
using RuleEnforceImage = rules::RuleOnImage<T, rules::EnforceImage>;

using AddRuleEnforceType = rules::AddRuleOnImage<rules::EnforceType>;
using AddRuleEnforceInterpretation = rules::AddRuleOnImage<rules::EnforceInterpretation>;
using AddRuleSetInterpretation = rules::AddRuleOnImage<rules::SetInterpretation>;
using AddRuleEnforceSameType = rules::AddRuleOnImage<rules::EnforceSameType>;
using AddRuleEnforceSameInterpretation = rules::AddRuleOnImage<rules::EnforceSameInterpretation>;
using AddRuleEnforceSameColorInterpretation = rules::AddRuleOnImage<rules::EnforceSameColorInterpretation>;
using AddRuleEnforceSameCalibration = rules::AddRuleOnImage<rules::EnforceSameCalibration>;
using AddRuleEnforceSameSizeAndCalibration = rules::AddRuleOnImage<rules::EnforceSameSizeAndCalibration>;
using AddRuleEnforceSameSizeCalibrationAndType = rules::AddRuleOnImage<rules::EnforceSameSizeCalibrationAndType>;
using AddRuleEnforceImage = rules::AddRuleOnImage<rules::EnforceImage>;

/// Applies `RuleEnforceImage` to a property at once, without attaching it; nothing on a disabled property.
/// @throws RuleException with the level "Rule error in property " + name, as an attached rule does.
class ApplyRuleEnforceImage {
public:
    explicit ApplyRuleEnforceImage(const ImageCheck& check) : m_rule(check) {}

    void operator()(Property<ImageModel*>& property) {
        if (!property.isEnable()) {
            return;
        }
        try {
            m_rule.apply(property);
        } catch (RuleException& exception) {
            exception.addInfoLevel("Rule error in property " + property.getName());
            throw;
        }
    }

private:
    RuleEnforceImage<ImageModel*> m_rule;
};

}  // namespace rix
