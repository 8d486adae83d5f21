#include <sstream>

#include <rix/rules/Promotion.h>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

const char* const names = "u8 u16 u32 i8 i16 i32 f32 f64";

// The result types of integer operands, row by row of the first operand; floating types follow one rule for all.
const char* const integerTables[] = {
    // additive: 16 bits hold only what two of u8, i8, i16 make
    "i16 i32 i32 i16 i16 i32 | i32 i32 i32 i32 i32 i32 | i32 i32 i32 i32 i32 i32 | i16 i32 i32 i16 i16 i32 | "
    "i16 i32 i32 i16 i16 i32 | i32 i32 i32 i32 i32 i32",
    // multiplicative
    "u16 i32 u32 i16 i16 i32 | i32 i32 u32 i32 i32 i32 | u32 u32 u32 i32 i32 i32 | i16 i32 i32 i16 i16 i32 | "
    "i16 i32 i32 i16 i16 i32 | i32 i32 i32 i32 i32 i32",
    // minimum
    "u8 u8 u8 i8 i16 i32 | u8 u16 u16 i8 i16 i32 | u8 u16 u32 i8 i16 i32 | i8 i8 i8 i8 i16 i32 | "
    "i16 i16 i16 i16 i16 i32 | i32 i32 i32 i32 i32 i32",
    // maximum
    "u8 u16 u32 u8 u8 i32 | u16 u16 u32 u16 u16 u16 | u32 u32 u32 u32 u32 u32 | u8 u16 u32 i8 i16 i32 | "
    "u8 u16 u32 i16 i16 i32 | i32 u16 u32 i32 i32 i32"};

std::vector<String> words(const String& text) {
    std::istringstream stream(text);
    std::vector<String> result;
    for (String word; stream >> word;) {
        if (word != "|") {
            result.push_back(word);
        }
    }
    return result;
}

VoxelTypes typeOf(const String& name) {
    static const std::map<String, VoxelTypes> types{{"u8", RIX_UINT8},    {"u16", RIX_UINT16}, {"u32", RIX_UINT32},
                                                    {"i8", RIX_INT8},     {"i16", RIX_INT16},  {"i32", RIX_INT32},
                                                    {"f32", RIX_FLOAT32}, {"f64", RIX_FLOAT64}};
    return types.at(name);
}

PromotionTypesRulesType kindOf(int number) {
    return static_cast<PromotionTypesRulesType>(number);
}

TEST(GetPromotedType, FollowsTheTables) {
    const auto types = words(names);
    for (int kind = 0; kind < 4; ++kind) {
        const auto integers = words(integerTables[kind]);
        ASSERT_EQ(integers.size(), 36u);
        for (std::size_t row = 0; row < 8; ++row) {
            for (std::size_t column = 0; column < 8; ++column) {
                const VoxelTypes expected = std::max(row, column) == 7   ? RIX_FLOAT64
                                            : std::max(row, column) == 6 ? RIX_FLOAT32
                                                                         : typeOf(integers[row * 6 + column]);
                EXPECT_EQ(getPromotedType(typeOf(types[row]), typeOf(types[column]), kindOf(kind)), expected)
                    << "kind " << kind << ", " << types[row] << " and " << types[column];
            }
        }
    }
}

TEST(GetPromotedType, ComplexOperandsMakeComplexResults) {
    const VoxelTypes c32 = RIX_COMPLEX_FLOAT32;
    const VoxelTypes c64 = RIX_COMPLEX_FLOAT64;
    const struct {
        VoxelTypes first, second, expected;
    } cases[] = {{c32, RIX_UINT8, c32},   {RIX_INT32, c32, c32}, {c32, c32, c32}, {c32, RIX_FLOAT64, c64},
                 {RIX_FLOAT64, c32, c64}, {c64, RIX_UINT8, c64}, {c64, c32, c64}, {RIX_FLOAT32, c64, c64}};
    for (const auto& test : cases) {
        for (int kind = 0; kind < 4; ++kind) {
            EXPECT_EQ(getPromotedType(test.first, test.second, kindOf(kind)), test.expected)
                << test.first << " and " << test.second;
        }
    }
}

TEST(GetPromotedType, ClassesNumbers) {
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        double value;
        VoxelTypes besideSingle, besideOthers;
    } cases[] = {{3, RIX_INT16, RIX_INT16},
                 {-0.0, RIX_INT16, RIX_INT16},
                 {32767, RIX_INT16, RIX_INT16},
                 {-32768, RIX_INT16, RIX_INT16},
                 {32768, RIX_INT32, RIX_INT32},
                 {-32769, RIX_INT32, RIX_INT32},
                 {2147483647, RIX_INT32, RIX_INT32},
                 {-2147483648.0, RIX_INT32, RIX_INT32},
                 {2147483648.0, RIX_UINT32, RIX_UINT32},
                 {4294967295.0, RIX_UINT32, RIX_UINT32},
                 {4294967296.0, RIX_FLOAT32, RIX_FLOAT64},
                 {-2147483649.0, RIX_FLOAT32, RIX_FLOAT64},
                 {0.5, RIX_FLOAT32, RIX_FLOAT64},
                 {1e300, RIX_FLOAT32, RIX_FLOAT64},
                 {infinity, RIX_FLOAT32, RIX_FLOAT64},
                 {std::nan(""), RIX_FLOAT32, RIX_FLOAT64}};
    for (const auto& test : cases) {
        for (const VoxelTypes type : {RIX_FLOAT32, RIX_COMPLEX_FLOAT32}) {
            EXPECT_EQ(rules::classifyValue(type, test.value), test.besideSingle) << test.value;
        }
        for (const VoxelTypes type : {RIX_UINT8, RIX_INT32, RIX_FLOAT64, RIX_COMPLEX_FLOAT64}) {
            EXPECT_EQ(rules::classifyValue(type, test.value), test.besideOthers) << test.value;
        }
    }
}

TEST(GetPromotedType, TakesImagesAndNumbers) {
    io::MemoryImage bytes;
    io::MemoryImage complexes;
    shape(bytes, {});
    shape(complexes, {.voxelType = RIX_COMPLEX_FLOAT32});
    EXPECT_EQ(getPromotedType(&bytes, &bytes, PROMOTION_MULTIPLICATIVE), RIX_UINT16);
    EXPECT_EQ(getPromotedType(&bytes, &complexes, PROMOTION_ADDITIVE), RIX_COMPLEX_FLOAT32);
    EXPECT_EQ(getPromotedType(&bytes, 3.0, PROMOTION_ADDITIVE), RIX_INT16);
    EXPECT_EQ(getPromotedType(&bytes, 3000000000.0, PROMOTION_ADDITIVE), RIX_INT32);
    EXPECT_EQ(getPromotedType(&bytes, 3000000000.0, PROMOTION_MULTIPLICATIVE), RIX_UINT32);
    EXPECT_EQ(getPromotedType(&bytes, 0.5, PROMOTION_MAXIMUM), RIX_FLOAT64);
    EXPECT_EQ(getPromotedType(&complexes, 0.5, PROMOTION_MAXIMUM), RIX_COMPLEX_FLOAT32);
    EXPECT_THROW(getPromotedType(nullptr, 1.0, PROMOTION_ADDITIVE), InvalidCall);
    EXPECT_THROW(getPromotedType(&bytes, nullptr, PROMOTION_ADDITIVE), InvalidCall);
}

TEST(GetPromotedType, RefusesUnknownKindsAndTypes) {
    for (const int kind : {-1, 4}) {
        EXPECT_EQ(messageOf<RuleException>([&] { getPromotedType(RIX_UINT8, RIX_UINT8, kindOf(kind)); }),
                  "unsupported type of rule");
    }
    EXPECT_THROW(getPromotedType(static_cast<VoxelTypes>(3), RIX_UINT8, PROMOTION_ADDITIVE), RuleException);
    EXPECT_THROW(getPromotedType(RIX_UINT8, static_cast<VoxelTypes>(7), PROMOTION_ADDITIVE), RuleException);
}

}  // namespace
}  // namespace rix::test
