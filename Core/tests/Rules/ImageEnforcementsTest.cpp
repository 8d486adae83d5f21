#include <rix/rules/ImageEnforcements.h>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

using Output = Property<ImageModel*>;
using Input = Property<const ImageModel*>;

/// An input that differs from the output in every respect, on properties of their own.
struct Pair {
    Pair() {
        shape(input, {{5, 4, 2, 1, 3}, RIX_UINT16, SINGLE, RIX_LABEL, RGB});
        for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES}) {
            const auto step = static_cast<double>(static_cast<int>(axis));  // so that no axis is like another
            EXPECT_TRUE(input.setSpacingOf(axis, 0.5 * (1.0 + step)));
            EXPECT_TRUE(input.setOriginOf(axis, 10.0 - step));
        }
        EXPECT_TRUE(input.setSpatialUnitName("mm") && input.setSequenceUnitName("s"));
        EXPECT_TRUE(input.setSpatialDirections({{-1, 0, 0}, {0, 1, 0}, {0, 0, 1}}));
        shape(output, {{2, 2, 1, 1, 1}, RIX_FLOAT32});
    }

    void expectCalibrated() const {
        for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES}) {
            EXPECT_EQ(output.getSpacingOf(axis), input.getSpacingOf(axis)) << axis;
            EXPECT_EQ(output.getOriginOf(axis), input.getOriginOf(axis)) << axis;
        }
        EXPECT_EQ(output.getSpatialUnitName(), "mm");
        EXPECT_EQ(output.getSequenceUnitName(), "s");
        EXPECT_TRUE(output.getSpatialDirections() == input.getSpatialDirections());
    }

    /// The levels of a failure without those in which an image describes itself and its model.
    Levels failure() {
        Levels levels = applyRules(p);
        std::erase_if(levels, [](const String& level) { return level.starts_with("Image ("); });
        return levels;
    }

    io::MemoryImage input;
    RecordingImage output;
    NamedProperty<const ImageModel*> inputImage{"inputImage", &input};
    NamedProperty<ImageModel*> p{"p", &output};
};

enum class Takes { Nothing, Calibration, Color, CalibrationAndColor };

/// One enforcement: what it makes of the output, and what it says when the image refuses.
struct Enforcement {
    std::function<void(Output&, const Input&)> add;
    String description;
    String expected;  // the output after it
    Takes takes;
    Levels levels;  // of the refusal, without the property's
    bool needsInput = true;
};

const String untouched = "(2, 2, 1, 1, 1, scalar, float32, value)";

const std::vector<Enforcement>& enforcements() {
    static const std::vector<Enforcement> all{
        {[](auto& p, auto&) { addRules(p, AddRuleEnforceType(RIX_INT8)); },
         "takes the data type int8",
         "(2, 2, 1, 1, 1, scalar, int8, value)",
         Takes::Nothing,
         {"The parameter \"p\" cannot be retyped to int8.", "The image is " + untouched + "."},
         false},
        {[](auto& p, auto&) { addRules(p, AddRuleEnforceInterpretation(RIX_BINARY)); },
         "becomes a binary image",
         "(2, 2, 1, 1, 1, scalar, float32, binary)",
         Takes::Nothing,
         {"Cannot change interpretation of the parameter \"p\" to binary.", "The image is " + untouched + "."},
         false},
        {[](auto& p, auto&) { addRules(p, AddRuleSetInterpretation(RIX_LABEL)); },
         "is re-interpreted as a label image",
         "(2, 2, 1, 1, 1, scalar, float32, label)",
         Takes::Nothing,
         {"The parameter \"p\" cannot be re-interpreted from value to label."},
         false},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameType(q)); },
         "takes the data type of inputImage",
         "(2, 2, 1, 1, 1, scalar, uint16, value)",
         Takes::Nothing,
         {"The image cannot be retyped.",
          "The parameter \"p\" cannot be retyped to fit the parameter \"inputImage\"."}},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameInterpretation(q)); },
         "takes the interpretation of inputImage",
         "(2, 2, 1, 1, 1, scalar, float32, label)",
         Takes::Nothing,
         {"Cannot set the image interpretation.",
          "The parameter \"p\" cannot be interpreted like the parameter \"inputImage\"."}},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameColorInterpretation(q)); },
         "takes the color interpretation of inputImage",
         untouched,
         Takes::Color,
         {"The parameter \"p\" cannot be interpreted like the parameter \"inputImage\".",
          "The color interpretation is unknown and cannot be set to RGB."}},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameCalibration(q)); },
         "takes the calibration of inputImage",
         untouched,
         Takes::Calibration,
         {"Cannot set the image spacing.",
          "The spacing on the axis \"columns\" cannot be set to 0.5 for the parameter \"p\" to fit the parameter "
          "\"inputImage\"."}},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameSizeAndCalibration(q)); },
         "takes size and calibration of inputImage",
         "(5, 4, 2, 1, 3, scalar, float32, value)",
         Takes::Calibration,
         {"The image cannot be resized.",
          "The parameter \"p\" cannot be resized to fit dimensions of the parameter \"inputImage\"."}},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameSizeCalibrationAndType(q)); },
         "takes size, calibration and data type of inputImage",
         "(5, 4, 2, 1, 3, scalar, uint16, value)",
         Takes::Calibration,
         {"The image cannot be resized.",
          "The parameter \"p\" cannot be resized and retyped to fit the parameter \"inputImage\"."}},
        {[](auto& p, auto& q) { AddRuleEnforceImage(ImageCheck{RIX_INT32, q, RIX_BINARY})(p); },
         "takes shape and calibration of inputImage with the data type int32 as a binary image",
         "(5, 4, 2, 1, 3, scalar, int32, binary)",
         Takes::CalibrationAndColor,
         {"The image cannot be resized.",
          "The parameter \"p\" cannot be resized and retyped to fit the parameter \"inputImage\" with the data type "
          "int32.",
          "\"p\" is " + untouched + "; \"inputImage\" is (5, 4, 2, 1, 3, scalar, uint16, label)."}},
    };
    return all;
}

TEST(Enforcements, ShapeAnOutputOnceAndSayWhatItRefuses) {
    for (const auto& test : enforcements()) {
        SCOPED_TRACE(test.description);
        Pair pair;
        test.add(pair.p, pair.inputImage);
        EXPECT_EQ(pair.p.getImpl()->describeRules(), Levels{test.description});
        pair.output.m_refusesAll = true;
        EXPECT_EQ(pair.failure(), refused(test.levels));
        EXPECT_EQ(helper::describeImage(pair.output), untouched);

        pair.output.m_refusesAll = false;
        pair.p.getImpl()->lock(true);  // a locked property's image can be shaped
        EXPECT_EQ(applyRules(pair.p), Levels{});
        EXPECT_EQ(helper::describeImage(pair.output), test.expected);
        const bool isColored = test.takes == Takes::Color || test.takes == Takes::CalibrationAndColor;
        EXPECT_EQ(pair.output.getColorInterpretation(), isColored ? RGB : UNKNOWN);
        if (test.takes == Takes::Calibration || test.takes == Takes::CalibrationAndColor) {
            pair.expectCalibrated();
        } else {
            EXPECT_EQ(pair.output.getSpacingOf(COLUMNS), 0.0);
        }

        // A second pass has nothing to do: not even an image that refuses every change notices it.
        pair.output.m_calls.clear();
        pair.output.m_refusesAll = true;
        EXPECT_EQ(applyRules(pair.p), Levels{});
        EXPECT_EQ(pair.output.m_calls, Levels{});

        pair.p.getImpl()->lock(false);
        if (test.needsInput) {
            pair.inputImage.set(nullptr);
            EXPECT_EQ(applyRules(pair.p), refused({"The parameter \"inputImage\" must be set."}));
        }
        pair.p.set(nullptr);
        EXPECT_EQ(applyRules(pair.p), refused({"The parameter \"p\" must be set."}));
    }
}

TEST(Enforcements, NameWhatFailsAndStopThere) {
    const String end = " for the parameter \"p\" to fit the parameter \"inputImage\".";
    const struct {
        const char* part;
        bool byImageCheck;
        Levels levels;
    } cases[] = {
        {"origin columns",
         false,
         {"Cannot set the image origin.", "The origin on the axis \"columns\" cannot be set to 10" + end}},
        {"color",
         true,
         {"The color interpretation of the model image cannot be updated.",
          "\"p\" has unknown and cannot be set to RGB."}},
        {"interpretation",
         true,
         {"The model image cannot be re-interpreted into \"LABEL\".",
          "\"p\" is (5, 4, 2, 1, 3, scalar, int32, value)."}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.part);
        Pair pair;
        pair.output.m_refused = {test.part};
        if (test.byImageCheck) {
            AddRuleEnforceImage(ImageCheck{RIX_INT32, pair.inputImage, RIX_LABEL})(pair.p);
        } else {
            AddRuleEnforceSameSizeCalibrationAndType{pair.inputImage}(pair.p);
        }
        EXPECT_EQ(pair.failure(), refused(test.levels));
        EXPECT_EQ(pair.output.getNumOf(COLUMNS), 5u) << "as far as it got";
    }
}

TEST(RuleEnforceImage, CanBeAppliedAloneAndKeepsAnInterpretationThatNobodyAskedFor) {
    Pair pair;
    shape(pair.input, {.elementType = VECTOR_2, .interpretation = RIX_LABEL});
    ApplyRuleEnforceImage enforce(ImageCheck{RIX_FLOAT32, pair.inputImage});
    pair.p.getImpl()->disable();
    enforce(pair.p);
    EXPECT_EQ(helper::describeImage(pair.output), untouched);
    pair.p.getImpl()->enable(true);
    enforce(pair.p);
    EXPECT_EQ(helper::describeImage(pair.output), "(4, 3, 1, 1, 1, 2-Vector, float32, value)");
    // Nothing but the element type differs.
    shape(pair.input, {});
    enforce(pair.p);
    EXPECT_EQ(helper::describeImage(pair.output), "(4, 3, 1, 1, 1, scalar, float32, value)");
}

TEST(Enforcements, NeverDestroyAnInput) {
    io::MemoryImage image;
    shape(image, {});
    for (std::uint8_t i = 0; i < 12; ++i) {
        image.getInternalBuffer()[i] = i;
    }
    NamedProperty<const ImageModel*> inputImage("inputImage", &image);
    const auto expectSamples = [&] {
        EXPECT_EQ(helper::describeImage(image), "(4, 3, 1, 1, 1, scalar, uint8, value)");
        for (std::uint8_t i = 0; i < 12; ++i) {
            EXPECT_EQ(image.getInternalBuffer()[i], i);
        }
    };
    // In place: the output is the input and has its type.
    NamedProperty<ImageModel*> p("p", &image);
    AddRuleEnforceSameSizeCalibrationAndType{inputImage}(p);
    AddRuleEnforceImage(ImageCheck{RIX_UINT8, inputImage})(p);
    EXPECT_EQ(applyRules(p), Levels{});
    expectSamples();
    // Another type would cost the samples.
    AddRuleEnforceImage(ImageCheck{RIX_INT16, inputImage})(p);
    EXPECT_EQ(applyRules(p).at(0), "Both are the same image, whose samples would be lost.");
    expectSamples();
    const ImageModelSizeProxy part(static_cast<const ImageModel*>(&image), {1, 1, 0, 0, 0}, {2, 2, 1, 1, 1});
    inputImage.set(&part);
    EXPECT_EQ(applyRules(p).at(0), "The image cannot be resized.");
    NamedProperty<ImageModel*> q("q", &image);
    AddRuleEnforceImage(ImageCheck{RIX_UINT8, inputImage})(q);
    EXPECT_EQ(applyRules(q).at(0), "The images share samples, which would be lost.");
    expectSamples();
}

/// Has no memory for more than 100 bytes.
class SmallImage : public io::MemoryImage {
public:
    void allocateInternalBuffer(std::size_t bytes) override {
        if (bytes > 100) {
            throw std::bad_alloc();
        }
        MemoryImage::allocateInternalBuffer(bytes);
    }
};

TEST(Enforcements, AnOutputThatLostItsSamplesIsShapedAgainByTheNextRun) {
    for (const bool byImageCheck : {false, true}) {
        SmallImage output;
        io::MemoryImage small;
        io::MemoryImage large;
        shape(output, {});
        shape(small, {});
        shape(large, {.extents = {101, 3, 1, 1, 1}});
        NamedProperty<const ImageModel*> inputImage("inputImage", &large);
        NamedProperty<ImageModel*> p("p", &output);
        if (byImageCheck) {
            AddRuleEnforceImage(ImageCheck{RIX_UINT8, inputImage})(p);
        } else {
            AddRuleEnforceSameSizeCalibrationAndType{inputImage}(p);
        }
        EXPECT_NE(applyRules(p), Levels{});
        EXPECT_EQ(output.getNumOf(COLUMNS), 0u) << "samples that are gone";
        // The shape that the output had before it failed.
        inputImage.set(&small);
        EXPECT_EQ(applyRules(p), Levels{});
        RawData row = nullptr;
        EXPECT_TRUE(output.getRowAt(4, row, 0, 2, 0, 0, 0));
    }
}

}  // namespace
}  // namespace rix::test
