// Requests: what they may say, what formulas give, and what is refused before any pixel is read.

#include "ReferenceObjects.h"

namespace rix::individual_analysis {
namespace {

using namespace test_tools;
using std::numbers::pi;
using testing::HasSubstr;

/// Two by four pixels of 3 by 0.5 mm, one object, grey values 1, 2, 3, ...
struct Sample {
    io::MemoryImage labels = test::makeImage({.extents = {2, 4, 1, 1, 1}}, [](auto...) { return 1; });
    io::MemoryImage grey = test::makeImage({.voxelType = RIX_FLOAT32, .extents = {2, 4, 1, 1, 1}},
                                           [](std::size_t x, std::size_t y, auto...) { return 1 + x + 2 * y; });
    Sample() {
        labels.setSpacingOf(COLUMNS, 3.0);
        labels.setSpacingOf(ROWS, 0.5);
        labels.setSpatialUnitName("mm");
    }
};

TEST(Formulas, GiveValuesWithUnits) {
    struct Case {
        const char* request;
        const char* column;
        double value;
        const char* unit;
    };
    const double infinity = std::numeric_limits<double>::infinity();
    std::string sum = "PixelCount";  // chains of operators are of any length
    for (int i = 1; i < 1000; ++i) {
        sum += "+PixelCount";
    }
    const Case cases[] = {
        {" Area / PixelCount ", "Area/PixelCount", 1.5, "mm^2"},
        {"4*pi*Area/EquivalentDiameter^2", "4*pi*Area/EquivalentDiameter^2", pi * pi, ""},
        {"1-2-3+PixelCount", "1-2-3+PixelCount", 4, ""},
        {"-2^2", "-2^2", -4, ""},
        {"2^3^2", "2^3^2", 512, ""},
        {"2^-1", "2^-1", 0.5, ""},
        {"--PixelCount", "--PixelCount", 8, ""},
        {"1.5e1+.5+2.", "1.5e1+.5+2.", 17.5, ""},
        {"sqrt(Area)^2", "sqrt(Area)^2", 12, "mm^2"},
        {"cbrt(Area*EquivalentDiameter^1)", "cbrt(Area*EquivalentDiameter^1)", std::cbrt(12 * std::sqrt(48 / pi)),
         "mm"},
        {"Area^0.25", "Area^0.25", std::pow(12, 0.25), "mm^0.5"},
        {"Area^(1+1/2-1)", "Area^(1+1/2-1)", std::sqrt(12), "mm"},
        {"max(FeretMinimum,BoundingBoxSizeX)", "max(FeretMinimum,BoundingBoxSizeX)", 6, "mm"},
        {"min(2,3)+abs(-4)", "min(2,3)+abs(-4)", 6, ""},
        {"exp(log(2))+log10(100)", "exp(log(2))+log10(100)", 4, ""},
        {"sin(pi/2)+cos(0)+tan(0)", "sin(pi/2)+cos(0)+tan(0)", 2, ""},
        {"asin(1)+acos(1)+atan(1)", "asin(1)+acos(1)+atan(1)", 0.75 * pi, ""},
        {"atan2(Area,Area)", "atan2(Area,Area)", pi / 4, ""},
        {"PixelCount/(PixelCount-8)", "PixelCount/(PixelCount-8)", infinity, ""},
        {"Mean*Area", "Mean*Area", 54, "mm^2"},
        {"Percentile(75)-Percentile( 25 )", "Percentile(75)-Percentile(25)", 3.5, ""},
        {"Roundness = 4*Area/(pi*FeretMaximum^2)", "Roundness", 48 / (pi * 40), ""},
        {"Half = Twice/4, Twice = 2*Area", "Half", 6, "mm^2"},
        {"A = PixelCount, B = A + A, C = B + A, C*2", "C*2", 48, ""},
        {"Basic", "BarycenterX", 1.5, "mm"},
        {"Upright = FeretMinimumAngle", "Upright", pi / 2, "rad"},
        {"All", "Median", 4.5, ""},
        {"Area > EquivalentDiameter^2 and not PixelCount == 7", "Area>EquivalentDiameter^2 and not PixelCount==7", 0,
         ""},
        {"Large = (Area >= 2*Area - Area) * 3 or 0", "Large", 1, ""},
        {"1 < 2", "1<2", 1, ""},
        // Numbers without a unit are in that of what they are compared with.
        {"Area > 11.9 and -(3 + 1) < EquivalentDiameter", "Area>11.9 and-(3+1)<EquivalentDiameter", 1, ""},
        {"Area > 12.1 or not 12 == Area", "Area>12.1 or not 12==Area", 0, ""},
        {"PixelCount != 8", "PixelCount!=8", 0, ""},
        {"order = 2, orbit = order + 1", "orbit", 3, ""},
        {sum.c_str(), sum.c_str(), 8000, ""},
    };
    const Sample sample;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.request);
        const auto table = analyse(sample.labels, c.request, &sample.grey);
        const auto found = table->findColumn(c.column);
        ASSERT_TRUE(found.has_value()) << testing::PrintToString(table->getColumnInfo(2).name);
        EXPECT_EQ(table->getColumnInfo(*found).unit, c.unit);
        const double value = column(*table, c.column).at(0);
        EXPECT_TRUE(value == c.value || std::abs(value - c.value) <= 1e-14 * std::abs(c.value)) << value;
    }
}

TEST(Formulas, ThatAreNothingButAValueKeepWhatIsKnownOfIt) {
    const Sample sample;
    const auto whole = analyse(sample.labels, "BoundingBox");
    const auto alone = analyse(sample.labels, "BoundingBoxMaxX, Right = BoundingBoxMaxX, 2*BoundingBoxMaxX");
    const std::size_t column = whole->findColumn("BoundingBoxMaxX").value();
    for (const std::size_t c : {std::size_t{2}, std::size_t{3}}) {
        EXPECT_EQ(alone->getColumnType(c), vessel::ColumnType::INTEGER);
        EXPECT_EQ(alone->getColumnInfo(c).description, whole->getColumnInfo(column).description);
    }
    EXPECT_EQ(alone->getIntegers(3)[0], 1);
    EXPECT_EQ(alone->getColumnType(4), vessel::ColumnType::REAL);
}

TEST(Formulas, PresetsTakeWhatTheImagesHave) {
    const Sample sample;
    const auto flat = analyse(sample.labels, "All");
    EXPECT_TRUE(flat->findColumn("Perimeter"));
    EXPECT_FALSE(flat->findColumn("SurfaceArea"));
    EXPECT_FALSE(flat->findColumn("Mean"));
    EXPECT_TRUE(analyse(sample.labels, "Basic", &sample.grey)->findColumn("Mean"));
    const io::MemoryImage solid = test::makeRandomImage({.extents = {5, 4, 3, 1, 1}}, 3);
    const auto space = analyse(solid, "All");
    EXPECT_TRUE(space->findColumn("SurfaceArea"));
    EXPECT_FALSE(space->findColumn("Perimeter"));
}

/// An image that must not be read.
class Unread : public io::MemoryImage {
public:
    explicit Unread(const io::MemoryImage& image) : io::MemoryImage(image) {}
    bool getRowAt(size_t, RawData&, size_t, size_t, size_t, size_t, size_t) const override { return false; }
    bool getConstRowAt(size_t, ConstRawData&, size_t, size_t, size_t, size_t, size_t) const override {
        ADD_FAILURE() << "a pixel is read";
        return false;
    }
    bool readRowAt(size_t, RawData, size_t, size_t, size_t, size_t, size_t) const override {
        ADD_FAILURE() << "a pixel is read";
        return false;
    }
};

TEST(Formulas, AreRefusedBeforeAnyPixelIsRead) {
    struct Case {
        std::string request;
        std::vector<const char*> texts;
    };
    std::string chain = "F0 = PixelCount";
    for (int i = 1; i < 300; ++i) {
        chain.insert(0, "F" + std::to_string(i) + " = F" + std::to_string(i - 1) + ", ");
    }
    const Case cases[] = {
        {"Aera", {"no measure \"Aera\"; perhaps \"Area\" is meant", "Barycenter", "Basic"}},
        {"sqrt(Area", {"')' is expected at position 10, where the text ends"}},
        {"Volume", {"\"Volume\" does not exist for objects in the plane"}},
        {"A = B, B = C + 1, C = 2*A", {"circle", "\"A\", \"B\", \"C\""}},
        {"Area + FeretMaximum", {"units", "length is added to length^2"}},
        {"2^Area", {"an exponent is length^2"}},
        {"Area < FeretMaximum", {"units", "length^2 is compared with length"}},
        {"Area < PixelCount", {"units", "length^2 is compared with a plain number"}},
        {"Area and 1", {"an operand of and is length^2"}},
        {"not Area", {"an operand of not is length^2"}},
        {"1 < 2 < 3", {"position 7"}},
        {"and", {"a measure is expected at position 1"}},
        {std::string(1001, '-') + "1", {"nested too deeply"}},
        {"log(Area)", {"log", "length^2 instead of a plain number"}},
        {"sqrt(1, 2)", {"\"sqrt\" takes 1 operands, not 2"}},
        {"2*Barycenter", {"has several values", "BarycenterX, BarycenterY"}},
        {"Basic + 1", {"no measure \"Basic\"; a preset is no value of a formula"}},
        {"Area = 2*PixelCount", {"\"Area\"", "stands for something else"}},
        {"Area^(1/0)", {"the exponent of length^2 is not finite"}},
        {"Percentile(101)", {"Percentile(101)", "p from 0 to 100"}},
        {"Mean", {"inputIntensityImage"}},
        {"", {"cannot be read"}},
        {"Area,", {"position 6", "text ends"}},
        {"Fl\xC3\xA4"
         "che",
         {"position 3"}},
        {"Area\xA0+1", {"position 5"}},
        {std::string(5000, '(') + "1" + std::string(5000, ')'), {"nested too deeply"}},
        {std::string(200000, ' ') + "1", {"longer than"}},
        {std::string(90000, 'A'), {"no measure"}},
        {chain, {"nested by name"}},
    };
    const Sample sample;
    const Unread labels(sample.labels);
    const Unread grey(sample.grey);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.request.substr(0, 60));
        LabelAnalysis algorithm;
        algorithm.setInputLabelImage(&labels);
        const bool withoutGrey = std::string(c.texts[0]) == "inputIntensityImage";
        algorithm.setInputIntensityImage(withoutGrey ? nullptr : &grey);
        algorithm.setMeasures(c.request);
        if (const auto exception = test::failureOf<RuleException>([&] { algorithm.run(); })) {
            EXPECT_THAT(exception->getInfo(), HasSubstr("Rule error in property measures"));
            for (const char* text : c.texts) {
                EXPECT_THAT(exception->getInfo(), HasSubstr(text));
            }
        }
    }
}

}  // namespace
}  // namespace rix::individual_analysis
