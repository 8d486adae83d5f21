#include <rix/properties/ScalarArray.h>

#include "Testing.h"

namespace rix {
namespace {

constexpr std::array<ScalarType, 3> TYPES{INTEGER, UNSIGNED_INTEGER, REAL};

/// A number of a type, for arrays of any type.
Scalar numberOf(ScalarType type, int value) {
    switch (type) {
        case INTEGER: return value;
        case UNSIGNED_INTEGER: return static_cast<unsigned int>(value);
        case REAL: break;
    }
    return static_cast<double>(value);
}

TEST(ScalarArray, CopiesData) {
    constexpr auto MIN = std::numeric_limits<long>::min();
    std::array<long, 2> integers{MIN, -1};
    const std::array<unsigned long, 2> naturals{0, std::numeric_limits<unsigned long>::max()};
    const std::array<double, 2> reals{-0.0, 1e-320};
    ScalarArray array(2, integers.data());
    integers[0] = 5;
    EXPECT_EQ(array.getType(), INTEGER);
    EXPECT_EQ(array.getIntValueAt(0), MIN);
    EXPECT_EQ(array.getIntValueAt(1), -1);
    array.setData(2, naturals.data());
    EXPECT_EQ(array, ScalarArray(2, naturals.data()));
    EXPECT_EQ(array.getUIntValueAt(1), naturals[1]);
    array.setData(1, reals.data() + 1);
    EXPECT_EQ(array.size(), 1U);
    EXPECT_EQ(array.getRealValueAt(0), 1e-320);
    array.setData(0, static_cast<const long*>(nullptr));
    EXPECT_EQ(array, ScalarArray());
    EXPECT_THROW(array.setData(1, static_cast<const double*>(nullptr)), InvalidCall);
}

TEST(ScalarArray, GrowsShrinksAndKeepsItsType) {
    for (const ScalarType type : TYPES) {
        ScalarArray array(0, type);
        array.reserve(10);
        EXPECT_TRUE(array.empty());
        array.pushBack(numberOf(type, 7));
        array.resize(3);
        array.setScalarValueAt(1, numberOf(type, 9));
        EXPECT_EQ(array.getScalarValueAt(0), numberOf(type, 7));
        EXPECT_EQ(array.getScalarValueAt(1), numberOf(type, 9));
        EXPECT_EQ(array.getScalarValueAt(2), numberOf(type, 0));
        array.clear();
        EXPECT_TRUE(array.empty());
        EXPECT_EQ(array.getType(), type);
    }
}

TEST(ScalarArray, DemandsItsTypeAndAnIndexInside) {
    ScalarArray integers(1, INTEGER);
    ScalarArray reals(1, REAL);
    EXPECT_EQ(test::messageOf<InvalidCall>([&] { reals.setIntValueAt(0, 1); }),
              "The ScalarArray isn't of INTEGER type.");
    EXPECT_THROW((void)reals.getIntValueAt(0), InvalidCall);
    EXPECT_THROW(reals.pushBack(1L), InvalidCall);
    EXPECT_THROW((void)integers.getUIntValueAt(0), InvalidCall);
    EXPECT_THROW(integers.setUIntValueAt(0, 1), InvalidCall);
    EXPECT_THROW(integers.pushBack(1UL), InvalidCall);
    EXPECT_THROW((void)integers.getRealValueAt(0), InvalidCall);
    EXPECT_THROW(integers.setRealValueAt(0, 1), InvalidCall);
    EXPECT_THROW(integers.pushBack(1.0), InvalidCall);
    EXPECT_EQ(test::messageOf<InvalidCall>([&] { integers.setScalarValueAt(0, 1.0); }),
              "The ScalarArray hasn't the same type (INTEGER) as the Scalar (REAL).");
    EXPECT_THROW(reals.pushBack(Scalar(1U)), InvalidCall);
    EXPECT_EQ(integers, ScalarArray(1, INTEGER));
    EXPECT_EQ(reals, ScalarArray(1, REAL));
    EXPECT_EQ(test::messageOf<BadIndex>([&] { (void)integers.getIntValueAt(1); }), "index <1> must be less than 1");
    EXPECT_THROW(integers.setIntValueAt(1, 1), BadIndex);
    EXPECT_THROW((void)integers.getScalarValueAt(1), BadIndex);
    EXPECT_THROW(integers.setScalarValueAt(1, 1), BadIndex);
}

TEST(ScalarArray, ComparesTypeSizeAndNumbers) {
    EXPECT_NE(ScalarArray(0, INTEGER), ScalarArray(0, REAL));
    EXPECT_NE(ScalarArray(1, INTEGER), ScalarArray(2, INTEGER));
    EXPECT_NE(ScalarArray(1, REAL), ScalarArray(2, REAL));
    const std::array<double, 2> zeros{0.0, -0.0};
    EXPECT_EQ(ScalarArray(1, zeros.data()), ScalarArray(1, zeros.data() + 1));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const ScalarArray unordered(1, &nan);
    EXPECT_NE(unordered, unordered);
    const long one = 1;
    EXPECT_NE(ScalarArray(1, &one), ScalarArray(1, INTEGER));
}

}  // namespace
}  // namespace rix
