#include "Testing.h"

namespace rix {
namespace {

TEST(ImageTypes, HaveSizesAndTexts) {
    const std::pair<std::size_t, const char*> none{0, "undefined voxel type string equivalence"};
    const std::pair<std::size_t, const char*> voxels[] = {
        {1, "uint8"},   {2, "uint16"},  {4, "uint32"},          none,
        {1, "int8"},    {2, "int16"},   {4, "int32"},           none,
        {4, "float32"}, {8, "float64"}, {8, "complex float32"}, {16, "complex float64"}};
    for (const int code : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, -1, 1 << 30}) {
        const auto& [size, text] = code >= 0 && code < 12 ? voxels[code] : none;
        EXPECT_EQ(helper::getSizeOf(static_cast<VoxelTypes>(code)), size) << code;
        EXPECT_EQ(helper::voxelTypesToString(static_cast<VoxelTypes>(code)), text) << code;
    }
    EXPECT_TRUE(RIX_INT8 == 4 && RIX_FLOAT32 == 8 && RIX_COMPLEX_FLOAT64 == 11);
    const std::tuple<int, std::size_t, const char*> elements[] = {{0, 1, "scalar"},
                                                                  {16, 2, "2-Vector"},
                                                                  {32, 3, "3-Vector"},
                                                                  {256, 3, "Symmetric Matrix 2x2"},
                                                                  {512, 6, "Symmetric Matrix 3x3"},
                                                                  {1, 0, ""},
                                                                  {-1, 0, ""},
                                                                  {768, 0, ""}};
    for (const auto& [code, samples, text] : elements) {
        EXPECT_EQ(helper::getElementNumber(static_cast<ElementTypes>(code)), samples) << code;
        EXPECT_EQ(helper::elementTypesToString(static_cast<ElementTypes>(code)), text) << code;
    }
    const char* const interpretations[] = {"binary", "label", "value"};
    const char* const components[] = {"columns", "rows", "plans", "sequence", "spectral series"};
    const char* const colors[] = {"unknown", "RGB", "HSL", "YIQ", "NRGB"};
    for (int i = -1; i <= 5; ++i) {
        const bool isDefined = i >= 0 && i < 5;
        EXPECT_EQ(helper::interpretationsToString(static_cast<Interpretations>(i)),
                  i >= 0 && i < 3 ? interpretations[i] : "undefined interpretation string equivalence");
        EXPECT_EQ(helper::componentToString(static_cast<Components>(i)),
                  isDefined ? components[i] : "undefined component string equivalence");
        EXPECT_EQ(helper::colorInterpretationToString(static_cast<ColorInterpretation>(i)),
                  isDefined ? colors[i] : "undefined color interpretation string equivalence");
    }
}

// Written row by row as the rule for each type, so that a slip in the library's table shows.
TEST(ImageTypes, LesserCommonTypeEntryByEntry) {
    const char* const rows[12] = {
        " 0  1  2  9  5  5  6  9  8  9 10 11", " 1  1  2  9  6  6  6  9  8  9 10 11",
        " 2  2  2  9  6  6  6  9  9  9 11 11", " 9  9  9  9  9  9  9  9  9  9 11 11",
        " 5  6  6  9  4  5  6  9  8  9 10 11", " 5  6  6  9  5  5  6  9  8  9 10 11",
        " 6  6  6  9  6  6  6  9  9  9 11 11", " 9  9  9  9  9  9  9  9  9  9 11 11",
        " 8  8  9  9  8  8  9  9  8  9 10 11", " 9  9  9  9  9  9  9  9  9  9 11 11",
        "10 10 11 11 10 10 11 11 10 11 10 11", "11 11 11 11 11 11 11 11 11 11 11 11",
    };
    for (int a = 0; a < 12; ++a) {
        for (int b = 0; b < 12; ++b) {
            const int expected = std::stoi(std::string(rows[a]).substr(static_cast<std::size_t>(3 * b), 2));
            EXPECT_EQ(helper::lesserCommonType(static_cast<VoxelTypes>(a), static_cast<VoxelTypes>(b)), expected)
                << a << ", " << b;
        }
    }
    EXPECT_EQ(helper::lesserCommonType(RIX_UINT32, RIX_INT8), RIX_INT32);
    EXPECT_EQ(helper::lesserCommonType(RIX_INT32, RIX_FLOAT32), RIX_FLOAT64);
    for (const int code : {-1, 12}) {
        EXPECT_THROW(helper::lesserCommonType(static_cast<VoxelTypes>(code), RIX_UINT8), BadIndex);
        EXPECT_THROW(helper::lesserCommonType(RIX_UINT8, static_cast<VoxelTypes>(code)), BadIndex);
    }
}

}  // namespace
}  // namespace rix
