#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

#include <rix/image/ImageHeader.h>
#include <rix/rules/ImageEnforcements.h>

namespace rix {

namespace rules {

/// What an output has of its own instead of what it would take from the image that it is like. What is chosen follows
/// from other properties; it is asked for when the rules of all inputs hold.
struct OwnShape {
    std::optional<VoxelTypes> voxelType = std::nullopt;
    std::optional<Interpretations> interpretation = std::nullopt;
    std::function<VoxelTypes()> chosenType = {};
    std::function<Interpretations()> chosenInterpretation = {};
    std::optional<LabelScope> labelScope = std::nullopt;  ///< of an output that holds labels
};

/// What an output will be.
struct ExpectedShape {
    VoxelTypes voxelType;
    std::array<std::size_t, 5> extents;
    bool keepsType;  ///< the voxel type is that of the image which the output is like
};

/// A rule that says what an output will be, also for its description.
class RIX_EXPORT ShapesOutput {
public:
    virtual ~ShapesOutput();
    /// @throws RuleException when what the shape follows from is unset.
    virtual ExpectedShape expected() const = 0;
};

}  // namespace rules

/// The output takes extents, element type, voxel type, calibration, interpretation and colour interpretation of an
/// image, but for what it has of its own. An output that is this image itself is never reshaped or retyped: its samples
/// are an input of the same run.
/// An unset output is left alone; where it must not be, `AddRuleAssertNotNull` comes before.
///
/// What the rule says of an output stands for its description, too.
class RIX_EXPORT RuleEnforceLike : public Rules<Property<ImageModel*>>, public rules::ShapesOutput {
public:
    RuleEnforceLike(rules::ImageReference model, rules::OwnShape own);
    ~RuleEnforceLike() override;

    void apply(Property<ImageModel*>& property) override;
    String describe() const override;
    rules::ExpectedShape expected() const override;

private:
    ImageCheck check(const ImageModel& model) const;

    rules::ImageReference m_model;
    rules::OwnShape m_own;
};

/// Attaches `RuleEnforceLike`: `AddRuleEnforceLike(inputImage)`, or for a binary result
/// `AddRuleEnforceLike(inputImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY})`.
class RIX_EXPORT AddRuleEnforceLike {
public:
    explicit AddRuleEnforceLike(rules::ImageReference model, rules::OwnShape own = {});
    std::shared_ptr<Rules<Property<ImageModel*>>> operator()(Property<ImageModel*>& property) const;

private:
    rules::ImageReference m_model;
    rules::OwnShape m_own;
};

/// The output becomes what a header says that follows from other properties: for images that are made from numbers,
/// with no image to be like. An unset output is left alone; where it must not be, `AddRuleAssertNotNull` comes before.
class RIX_EXPORT RuleEnforceHeader : public Rules<Property<ImageModel*>>, public rules::ShapesOutput {
public:
    using ValueType = ImageModel*;
    using Header = std::function<ImageHeader()>;

    /// @param header asked for when the rules of all inputs hold
    /// @param text goes on after "takes": "extents and spacing of the inputs"
    RuleEnforceHeader(Header header, String text);
    ~RuleEnforceHeader() override;

    void apply(Property<ImageModel*>& property) override;
    String describe() const override;
    rules::ExpectedShape expected() const override;

private:
    Header m_header;
    String m_text;
};

/// Attaches `RuleEnforceHeader`.
using AddRuleEnforceHeader = rules::RuleAdder<RuleEnforceHeader, RuleEnforceHeader::Header, String>;

}  // namespace rix
