#pragma once

#include <memory>

#include <vessel/ImageView.h>

#include <rix/image/ImageModelFromView.h>
#include <rix/rules/ImageEnforcements.h>

/// The rules of images, on properties that hold image views. Including this header makes every rule of images fit such
/// properties, on either side of a comparison; a view cannot be reshaped or retyped, only found to match.
namespace rix {

namespace rules {

/// Throws a RuleException when the view has a type that images do not have.
RIX_EXPORT std::shared_ptr<ImageModel> openView(const std::shared_ptr<vessel::ImageView>& view);
RIX_EXPORT std::shared_ptr<const ImageModel> openView(const std::shared_ptr<const vessel::ImageView>& view);

template <>
struct ImageAccess<std::shared_ptr<vessel::ImageView>> {
    using Image = ImageModel;
    static std::shared_ptr<Image> open(const std::shared_ptr<vessel::ImageView>& value) { return openView(value); }
};

template <>
struct ImageAccess<std::shared_ptr<const vessel::ImageView>> {
    using Image = const ImageModel;
    static std::shared_ptr<Image> open(const std::shared_ptr<const vessel::ImageView>& value) {
        return openView(value);
    }
};

}  // namespace rules

using RuleEnforceSameTypeImageView = RuleEnforceSameType<std::shared_ptr<vessel::ImageView>>;
using RuleEnforceSameInterpretationImageView = RuleEnforceSameInterpretation<std::shared_ptr<vessel::ImageView>>;
using RuleEnforceSameColorInterpretationImageView =
    RuleEnforceSameColorInterpretation<std::shared_ptr<vessel::ImageView>>;
using RuleEnforceSameCalibrationImageView = RuleEnforceSameCalibration<std::shared_ptr<vessel::ImageView>>;
using RuleEnforceSameSizeCalibrationAndTypeImageView =
    RuleEnforceSameSizeCalibrationAndType<std::shared_ptr<vessel::ImageView>>;

using AddRuleEnforceSameTypeImageView = AddRuleEnforceSameType;
using AddRuleEnforceSameInterpretationImageView = AddRuleEnforceSameInterpretation;
using AddRuleEnforceSameColorInterpretationImageView = AddRuleEnforceSameColorInterpretation;
using AddRuleEnforceSameCalibrationImageView = AddRuleEnforceSameCalibration;
using AddRuleEnforceSameSizeCalibrationAndTypeImageView = AddRuleEnforceSameSizeCalibrationAndType;

}  // namespace rix
