#include <vessel/MemoryImageView.h>

#include <rix/rules/CompareRules.h>
#include <rix/rules/ImageViewRules.h>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

using View = std::shared_ptr<vessel::ImageView>;

View makeView(std::size_t columns, std::size_t rows, vessel::SampleType type = vessel::SampleType::UINT8) {
    std::vector<vessel::Axis> axes(2);
    axes[0].name = vessel::AxisName::COLUMN;
    axes[0].extent = columns;
    axes[1].name = vessel::AxisName::ROW;
    axes[1].extent = rows;
    return std::make_shared<vessel::MemoryImageView>(vessel::ElementType{type}, axes);
}

TEST(ImageViewRules, AssertLikeOnImages) {
    io::MemoryImage model;
    shape(model, {});
    NamedProperty<const ImageModel*> inputImage("inputImage", &model);
    NamedProperty<View> p("p");
    addRules(p, AddRuleAssertType({RIX_UINT8}), AddRuleAssertSameSize(inputImage));
    EXPECT_EQ(applyRules(p), refused({"The parameter \"p\" must be set."}));
    p.set(makeView(4, 3));
    EXPECT_EQ(applyRules(p), Levels{});
    p.set(makeView(4, 3, vessel::SampleType::FLOAT32));
    EXPECT_EQ(applyRules(p),
              refused({"The parameter \"p\" supports only data type(s): uint8. Current data type is float32."}));
    p.set(makeView(3, 4));
    EXPECT_EQ(applyRules(p).front(), "The parameters \"p\" and \"inputImage\" must have the same size.");
    // A type that images don't have is refused as a value, by a rule error.
    p.set(makeView(4, 3, vessel::SampleType::INT64));
    EXPECT_EQ(applyRules(p).size(), 2u);
}

TEST(ImageViewRules, EnforceWhatAViewCanTake) {
    NamedProperty<View> input("inputImage", makeView(4, 3));
    ASSERT_TRUE(input.get()->setCalibration(vessel::AxisName::COLUMN, {-1.0, 0.25, "mm"}));
    ASSERT_TRUE(input.get()->setCalibration(vessel::AxisName::ROW, {2.0, 0.5, "mm"}));
    ASSERT_TRUE(ImageModelFromView(input.get()).setInterpretation(RIX_LABEL));
    ASSERT_TRUE(ImageModelFromView(input.get()).setColorInterpretation(RGB));
    NamedProperty<View> p("p", makeView(4, 3));
    addRules(p, AddRuleEnforceSameTypeImageView(input), AddRuleEnforceSameInterpretationImageView(input),
             AddRuleEnforceSameColorInterpretationImageView(input), AddRuleEnforceSameCalibrationImageView(input),
             AddRuleEnforceSameSizeCalibrationAndTypeImageView(input));
    EXPECT_EQ(applyRules(p), Levels{});
    EXPECT_EQ(p.get()->getAxes(), input.get()->getAxes());
    const ImageModelFromView output(p.get());
    EXPECT_EQ(output.getInterpretation(), RIX_LABEL);
    EXPECT_EQ(output.getColorInterpretation(), RGB);

    const auto failure = [&](const View& view, const char* rule) {
        p.set(view);
        const Levels levels = applyRules(p);
        return std::find(levels.begin(), levels.end(), rule) != levels.end();
    };
    EXPECT_TRUE(failure(makeView(4, 3, vessel::SampleType::INT16),
                        "The parameter \"p\" cannot be retyped to fit the parameter \"inputImage\"."));
    EXPECT_TRUE(failure(makeView(5, 3),
                        "The parameter \"p\" cannot be resized and retyped to fit the parameter \"inputImage\"."));
}

TEST(ImageViewRules, ForbidTheSameView) {
    NamedProperty<View> input("inputImage", makeView(4, 3));
    NamedProperty<View> p("p", makeView(4, 3));
    addRules(p, AddRuleCompare(CompareRelation::NotEqual, input));
    EXPECT_EQ(applyRules(p), Levels{});
    p.set(input.get());
    EXPECT_EQ(applyRules(p).size(), 2u);
}

}  // namespace
}  // namespace rix::test
