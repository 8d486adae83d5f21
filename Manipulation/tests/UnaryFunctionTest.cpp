// Functions against those of the language in extended precision, over samples of the whole range of both real types.

#include <rix/manipulation/UnaryFunction.h>

#include "FormulaKernels.h"
#include "GreyTestSupport.h"
#include "MathKernels.h"

namespace rix::manipulation::test {
namespace {

using Real = long double;

Real signOf(Real v) {
    return v > 0 ? 1 : v < 0 ? -1 : v;
}

struct FunctionCase {
    UnaryFunction::Function function;
    Real (*value)(Real);
    double unitsOfDouble;  ///< that the results may be off; 0.5 is correct rounding
};

const FunctionCase functionCases[] = {
    {UnaryFunction::ABSOLUTE, [](Real v) { return std::abs(v); }, 0.5},
    {UnaryFunction::SQUARE_ROOT, [](Real v) { return std::sqrt(v); }, 0.51},
    {UnaryFunction::EXPONENTIAL, [](Real v) { return std::exp(v); }, 2},
    {UnaryFunction::LOGARITHM, [](Real v) { return std::log(v); }, 2},
    {UnaryFunction::SINE, [](Real v) { return std::sin(v); }, 2},
    {UnaryFunction::COSINE, [](Real v) { return std::cos(v); }, 2},
    {UnaryFunction::TANGENT, [](Real v) { return std::tan(v); }, 2},
    {UnaryFunction::ARC_SINE, [](Real v) { return std::asin(v); }, 2},
    {UnaryFunction::ARC_COSINE, [](Real v) { return std::acos(v); }, 2},
    {UnaryFunction::ARC_TANGENT, [](Real v) { return std::atan(v); }, 2},
    {UnaryFunction::LOGARITHM_2, [](Real v) { return std::log2(v); }, 2},
    {UnaryFunction::LOGARITHM_10, [](Real v) { return std::log10(v); }, 2},
    {UnaryFunction::CUBE_ROOT, [](Real v) { return std::cbrt(v); }, 2},
    {UnaryFunction::SQUARE, [](Real v) { return v * v; }, 0.51},
    {UnaryFunction::RECIPROCAL, [](Real v) { return 1 / v; }, 0.51},
    {UnaryFunction::SIGN, signOf, 0.5},
    {UnaryFunction::FLOOR, [](Real v) { return std::floor(v); }, 0.5},
    {UnaryFunction::CEILING, [](Real v) { return std::ceil(v); }, 0.5},
    {UnaryFunction::ROUND, [](Real v) { return std::nearbyint(v); }, 0.5},
    {UnaryFunction::TRUNCATE, [](Real v) { return std::trunc(v); }, 0.5},
};

/// How many units in its last place a result is off; infinite where one is special and the other is not.
template <class T>
double unitsOff(Real expected, T actual) {
    const T rounded = static_cast<T>(expected);
    if (std::isnan(rounded) || std::isnan(actual)) {
        return std::isnan(rounded) && std::isnan(actual) ? 0.0 : INFINITY;
    }
    if (rounded == actual) {
        return std::signbit(rounded) == std::signbit(actual) ? 0.0 : INFINITY;
    }
    if (std::isinf(rounded) != std::isinf(actual)) {
        return INFINITY;
    }
    int exponent = 0;
    static_cast<void>(std::frexp(expected, &exponent));
    const int last = std::max(exponent - std::numeric_limits<T>::digits,
                              std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits);
    return static_cast<double>(std::ldexp(std::abs(static_cast<Real>(actual) - expected), -last));
}

/// Bits at random, numbers around 1, near multiples of pi/2, halves, large angles, and what is special.
template <class T>
std::vector<T> hardValues() {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    using Limits = std::numeric_limits<T>;
    std::mt19937_64 random(42);
    std::vector<T> values{T(0),
                          T(-0.0),
                          T(1),
                          T(-1),
                          T(0.5),
                          T(-0.5),
                          T(1.5),
                          T(2.5),
                          T(8),
                          T(1000),
                          T(1e-3),
                          Limits::max(),
                          Limits::lowest(),
                          Limits::min(),
                          Limits::denorm_min(),
                          -Limits::denorm_min(),
                          Limits::infinity(),
                          -Limits::infinity(),
                          Limits::quiet_NaN(),
                          T(88.72),
                          T(-103.9),
                          T(709.78),
                          T(-745.1),
                          T(6381956970095103.0 * 0x1p797)};
    for (int i = 0; i < 30000; ++i) {
        values.push_back(std::bit_cast<T>(static_cast<Bits>(random())));
        std::uniform_real_distribution<T> around(T(-1.5), T(1.5));
        values.push_back(around(random));
        values.push_back(T(1) + around(random) / T(1000));
        values.push_back(around(random) * T(700));
        values.push_back(static_cast<T>(std::round(around(random) * 1000) * 1.5707963267948966L));
        values.push_back(static_cast<T>(std::ldexp(around(random), static_cast<int>(random() % 120))));
        values.push_back(static_cast<T>(std::round(around(random) * 100)) + T(0.5));
    }
    return values;
}

template <class T>
void expectWithinUnits(const std::vector<T>& values, const FunctionCase& each, double units) {
    std::vector<T> reference;
    for (const OptimLevelType level : rix::test::runnableLevels()) {
        std::vector<T> results(values.size());
        mathRow<T>(static_cast<MathFunction>(each.function), level)(values.data(), results.data(), values.size());
        if (level == SCALAR) {
            reference = results;
            double worst = 0;
            T at = 0;
            for (std::size_t i = 0; i < values.size(); ++i) {
                const double off = unitsOff<T>(each.value(static_cast<Real>(values[i])), results[i]);
                if (off > worst) {
                    worst = off;
                    at = values[i];
                }
            }
            EXPECT_LE(worst, units) << "at " << std::hexfloat << at;
            ::testing::Test::RecordProperty(std::to_string(each.function) + (sizeof(T) == 4 ? "f" : "d"),
                                            std::to_string(worst));
        }
        for (std::size_t i = 0; i < values.size(); ++i) {
            const bool same = std::isnan(reference[i]) ? std::isnan(results[i])
                                                       : std::memcmp(&reference[i], &results[i], sizeof(T)) == 0;
            ASSERT_TRUE(same) << "level " << level << " at " << std::hexfloat << values[i];
        }
    }
}

TEST(UnaryFunction, IsWithinItsErrorAndTheSameOnEveryLevel) {
    const std::vector<float> floats = hardValues<float>();
    const std::vector<double> doubles = hardValues<double>();
    for (const FunctionCase& each : functionCases) {
        SCOPED_TRACE(UnaryFunction::getInfoFunction().getLabelFromValue(each.function));
        expectWithinUnits(floats, each, each.unitsOfDouble > 1 ? 1.0 : each.unitsOfDouble);
        expectWithinUnits(doubles, each, each.unitsOfDouble);
    }
}

TEST(UnaryFunction, PowersAreWithinTwoUnits) {
    std::mt19937_64 random(7);
    std::vector<double> bases{0, -0.0, 1, -1, 2, -2, INFINITY, -INFINITY, NAN, 0.5, 1e-310, -8, 3, 1e300};
    std::vector<double> exponents{0,        -0.0,      1,   -1,    2,      3,       -3, 0.5,
                                  INFINITY, -INFINITY, NAN, 1e300, -1e300, 1.0 / 3, 53, 1e-300};
    std::vector<double> x;
    std::vector<double> y;
    for (const double base : bases) {
        for (const double exponent : exponents) {
            x.push_back(base);
            y.push_back(exponent);
        }
    }
    std::uniform_real_distribution<double> share(0, 1);
    for (int i = 0; i < 100000; ++i) {
        const double logarithm = (share(random) - 0.5) * (i % 2 == 0 ? 1400 : 2);
        x.push_back(std::exp(logarithm));
        y.push_back((share(random) - 0.5) * 1400 / logarithm);
    }
    for (const OptimLevelType level : rix::test::runnableLevels()) {
        std::vector<double> results(x.size());
        binaryRow<double>(BinaryOperation::Power, RowOperands::Both, level)(x.data(), y.data(), results.data(),
                                                                            x.size());
        for (std::size_t i = 0; i < x.size(); ++i) {
            const Real expected = std::pow(static_cast<Real>(x[i]), static_cast<Real>(y[i]));
            ASSERT_LE(unitsOff<double>(expected, results[i]), 2.0) << x[i] << " ^ " << y[i] << " level " << level;
        }
    }
}

TEST(UnaryFunction, KeepsIntegerTypesWhereResultsAreIntegers) {
    for (const VoxelTypes type : realTypes) {
        const bool throughTable = type == RIX_UINT16;
        const io::MemoryImage image = extremeImage(type, {throughTable ? 60000U : 331U, 7, 1, 1, 1});
        for (const FunctionCase& each : functionCases) {
            const bool keeps = each.unitsOfDouble == 0.5;
            const VoxelTypes output = keeps || type == RIX_FLOAT64 ? type : RIX_FLOAT32;
            UnaryFunction algorithm;
            io::MemoryImage result;
            algorithm.setInputImage(&image);
            algorithm.setFunction(each.function);
            algorithm.setOutputImage(&result);
            const io::MemoryImage expected = mapped(image, output, each.value);
            onEveryLevel(algorithm, [&] {
                EXPECT_TRUE(imagesEqual(expected, result, {.unitsInTheLastPlace = keeps ? 0U : 2U}))
                    << helper::voxelTypesToString(type) << ' ' << each.function;
            });
        }
    }
}

}  // namespace
}  // namespace rix::manipulation::test
