#include <cmath>
#include <functional>
#include <limits>
#include <new>

#include <rix/image/ImageModelSizeProxy.h>
#include <rix/rules/ImageEnforcements.h>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

using Output = Property<ImageModel*>;
using Input = Property<const ImageModel*>;

struct CalibrationTraits {
    double spacing = 0.0;
    double origin = 0.0;
    String spatialUnit{};
    String sequenceUnit{};
    bool turned = false;
};

void calibrate(ImageModel& image, const CalibrationTraits& traits) {
    for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES}) {
        const auto step = static_cast<double>(static_cast<int>(axis));  // so that no axis is like another
        ASSERT_TRUE(image.setSpacingOf(axis, traits.spacing * (1.0 + step)));
        ASSERT_TRUE(image.setOriginOf(axis, traits.origin - step));
    }
    ASSERT_TRUE(image.setSpatialUnitName(traits.spatialUnit));
    ASSERT_TRUE(image.setSequenceUnitName(traits.sequenceUnit));
    vessel::SpatialDirections directions;
    if (traits.turned) {
        directions.columnDirection[0] = -1.0;
    }
    ASSERT_TRUE(image.setSpatialDirections(directions));
}

void expectCalibration(const ImageModel& image, const ImageModel& expected) {
    for (const Components axis : {COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES}) {
        EXPECT_EQ(image.getSpacingOf(axis), expected.getSpacingOf(axis)) << axis;
        EXPECT_EQ(image.getOriginOf(axis), expected.getOriginOf(axis)) << axis;
    }
    EXPECT_EQ(image.getSpatialUnitName(), expected.getSpatialUnitName());
    EXPECT_EQ(image.getSequenceUnitName(), expected.getSequenceUnitName());
    EXPECT_TRUE(image.getSpatialDirections() == expected.getSpatialDirections());
}

const ImageTraits inputTraits{{5, 4, 2, 1, 3}, RIX_UINT16, SINGLE, RIX_LABEL, RGB};
const CalibrationTraits inputCalibration{0.5, 10.0, "mm", "s", true};

// The levels of a failure without those in which an image describes itself and its model.
Levels ruleLevels(BaseProperty& property) {
    Levels levels = applyRules(property);
    std::erase_if(levels, [](const String& level) { return level.starts_with("Image ("); });
    return levels;
}

/// One enforcement: what it makes of an output, which is of another kind in every respect, and what it says when the
/// image refuses.
struct Enforcement {
    std::function<void(Output&, const Input&)> add;
    String description;
    String expected;  // the output after it
    bool calibrated;  // whether it has the input's calibration
    bool colored;     // whether it has the input's colour interpretation
    Levels levels;    // of the refusal, without the property's
    bool needsInput = true;
};

const char* const untouched = "(2, 2, 1, 1, 1, scalar, float32, value)";
const String both =
    "\"p\" is (2, 2, 1, 1, 1, scalar, float32, value); \"inputImage\" is (5, 4, 2, 1, 3, scalar, "
    "uint16, label).";

const std::vector<Enforcement>& enforcements() {
    static const std::vector<Enforcement> all{
        {[](auto& p, auto&) { addRules(p, AddRuleEnforceType(RIX_INT8)); },
         "takes the data type int8",
         "(2, 2, 1, 1, 1, scalar, int8, value)",
         false,
         false,
         {"The parameter \"p\" cannot be retyped to int8.", String("The image is ") + untouched + "."},
         false},
        {[](auto& p, auto&) { addRules(p, AddRuleEnforceInterpretation(RIX_BINARY)); },
         "becomes a binary image",
         "(2, 2, 1, 1, 1, scalar, float32, binary)",
         false,
         false,
         {"Cannot change interpretation of the parameter \"p\" to binary.", String("The image is ") + untouched + "."},
         false},
        {[](auto& p, auto&) { addRules(p, AddRuleSetInterpretation(RIX_LABEL)); },
         "is re-interpreted as a label image",
         "(2, 2, 1, 1, 1, scalar, float32, label)",
         false,
         false,
         {"The parameter \"p\" cannot be re-interpreted from value to label."},
         false},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameType(q)); },
         "takes the data type of inputImage",
         "(2, 2, 1, 1, 1, scalar, uint16, value)",
         false,
         false,
         {"The image cannot be retyped.",
          "The parameter \"p\" cannot be retyped to fit the parameter \"inputImage\"."}},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameInterpretation(q)); },
         "takes the interpretation of inputImage",
         "(2, 2, 1, 1, 1, scalar, float32, label)",
         false,
         false,
         {"Cannot set the image interpretation.",
          "The parameter \"p\" cannot be interpreted like the parameter \"inputImage\"."}},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameColorInterpretation(q)); },
         "takes the color interpretation of inputImage",
         untouched,
         false,
         true,
         {"The parameter \"p\" cannot be interpreted like the parameter \"inputImage\".",
          "The color interpretation is unknown and cannot be set to RGB."}},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameCalibration(q)); },
         "takes the calibration of inputImage",
         untouched,
         true,
         false,
         {"Cannot set the image spacing.",
          "The spacing on the axis \"columns\" cannot be set to 0.5 for the parameter \"p\" to fit the parameter "
          "\"inputImage\"."}},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameSizeAndCalibration(q)); },
         "takes size and calibration of inputImage",
         "(5, 4, 2, 1, 3, scalar, float32, value)",
         true,
         false,
         {"The image cannot be resized.",
          "The parameter \"p\" cannot be resized to fit dimensions of the parameter \"inputImage\"."}},
        {[](auto& p, auto& q) { addRules(p, AddRuleEnforceSameSizeCalibrationAndType(q)); },
         "takes size, calibration and data type of inputImage",
         "(5, 4, 2, 1, 3, scalar, uint16, value)",
         true,
         false,
         {"The image cannot be resized.",
          "The parameter \"p\" cannot be resized and retyped to fit the parameter \"inputImage\"."}},
        {[](auto& p, auto& q) {
             AddRuleEnforceImage(ImageCheck{RIX_INT32, q, RIX_BINARY})(p);
         },
         "takes shape and calibration of inputImage with the data type int32 as a binary image",
         "(5, 4, 2, 1, 3, scalar, int32, binary)",
         true,
         true,
         {"The image cannot be resized.",
          "The parameter \"p\" cannot be resized and retyped to fit the parameter \"inputImage\" with the data type "
          "int32.",
          both}},
    };
    return all;
}

TEST(Enforcements, ShapeAnOutputOnceAndLeaveAMatchingOneAlone) {
    for (const auto& test : enforcements()) {
        SCOPED_TRACE(test.description);
        io::MemoryImage input;
        shape(input, inputTraits);
        calibrate(input, inputCalibration);
        RecordingImage output;
        shape(output, {{2, 2, 1, 1, 1}, RIX_FLOAT32});
        NamedProperty<const ImageModel*> inputImage("inputImage", &input);
        NamedProperty<ImageModel*> p("p", &output);
        test.add(p, inputImage);
        EXPECT_EQ(p.getImpl()->describeRules(), Levels{test.description});

        p.getImpl()->lock(true);  // a locked property's image can be shaped
        EXPECT_EQ(applyRules(p), Levels{});
        EXPECT_EQ(helper::describeImage(output), test.expected);
        EXPECT_EQ(output.getColorInterpretation(), test.colored ? RGB : UNKNOWN);
        if (test.calibrated) {
            expectCalibration(output, input);
        } else {
            EXPECT_EQ(output.getSpacingOf(COLUMNS), 0.0);
        }

        // A second pass has nothing to do: not even an image that refuses every change notices it.
        output.m_calls.clear();
        output.m_refuses = true;
        EXPECT_EQ(applyRules(p), Levels{});
        EXPECT_EQ(output.m_calls, Levels{});
    }
}

TEST(Enforcements, SayWhatAnImageRefuses) {
    for (const auto& test : enforcements()) {
        SCOPED_TRACE(test.description);
        io::MemoryImage input;
        shape(input, inputTraits);
        calibrate(input, inputCalibration);
        RecordingImage output;
        shape(output, {{2, 2, 1, 1, 1}, RIX_FLOAT32});
        output.m_refuses = true;
        NamedProperty<const ImageModel*> inputImage("inputImage", &input);
        NamedProperty<ImageModel*> p("p", &output);
        test.add(p, inputImage);
        EXPECT_EQ(ruleLevels(p), refused(test.levels));
        EXPECT_EQ(helper::describeImage(output), untouched);
        inputImage.set(nullptr);
        EXPECT_EQ(applyRules(p),
                  test.needsInput ? refused({"The parameter \"inputImage\" must be set."}) : refused(test.levels));
        p.set(nullptr);
        EXPECT_EQ(applyRules(p), refused({"The parameter \"p\" must be set."}));
    }
}

// Refuses one setter only.
class RefusesOne : public io::MemoryImage {
public:
    explicit RefusesOne(String refused) : m_refused(std::move(refused)) {}
    bool setOriginOf(const Components& c, double v) override {
        return m_refused != "origin" && MemoryImage::setOriginOf(c, v);
    }
    bool setSpatialUnitName(const String& v) override {
        return m_refused != "spatial unit" && MemoryImage::setSpatialUnitName(v);
    }
    bool setSequenceUnitName(const String& v) override {
        return m_refused != "sequence unit" && MemoryImage::setSequenceUnitName(v);
    }
    bool setSpatialDirections(const vessel::SpatialDirections& v) override {
        return m_refused != "directions" && MemoryImage::setSpatialDirections(v);
    }
    bool setColorInterpretation(ColorInterpretation v) override {
        return m_refused != "color" && MemoryImage::setColorInterpretation(v);
    }
    bool setInterpretation(const Interpretations& v) override {
        return m_refused != "interpretation" && MemoryImage::setInterpretation(v);
    }

private:
    String m_refused;
};

TEST(Enforcements, NameThePartOfTheCalibrationThatFails) {
    const struct {
        const char* part;
        const char* cause;
        const char* text;
    } cases[] = {
        {"origin", "Cannot set the image origin.", "The origin on the axis \"columns\" cannot be set to 10"},
        {"spatial unit", "Cannot set the spatial unit name.", "The spatial unit name cannot be set to \"mm\""},
        {"directions", "Cannot set the spatial axis system.", "The spatial axis system cannot be set"},
        {"sequence unit", "Cannot set the sequence unit name.", "The sequence unit name cannot be set to \"s\""}};
    for (const auto& test : cases) {
        io::MemoryImage input;
        shape(input, inputTraits);
        calibrate(input, inputCalibration);
        RefusesOne output(test.part);
        NamedProperty<const ImageModel*> inputImage("inputImage", &input);
        NamedProperty<ImageModel*> p("p", &output);
        AddRuleEnforceSameSizeCalibrationAndType{inputImage}(p);
        const String end = " for the parameter \"p\" to fit the parameter \"inputImage\".";
        EXPECT_EQ(ruleLevels(p), refused({test.cause, test.text + end}));
        // As far as it got: the image has its new shape.
        EXPECT_EQ(helper::describeImage(output), "(5, 4, 2, 1, 3, scalar, uint16, value)");
    }
}

TEST(RuleEnforceImage, SaysWhichInterpretationFails) {
    const std::pair<const char*, Levels> cases[] = {{"color",
                                                     {"The color interpretation of the model image cannot be updated.",
                                                      "\"p\" has unknown and cannot be set to RGB."}},
                                                    {"interpretation",
                                                     {"The model image cannot be re-interpreted into \"LABEL\".",
                                                      "\"p\" is (5, 4, 2, 1, 3, scalar, int32, value)."}}};
    for (const auto& [part, levels] : cases) {
        io::MemoryImage input;
        shape(input, inputTraits);
        RefusesOne output(part);
        NamedProperty<const ImageModel*> inputImage("inputImage", &input);
        NamedProperty<ImageModel*> p("p", &output);
        ApplyRuleEnforceImage enforce(ImageCheck{RIX_INT32, inputImage, RIX_LABEL});
        p.getImpl()->disable();
        enforce(p);
        EXPECT_EQ(output.getNumOf(COLUMNS), 0u);
        p.getImpl()->enable(true);
        Levels texts;
        try {
            enforce(p);
        } catch (const RuleException& exception) {
            for (const auto& level : exception.getLevels()) {
                texts.push_back(level.message);
            }
        }
        EXPECT_EQ(texts, refused(levels));
    }
}

TEST(RuleEnforceImage, TakesElementTypeAndKeepsAnInterpretationThatNobodyAskedFor) {
    io::MemoryImage input;
    shape(input, {.elementType = VECTOR_2, .interpretation = RIX_LABEL});
    io::MemoryImage output;
    NamedProperty<const ImageModel*> inputImage("inputImage", &input);
    NamedProperty<ImageModel*> p("p", &output);
    AddRuleEnforceImage(ImageCheck{RIX_FLOAT32, inputImage})(p);
    EXPECT_EQ(applyRules(p), Levels{});
    EXPECT_EQ(helper::describeImage(output), "(4, 3, 1, 1, 1, 2-Vector, float32, value)");
    // Nothing but the element type differs.
    shape(input, {});
    EXPECT_EQ(applyRules(p), Levels{});
    EXPECT_EQ(helper::describeImage(output), "(4, 3, 1, 1, 1, scalar, float32, value)");
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
    const auto levels = applyRules(p);
    ASSERT_EQ(levels.size(), 4u);
    EXPECT_EQ(levels[0], "Both are the same image, whose samples would be lost.");
    EXPECT_EQ(levels[1],
              "The parameter \"p\" cannot be resized and retyped to fit the parameter \"inputImage\" with "
              "the data type int16.");
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
    const std::function<void(const Property<const ImageModel*>&, Property<ImageModel*>&)> adders[] = {
        [](const auto& input, auto& output) { AddRuleEnforceSameSizeCalibrationAndType{input}(output); },
        [](const auto& input, auto& output) {
            AddRuleEnforceImage(ImageCheck{RIX_UINT8, input})(output);
        },
    };
    for (const auto& addRule : adders) {
        SmallImage output;
        shape(output, {});
        io::MemoryImage large;
        shape(large, {.extents = {101, 3, 1, 1, 1}});
        NamedProperty<const ImageModel*> inputImage("inputImage", &large);
        NamedProperty<ImageModel*> p("p", &output);
        addRule(inputImage, p);
        EXPECT_NE(applyRules(p), Levels{});
        EXPECT_EQ(output.getNumOf(COLUMNS), 0u) << "samples that are gone";
        // The shape that the output had before it failed.
        io::MemoryImage small;
        shape(small, {});
        inputImage.set(&small);
        EXPECT_EQ(applyRules(p), Levels{});
        RawData row = nullptr;
        EXPECT_TRUE(output.getRowAt(4, row, 0, 2, 0, 0, 0));
    }
}

TEST(Enforcements, NaNInTheCalibrationIsCopied) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    io::MemoryImage input;
    shape(input, {});
    ASSERT_TRUE(input.setSpacingOf(ROWS, nan));
    io::MemoryImage output;
    NamedProperty<const ImageModel*> inputImage("inputImage", &input);
    NamedProperty<ImageModel*> p("p", &output);
    AddRuleEnforceSameCalibration{inputImage}(p);
    EXPECT_EQ(applyRules(p), Levels{});
    EXPECT_TRUE(std::isnan(output.getSpacingOf(ROWS)));
}

}  // namespace
}  // namespace rix::test
