// Formulas of images against a direct evaluation, and what is refused before any pixel is read.

#include <rix/manipulation/ImageFormula.h>

#include "GreyTestSupport.h"

namespace rix::manipulation::test {
namespace {

using testing::HasSubstr;

/// The formula of one voxel in the precision of a run.
template <class T>
struct Case {
    const char* formula;
    T (*value)(T a, T b, T c);
    std::uint64_t units = 0;
};

template <class T>
const Case<T> cases[] = {
    {"(a - b) / (a + b)", [](T a, T b, T) { return (a - b) / (a + b); }},
    {"a", [](T a, T, T) { return a; }},
    {"-b", [](T, T b, T) { return -b; }},
    {"1 - 2 - 3 + a", [](T a, T, T) { return T(-4) + a; }},
    {"2^3^2 * a", [](T a, T, T) { return T(512) * a; }},
    {"-a^2", [](T a, T, T) { return -static_cast<T>(std::pow(static_cast<long double>(a), 2)); }, 2},
    {"a * (b + c * (a - b * c))", [](T a, T b, T c) { return a * (b + c * (a - b * c)); }},
    {"min(a, b) + max(b, c)", [](T a, T b, T c) { return (b < a ? b : a) + (c > b ? c : b); }},
    {"(a > 3) * b + (a <= 3) * c", [](T a, T b, T c) { return T(a > 3) * b + T(a <= 3) * c; }},
    {"sqrt(abs(a)) + sqrt(c * c)", [](T a, T, T c) { return std::sqrt(std::abs(a)) + std::sqrt(c * c); }},
    {"exp(c / 100)", [](T, T, T c) { return static_cast<T>(std::exp(static_cast<long double>(c / 100))); }, 2},
    {"atan2(a, c)",
     [](T a, T, T c) { return static_cast<T>(std::atan2(static_cast<long double>(a), static_cast<long double>(c))); },
     4},
    {"7", [](T, T, T) { return T(7); }},
};

/// Small values of both signs with NaN, infinities and zeros where the type has them.
io::MemoryImage operand(VoxelTypes type, unsigned seed) {
    io::MemoryImage image =
        makeRandomImage({.voxelType = type, .extents = {331, 7, 1, 1, 1}}, seed,
                        helper::getSizeOf(type) > 4 || type == RIX_FLOAT32 ? Extremes::All : Extremes::None);
    rix::test::setDistinctCalibration(image);
    return image;
}

template <class T>
void expectCases(VoxelTypes typeA, VoxelTypes typeB, VoxelTypes typeC, ImageFormula::OutputType outputType) {
    const io::MemoryImage images[] = {operand(typeA, 1), operand(typeB, 2), operand(typeC, 3)};
    std::vector<T> samples[3];
    for (std::size_t i = 0; i < 3; ++i) {
        samples[i] = samplesOf<T>(images[i]);
    }
    for (const Case<T>& each : cases<T>) {
        SCOPED_TRACE(each.formula);
        ImageFormula algorithm;
        algorithm.setInputImage1(&images[0]);
        algorithm.setInputImage2(&images[1]);
        algorithm.setInputImage3(&images[2]);
        algorithm.setFormula(each.formula);
        algorithm.setOutputType(outputType);
        io::MemoryImage output;
        algorithm.setOutputImage(&output);
        const VoxelTypes type = outputType == algorithms::OutputType::FLOAT_32_BIT ? RIX_FLOAT32 : typeA;
        std::size_t i = 0;
        const io::MemoryImage expected = mapped(images[0], type, [&](long double) {
            const auto value = each.value(samples[0][i], samples[1][i], samples[2][i]);
            ++i;
            return static_cast<long double>(value);
        });
        onEveryLevel(algorithm,
                     [&] { EXPECT_TRUE(imagesEqual(expected, output, {.unitsInTheLastPlace = each.units})); });
    }
}

TEST(ImageFormula, EqualsADirectEvaluationInItsPrecision) {
    expectCases<float>(RIX_FLOAT32, RIX_FLOAT32, RIX_FLOAT32, ImageFormula::FLOAT_32_BIT);
    expectCases<float>(RIX_UINT8, RIX_INT16, RIX_FLOAT32, ImageFormula::FLOAT_32_BIT);
    expectCases<double>(RIX_FLOAT64, RIX_UINT8, RIX_FLOAT64, ImageFormula::SAME_AS_INPUT);
}

TEST(ImageFormula, RoundsToTheTypeOfTheFirstImage) {
    const io::MemoryImage a =
        rix::test::makeImage({.extents = {256, 1, 1, 1, 1}}, [](std::size_t c, auto...) { return c; });
    ImageFormula algorithm;
    io::MemoryImage output;
    algorithm.setInputImage1(&a);
    algorithm.setOutputImage(&output);
    algorithm.setOutputType(ImageFormula::SAME_AS_INPUT);
    algorithm.setFormula("a * 1.5 - 50 + 0 / a");
    onEveryLevel(algorithm, [&] {
        EXPECT_TRUE(
            imagesEqual(mapped(a, RIX_UINT8, [](long double v) { return v == 0 ? NAN : v * 1.5L - 50; }), output));
    });
}

TEST(ImageFormula, GivesBinaryImagesOfTruths) {
    const io::MemoryImage a = extremeImage(RIX_FLOAT32);
    io::MemoryImage b = makeRandomImage({.extents = {331, 7, 1, 1, 1}}, 4);
    b.setInterpretation(RIX_BINARY);
    const std::vector<float> x = samplesOf<float>(a);
    const std::vector<std::uint8_t> y = samplesOf<std::uint8_t>(b);
    struct Truth {
        const char* formula;
        bool (*holds)(float a, float b);
    };
    const Truth truths[] = {
        {"a < 1", [](float p, float) { return p < 1; }},
        {"1 <= a", [](float p, float) { return p >= 1; }},
        {"a == a", [](float p, float) { return p == p; }},
        {"a != a", [](float p, float) { return p != p; }},
        {"not a", [](float p, float) { return p == 0; }},
        {"not not a", [](float p, float) { return p != 0; }},
        {"a > 0 and b == 1 or a < -100", [](float p, float q) { return (p > 0 && q == 1) || p < -100; }},
        {"not a > 0 and not (b or a >= 50)", [](float p, float q) { return !(p > 0) && !(q != 0 || p >= 50); }},
        {"a + 1 > b * 2 + 1", [](float p, float q) { return p + 1 > q * 2 + 1; }},
        {"2 < 1", [](float, float) { return false; }},
    };
    for (const Truth& truth : truths) {
        SCOPED_TRACE(truth.formula);
        ImageFormula algorithm;
        io::MemoryImage output;
        algorithm.setInputImage1(&a);
        algorithm.setInputImage2(&b);
        algorithm.setFormula(truth.formula);
        algorithm.setOutputImage(&output);
        std::size_t i = 0;
        const io::MemoryImage expected = mapped(
            a, RIX_UINT8,
            [&](long double) {
                const bool holds = truth.holds(x[i], y[i] != 0 ? 1.0F : 0.0F);
                ++i;
                return holds ? 1.0L : 0.0L;
            },
            RIX_BINARY);
        EXPECT_EQ(algorithm.describe().outputs.size(), 1U);
        onEveryLevel(algorithm, [&] { EXPECT_TRUE(imagesEqual(expected, output)); });
    }
}

TEST(ImageFormula, TakesLongChains) {
    std::string text = "a";
    for (int i = 0; i < 2000; ++i) {
        text += i % 2 == 0 ? " + b" : " - b";
    }
    const io::MemoryImage a = makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {1000, 40, 1, 1, 1}}, 7);
    const io::MemoryImage b =
        rix::test::makeImage({.voxelType = RIX_FLOAT32, .extents = {1000, 40, 1, 1, 1}}, [](auto...) { return 2; });
    ImageFormula algorithm;
    algorithm.setInputImage1(&a);
    algorithm.setInputImage2(&b);
    algorithm.setFormula(text);
    io::MemoryImage output;
    algorithm.setOutputImage(&output);
    algorithm.run();
    EXPECT_TRUE(imagesEqual(a, output, {.absoluteTolerance = 1e-2}));
}

TEST(ImageFormula, IsRefusedBeforeAnyPixelIsRead) {
    std::string right = "a";
    for (int i = 0; i < 80; ++i) {
        right = "(a + 1) * (b + " + right + ')';
    }
    struct Refusal {
        std::string formula;
        const char* text;
    };
    const Refusal refusals[] = {
        {"a + c", "inputImage3"},
        {"a + e", "no image \"e\""},
        {"a +", "position 4, where the text ends"},
        {std::string(1001, '-') + 'a', "nested too deeply"},
        {right, "intermediate results"},
    };
    const io::MemoryImage image = makeRandomImage({.extents = {5, 4, 1, 1, 1}}, 1);
    for (const Refusal& refusal : refusals) {
        SCOPED_TRACE(refusal.formula.substr(0, 60));
        ImageFormula algorithm;
        io::MemoryImage output;
        algorithm.setInputImage1(&image);
        algorithm.setInputImage2(&image);
        algorithm.setOutputImage(&output);
        algorithm.setFormula(refusal.formula);
        const String info = rix::test::infoOf<RuleException>([&] { algorithm.run(); });
        EXPECT_THAT(info, testing::AllOf(HasSubstr("formula"), HasSubstr(refusal.text)));
    }
}

}  // namespace
}  // namespace rix::manipulation::test
