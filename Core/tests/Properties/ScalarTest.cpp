#include <rix/properties/Scalar.h>

#include "Testing.h"

namespace rix {
namespace {

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t MIN_64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t MAX_64 = std::numeric_limits<std::int64_t>::max();
constexpr std::int32_t MIN_32 = std::numeric_limits<std::int32_t>::min();

template <class T>
class ScalarOf : public testing::Test {};
using ArithmeticTypes = testing::Types<bool, char, signed char, unsigned char, short, unsigned short, int, unsigned int,
                                       long, unsigned long, long long, unsigned long long, float, double, long double>;
TYPED_TEST_SUITE(ScalarOf, ArithmeticTypes);

TYPED_TEST(ScalarOf, KeepsTheExtremesAndTheTag) {
    using Limits = std::numeric_limits<TypeParam>;
    // A long double is kept as a double.
    const auto lowest = std::is_same_v<TypeParam, long double>
                            ? static_cast<TypeParam>(std::numeric_limits<double>::lowest())
                            : Limits::lowest();
    const auto highest = std::is_same_v<TypeParam, long double> ? static_cast<TypeParam>(-lowest) : Limits::max();
    for (const TypeParam value : {lowest, TypeParam(0), TypeParam(1), highest}) {
        const Scalar constructed = value;
        Scalar assigned(NOT_A_NUMBER);
        assigned = value;
        const ScalarType expected = !Limits::is_integer ? REAL : Limits::is_signed ? INTEGER : UNSIGNED_INTEGER;
        EXPECT_EQ(constructed.getType(), expected);
        EXPECT_EQ(constructed.template getValue<TypeParam>(), value);
        EXPECT_EQ(assigned, constructed);
    }
}

TEST(Scalar, AccessorsDemandTheirTag) {
    EXPECT_EQ(test::messageOf<InvalidCall>([] { (void)Scalar(3U).getIntValue(); }),
              "The Scalar isn't of INTEGER type.");
    EXPECT_THROW((void)Scalar(3.0).getIntValue(), InvalidCall);
    EXPECT_THROW((void)Scalar(3).getUIntValue(), InvalidCall);
    EXPECT_THROW((void)Scalar(3).getRealValue(), InvalidCall);
    EXPECT_THROW((void)Scalar(3U).getValue<float>(), InvalidCall);
    EXPECT_THROW((void)Scalar(3).getValue<unsigned char>(), InvalidCall);
    EXPECT_THROW((void)Scalar(3.0).getValue<short>(), InvalidCall);
}

struct RealCase {
    double value;
    RealToIntConvertType rounding;
    std::int32_t int32;
    std::int64_t int64;
};

TEST(Scalar, RoundsAndTruncatesReals) {
    const std::vector<RealCase> cases{
        {2.5, CEIL, 3, 3},
        {2.5, FLOOR, 2, 2},
        {2.5, NEAREST, 3, 3},
        {-2.5, CEIL, -2, -2},
        {-2.5, FLOOR, -3, -3},
        {-2.5, NEAREST, -2, -2},
        {-3.5, NEAREST, -3, -3},
        {-2.51, NEAREST, -3, -3},
        {2.49, NEAREST, 2, 2},
        {-0.2, CEIL, 0, 0},
        {-1.0, FLOOR, -1, -1},
        {2147483647.0, NEAREST, 2147483647, 2147483647},
        {2147483647.5, FLOOR, 2147483647, 2147483647},
        {2147483647.5, NEAREST, MIN_32, 2147483648},
        {-2147483648.5, CEIL, MIN_32, -2147483648},
        {-2147483648.5, FLOOR, MIN_32, -2147483649},
        {-4294967297.0, FLOOR, MIN_32, -4294967297},
        {0x1.fffffffffffffp62, FLOOR, MIN_32, 9223372036854774784},
        {0x1p64, FLOOR, MIN_32, MIN_64},
        {-0x1p63, FLOOR, MIN_32, MIN_64},
        {INF, CEIL, MIN_32, MIN_64},
        {NOT_A_NUMBER, NEAREST, MIN_32, MIN_64},
    };
    for (const auto& [value, rounding, int32, int64] : cases) {
        SCOPED_TRACE(testing::Message() << value << " by " << rounding);
        const Scalar scalar(value);
        EXPECT_EQ(scalar.asInt8(rounding), static_cast<std::int8_t>(int32));
        EXPECT_EQ(scalar.asInt16(rounding), static_cast<std::int16_t>(int32));
        EXPECT_EQ(scalar.asInt32(rounding), int32);
        EXPECT_EQ(scalar.asInt64(rounding), int64);
        EXPECT_EQ(scalar.asUInt8(rounding), static_cast<std::uint8_t>(int64));
        EXPECT_EQ(scalar.asUInt16(rounding), static_cast<std::uint16_t>(int64));
        EXPECT_EQ(scalar.asUInt32(rounding), static_cast<std::uint32_t>(int64));
        EXPECT_EQ(scalar.asUInt64(rounding), static_cast<std::uint64_t>(int64));
    }
    EXPECT_THROW((void)Scalar(1.0).asInt8(static_cast<RealToIntConvertType>(3)), InvalidCall);
    // Exact in the upper half.
    for (const double value : {0x1p63, 0x1.8p63, 0x1.fffffffffffffp63}) {
        EXPECT_EQ(Scalar(value).asUInt64(CEIL), static_cast<std::uint64_t>(value)) << value;
        EXPECT_EQ(Scalar(value).asInt64(NEAREST), MIN_64) << value;
    }
}

TEST(Scalar, IntegersKeepTheirLowBits) {
    for (const RealToIntConvertType rounding : {CEIL, FLOOR, NEAREST}) {
        EXPECT_EQ(Scalar(300).asUInt8(rounding), 44);
        EXPECT_EQ(Scalar(200).asInt8(rounding), -56);
        EXPECT_EQ(Scalar(-1).asUInt16(rounding), 65535);
        EXPECT_EQ(Scalar(-1).asUInt64(rounding), 18446744073709551615U);
        EXPECT_EQ(Scalar(18446744073709551615U).asInt64(rounding), -1);
        EXPECT_EQ(Scalar(0x123456789abcdef0L).asInt16(rounding), static_cast<std::int16_t>(0xdef0));
        EXPECT_EQ(Scalar(0x1234567880000000U).asInt32(rounding), MIN_32);
        EXPECT_EQ(Scalar(0x1234567880000000U).asUInt32(rounding), 0x80000000U);
    }
}

TEST(Scalar, ConvertsToRealsFromEveryTag) {
    EXPECT_EQ(Scalar(18446744073709551615U).asDouble(), 0x1p64);
    EXPECT_EQ(Scalar(-1).asDouble(), -1.0);
    EXPECT_EQ(Scalar(MIN_64).asFloat(), -0x1p63F);
    EXPECT_EQ(Scalar(0.1).asFloat(), 0.1F);
    EXPECT_EQ(Scalar(0.1F).asDouble(), static_cast<double>(0.1F));
    EXPECT_EQ(Scalar(1e300).asFloat(), std::numeric_limits<float>::infinity());
    // Rounded once, not by way of double: the double nearest to this integer is half-way between two floats.
    EXPECT_EQ(Scalar(0x1000001000000001L).asFloat(), 0x1.000002p60F);
}

struct OrderCase {
    Scalar a;
    Scalar b;
    bool equal;
    int order;  // -1, 0 or 1; 2 for unordered
};

TEST(Scalar, Compares) {
    const std::vector<OrderCase> cases{
        {3, 3, true, 0},
        {-3, 2, false, -1},
        {3U, 3U, true, 0},
        {18446744073709551615U, 1U, false, 1},
        {MAX_64, MAX_64 - 1, false, 1},  // equal as doubles
        {0.0, -0.0, true, 0},
        {1.5, 2.5, false, -1},
        {NOT_A_NUMBER, NOT_A_NUMBER, false, 2},
        {NOT_A_NUMBER, 1.0, false, 2},
        {3, 3U, false, 0},
        {3, 3.0, false, 0},
        {-1, 18446744073709551615U, false, -1},
        {MAX_64, static_cast<std::uint64_t>(MAX_64) - 1, false, 0},  // compared as doubles
        {3, 3.5, false, -1},
        {4U, 3.5, false, 1},
        {1, NOT_A_NUMBER, false, 2},
        {1U, INF, false, -1},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        const auto& [a, b, equal, order] = cases[i];
        EXPECT_EQ(a == b, equal);
        EXPECT_EQ(a != b, !equal);
        EXPECT_EQ(a < b, order == -1);
        EXPECT_EQ(a <= b, order == -1 || order == 0);
        EXPECT_EQ(a > b, order == 1);
        EXPECT_EQ(a >= b, order == 1 || order == 0);
        EXPECT_EQ(b == a, equal);
        EXPECT_EQ(b < a, order == 1);
    }
}

struct ContainingCase {
    Scalar value;
    VoxelTypes type;
    VoxelTypes preferringSigned;
};

TEST(Scalar, FindsTheSmallestVoxelType) {
    std::vector<ContainingCase> cases{{-3000000001L, RIX_FLOAT64, RIX_FLOAT64},
                                      {-3000000000L, RIX_FLOAT32, RIX_FLOAT32},
                                      {-2147483649L, RIX_FLOAT64, RIX_FLOAT64},
                                      {-2147483648L, RIX_INT32, RIX_INT32},
                                      {-32769, RIX_INT32, RIX_INT32},
                                      {-32768, RIX_INT16, RIX_INT16},
                                      {-129, RIX_INT16, RIX_INT16},
                                      {-128, RIX_INT8, RIX_INT8},
                                      {-1, RIX_INT8, RIX_INT8},
                                      {0, RIX_UINT8, RIX_INT8},
                                      {127, RIX_UINT8, RIX_INT8},
                                      {128, RIX_UINT8, RIX_UINT8},
                                      {255, RIX_UINT8, RIX_UINT8},
                                      {256, RIX_UINT16, RIX_INT16},
                                      {32767, RIX_UINT16, RIX_INT16},
                                      {32768, RIX_UINT16, RIX_UINT16},
                                      {65535, RIX_UINT16, RIX_UINT16},
                                      {65536, RIX_UINT32, RIX_INT32},
                                      {2147483647L, RIX_UINT32, RIX_INT32},
                                      {2147483648L, RIX_UINT32, RIX_UINT32},
                                      {4294967295L, RIX_UINT32, RIX_UINT32},
                                      {4294967296L, RIX_FLOAT32, RIX_FLOAT32},
                                      {4294967297L, RIX_FLOAT64, RIX_FLOAT64}};
    // The same number gives the same type whatever its tag.
    const std::size_t integers = cases.size();
    for (std::size_t i = 0; i < integers; ++i) {
        const auto [value, type, preferringSigned] = cases[i];
        cases.push_back({value.asDouble(), type, preferringSigned});
        if (value.getIntValue() >= 0) {
            cases.push_back({value.asUInt64(NEAREST), type, preferringSigned});
        }
    }
    for (const double real : {0.5, -2.5, 0x1p-149, 0x1p64, INF, -INF}) {
        cases.push_back({real, RIX_FLOAT32, RIX_FLOAT32});
    }
    for (const double real : {0.1, 255.1, 4294967295.5, 0x1p-150, 1e300, NOT_A_NUMBER}) {
        cases.push_back({real, RIX_FLOAT64, RIX_FLOAT64});
    }
    cases.push_back({-0.0, RIX_UINT8, RIX_INT8});
    cases.push_back({MAX_64, RIX_FLOAT32, RIX_FLOAT32});  // its nearest double is 2^63
    cases.push_back({18446744073709551615U, RIX_FLOAT32, RIX_FLOAT32});
    cases.push_back({MIN_64, RIX_FLOAT32, RIX_FLOAT32});
    for (const auto& [value, type, preferringSigned] : cases) {
        SCOPED_TRACE(testing::Message() << value.asDouble() << " of type " << value.getType());
        EXPECT_EQ(value.smallestContainingType(false), type);
        EXPECT_EQ(value.smallestContainingType(true), preferringSigned);
    }
}

}  // namespace
}  // namespace rix
