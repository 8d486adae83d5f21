#include <rix/rules/CompareRules.h>
#include <rix/rules/ImageAssertions.h>
#include <rix/rules/ValueRules.h>
#include <rix/rules/When.h>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

enum class Tells { Text, TextAndImage };

/// Shows images to the rule on an input and on an output property, which must judge alike, and both unset.
template <class Adder>
void expectImageRule(const Adder& adder, const String& description, const std::vector<ImageKind>& accepted,
                     const std::vector<ImageKind>& refused = {}, const String& text = "", Tells tells = Tells::Text) {
    std::vector<io::MemoryImage> images(accepted.size() + refused.size());
    std::vector<ImageModel*> good;
    std::vector<ImageModel*> bad;
    for (std::size_t i = 0; i < images.size(); ++i) {
        shape(images[i], i < accepted.size() ? accepted[i] : refused[i - accepted.size()]);
        (i < accepted.size() ? good : bad).push_back(&images[i]);
    }
    Levels levels{"The parameter \"p\" " + (bad.empty() ? "must be set." : text)};
    if (tells == Tells::TextAndImage && !bad.empty()) {
        levels.push_back("The image is " + helper::describeImage(*bad.front()) + ".");
    }
    bad.push_back(nullptr);
    expectRule<ImageModel*>(adder, description, good, bad, levels);
    expectRule<const ImageModel*>(adder, description, {good.begin(), good.end()}, {bad.begin(), bad.end()}, levels);
}

TEST(ImageAssertions, LookAtExtents) {
    const ImageKind volume{.extents = {4, 3, 2, 1, 1}};
    const ImageKind movie{.extents = {4, 3, 1, 5, 2}};
    const ImageKind coloured{.extents = {4, 3, 1, 1, 3}};
    expectImageRule(AddRuleAssertNotNull(), "must be set", {{}});
    expectImageRule(AddRuleAssertImageNotEmpty(), "must not be an empty image", {{}},
                    {{.extents = {4, 3, 1, 0, 1}}, {.extents = {0, 3, 1, 1, 1}}}, "must not be an empty image.",
                    Tells::TextAndImage);
    expectImageRule(AddRuleAssertImage2d(), "must be a 2D image", {{}, movie}, {volume}, "must contain a 2D image.",
                    Tells::TextAndImage);
    expectImageRule(AddRuleAssertDimension(ImageDimension::Only2d), "must be a 2D image", {movie}, {volume},
                    "must contain a 2D image.", Tells::TextAndImage);
    const AddRuleAssertDimension only3d(ImageDimension::Only3d, AxisUse::Accepted, AxisUse::Refused);
    expectImageRule(only3d, "must be a 3D image without sequence", {{.extents = {4, 3, 2, 1, 3}}}, {{}},
                    "must contain a 3D image.", Tells::TextAndImage);
    expectImageRule(only3d, "must be a 3D image without sequence", {}, {{.extents = {4, 3, 2, 2, 1}}},
                    "is a sequence of images (e.g. a movie). Only single images are supported.", Tells::TextAndImage);
    expectImageRule(AddRuleAssertDimension(ImageDimension::Any, AxisUse::Refused),
                    "must be an image without spectral series", {{.extents = {4, 3, 2, 2, 1}}}, {coloured},
                    "is a multispectral image (e.g. color). Only grayscale images are supported.", Tells::TextAndImage);
    expectImageRule(AddRuleAssertAnyColor(3), "must be a color image with at least 3 channels",
                    {coloured, {.extents = {4, 3, 1, 1, 4}, .color = RGB}}, {{.extents = {4, 3, 1, 1, 2}}},
                    "supports color images with at least 3 channels. Current image has 2.");
}

TEST(ImageAssertions, LookAtTypesAndInterpretations) {
    expectImageRule(AddRuleAssertType({RIX_UINT8, RIX_UINT16}), "data type must be uint8 or uint16",
                    {{.voxelType = RIX_UINT8}, {.voxelType = RIX_UINT16}}, {{.voxelType = RIX_FLOAT32}},
                    "supports only data type(s): uint8, uint16. Current data type is float32.");
    std::vector<ImageKind> integers;
    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_UINT32, RIX_INT8, RIX_INT16, RIX_INT32}) {
        integers.push_back({.voxelType = type});
    }
    for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64, RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64}) {
        const String name = helper::voxelTypesToString(type);
        expectImageRule(AddRuleAssertInteger(), "data type must be integer", integers, {{.voxelType = type}},
                        "supports only integer types. Current data type is " + name + ".");
        const std::vector<ImageKind> one{{.voxelType = type}};
        const bool isComplex = type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64;
        expectImageRule(AddRuleAssertIntegerOrFloating(), "data type must be integer or floating",
                        isComplex ? integers : one, isComplex ? one : std::vector<ImageKind>{},
                        "supports only integer or floating types. Current data type is " + name + ".");
    }
    expectImageRule(AddRuleAssertElementType({SINGLE, VECTOR_2}), "element type must be scalar or 2-Vector",
                    {{}, {.elementType = VECTOR_2}}, {{.elementType = VECTOR_3}},
                    "supports only element type(s): scalar, 2-Vector. Current element type is 3-Vector.");
    expectImageRule(AddRuleAssertSingleElement(), "must have scalar elements", {{}}, {{.elementType = MATRIX_2X2_SYM}},
                    "supports only scalar types. Current data type is Symmetric Matrix 2x2.");
    expectImageRule(AddRuleAssertInterpretation({RIX_BINARY, RIX_LABEL}), "must be a binary or label image",
                    {{.interpretation = RIX_BINARY}, {.interpretation = RIX_LABEL}}, {{.interpretation = RIX_VALUE}},
                    "supports only binary or label images. Current image is value.");
    expectImageRule(AddRuleAssertColorInterpretation({RGB, HSL}), "color interpretation must be RGB or HSL",
                    {{.color = HSL}}, {{.color = YIQ}},
                    "supports only RGB or HSL color interpretations. Current image is YIQ.");
}

// One rule that compares with the image of "inputImage": the traits of that image, of one that passes and of
// one that doesn't.
struct PairCase {
    std::function<void(Property<const ImageModel*>&, const Property<ImageModel*>&)> add;
    String description;
    ImageKind reference;
    ImageKind accepted;
    ImageKind refused;
    String text;
    bool bothImages = true;  // the level above the text describes both
};

TEST(ImageAssertions, CompareWithAnotherImage) {
    const std::vector<PairCase> cases{
        {[](auto& p, auto& q) { addRules(p, AddRuleAssertSameSize(q)); },
         "must have the size of inputImage",
         {},
         {.voxelType = RIX_FLOAT32},
         {.extents = {4, 3, 1, 1, 2}},
         "The parameters \"p\" and \"inputImage\" must have the same size."},
        {[](auto& p, auto& q) { addRules(p, AddRuleAssertSameType(q)); },
         "must have the data type of inputImage",
         {.voxelType = RIX_INT16},
         {.extents = {1, 1, 1, 1, 1}, .voxelType = RIX_INT16},
         {.voxelType = RIX_UINT16},
         "The parameters \"p\" and \"inputImage\" must have the same type."},
        {[](auto& p, auto& q) { addRules(p, AddRuleAssertSameInterpretation(q)); },
         "must have the interpretation of inputImage",
         {.interpretation = RIX_LABEL},
         {.voxelType = RIX_INT16, .interpretation = RIX_LABEL},
         {.interpretation = RIX_BINARY},
         "The parameters \"p\" and \"inputImage\" must have the same interpretation."},
        {[](auto& p, auto& q) { AddRuleAssertDimensionImage(PLANS, q)(p); },
         "must have as many elements on the axis \"plans\" as inputImage",
         {.extents = {4, 3, 2, 1, 1}},
         {.extents = {9, 9, 2, 9, 9}},
         {.extents = {4, 3, 1, 1, 1}},
         "The number of plans of the parameters \"p\" and \"inputImage\" must be the same."},
        {[](auto& p, auto& q) { addRules(p, AddRuleAssertBinaryIfBinary(q)); },
         "must be binary if inputImage is binary",
         {.interpretation = RIX_BINARY},
         {.interpretation = RIX_BINARY},
         {.interpretation = RIX_LABEL},
         "The parameter \"p\" must have a binary interpretation if the parameter \"inputImage\" is binary.",
         false},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.description);
        io::MemoryImage reference;
        io::MemoryImage accepted;
        io::MemoryImage unfit;
        shape(reference, test.reference);
        shape(accepted, test.accepted);
        shape(unfit, test.refused);
        NamedProperty<ImageModel*> input("inputImage", &reference);
        NamedProperty<const ImageModel*> p("p", &accepted);
        test.add(p, input);
        EXPECT_EQ(p.getImpl()->describeRules(), Levels{test.description});
        EXPECT_EQ(applyRules(p), Levels{});
        p.set(&unfit);
        const String values = test.bothImages ? "\"p\" is " + helper::describeImage(unfit) + "; \"inputImage\" is " +
                                                    helper::describeImage(reference) + "."
                                              : "The image is " + helper::describeImage(unfit) + ".";
        EXPECT_EQ(applyRules(p), refused({test.text, values}));
        input.set(nullptr);
        EXPECT_EQ(applyRules(p), refused({"The parameter \"inputImage\" must be set."}));
        p.set(nullptr);
        EXPECT_EQ(applyRules(p), refused({"The parameter \"p\" must be set."}));
    }
    // Beside an image of another interpretation nothing need be binary.
    io::MemoryImage label;
    shape(label, {.interpretation = RIX_LABEL});
    NamedProperty<const ImageModel*> input("inputImage", &label);
    expectRule<const ImageModel*>(AddRuleAssertBinaryIfBinary{input}, "must be binary if inputImage is binary",
                                  {&label});
}

TEST(RuleAssertSameSpacing, ComparesEveryAxis) {
    io::MemoryImage reference;
    io::MemoryImage image;
    shape(reference, {});
    shape(image, {});
    NamedProperty<const ImageModel*> input("inputImage", &reference);
    NamedProperty<const ImageModel*> p("p", &image);
    AddRuleAssertSameSpacing{input}(p);
    EXPECT_EQ(p.getImpl()->describeRules(), Levels{"must have the spacing of inputImage"});
    EXPECT_EQ(applyRules(p), Levels{});
    for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES}) {
        for (const double spacing : {0.25, std::numeric_limits<double>::quiet_NaN()}) {
            image.setSpacingOf(axis, spacing);
            const auto levels = applyRules(p);
            ASSERT_EQ(levels.size(), 3u) << axis;
            EXPECT_EQ(levels[0], "The parameters \"p\" and \"inputImage\" must have the same spacing.");
        }
        image.setSpacingOf(axis, 0.0);
    }
    image.setSpacingOf(PLANS, 1.5);
    EXPECT_EQ(applyRules(p)[1], "\"p\" has (0, 0, 1.5, 0, 0); \"inputImage\" has (0, 0, 0, 0, 0).");
}

// Looks at samples that another image owns, as a wrapped array does.
class AliasImage : public RecordingImage {
public:
    explicit AliasImage(ConstRawData samples) : m_samples(samples) {}
    using RecordingImage::getImageBuffer;
    ConstRawData getImageBuffer() const override { return m_samples; }

private:
    ConstRawData m_samples;
};

TEST(RuleCompare, ForbidsAnImage) {
    io::MemoryImage first;
    io::MemoryImage second;
    shape(first, {});
    shape(second, {});
    NamedProperty<const ImageModel*> input("inputImage", &first);
    NamedProperty<ImageModel*> p("p", &second);
    AddRuleCompare(CompareRelation::NotEqual, input)(p);
    EXPECT_EQ(p.getImpl()->describeRules(), Levels{"must not be the image of inputImage"});
    EXPECT_EQ(applyRules(p), Levels{});
    p.set(&first);
    const String id = first.getImageId();
    EXPECT_EQ(applyRules(p), refused({"The parameter \"p\" (value=" + id +
                                      ") must be not equal to the parameter \"inputImage\" (value=" + id + ")."}));
    AliasImage alias(first.getInternalBuffer());
    p.set(&alias);
    EXPECT_EQ(applyRules(p).size(), 2u);
    // Two images without a buffer are not the same image.
    io::MemoryImage unreserved;
    AliasImage nowhere(nullptr);
    input.set(&unreserved);
    p.set(&nowhere);
    EXPECT_EQ(applyRules(p), Levels{});
    input.set(&second);
    expectRule<ImageModel*>(AddRuleCompare(CompareRelation::Equal, input), "must be the image of inputImage", {&second},
                            {&first, nullptr});
    NamedProperty<ImageModel*> q("p", &second);
    AddRuleCompare(CompareRelation::Less, input)(q);
    EXPECT_EQ(applyRules(q), refused({"The type of the rule is unknown."}));
}

TEST(WhenSet, AsksNothingOfWhatIsLeftOut) {
    io::MemoryImage image;
    io::MemoryImage mask;
    shape(image, {});
    NamedProperty<const ImageModel*> optional("inputMaskImage", nullptr);
    NamedProperty<const ImageModel*> input("inputImage", nullptr);
    addRules(optional, AddRuleWhenSet(AddRuleAssertImageNotEmpty()));
    addRules(input, AddRuleWhenSet(optional, AddRuleAssertSameSize(optional)));
    EXPECT_EQ(applyRules(optional), Levels{});
    EXPECT_EQ(applyRules(input), Levels{});
    optional.set(&mask);
    EXPECT_NE(applyRules(optional), Levels{}) << "an empty image";
    EXPECT_EQ(applyRules(input).front(), "The parameter \"inputImage\" must be set.");
    input.set(&image);
    EXPECT_NE(applyRules(input), Levels{}) << "extents differ";
    optional.set(&image);
    EXPECT_EQ(applyRules(input), Levels{});
    ASSERT_EQ(input.getImpl()->describeRules().size(), 1u);
    EXPECT_EQ(input.getImpl()->describeRules()[0].find("when \"inputMaskImage\" is set, "), 0u);
    EXPECT_EQ(optional.getImpl()->describeRules()[0].find("when set, "), 0u);
}

}  // namespace
}  // namespace rix::test
