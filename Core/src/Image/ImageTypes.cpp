#include <rix/image/ImageTypes.h>

#include <array>

#include <rix/exceptions/Exception.h>

namespace rix::helper {

namespace {

constexpr int voxelTypeCodes = 12;

struct VoxelTypeEntry {
    std::size_t size;
    const char* text;
};

constexpr const char* undefinedVoxelType = "undefined voxel type string equivalence";

/// Indexed by the code.
constexpr std::array<VoxelTypeEntry, voxelTypeCodes> voxelTypes{{
    {1, "uint8"},
    {2, "uint16"},
    {4, "uint32"},
    {0, undefinedVoxelType},
    {1, "int8"},
    {2, "int16"},
    {4, "int32"},
    {0, undefinedVoxelType},
    {4, "float32"},
    {8, "float64"},
    {8, "complex float32"},
    {16, "complex float64"},
}};

struct ElementTypeEntry {
    ElementTypes type;
    std::size_t samples;
    const char* text;
};

constexpr std::array<ElementTypeEntry, 5> elementTypes{{
    {SINGLE, 1, "scalar"},
    {VECTOR_2, 2, "2-Vector"},
    {VECTOR_3, 3, "3-Vector"},
    {MATRIX_2X2_SYM, 3, "Symmetric Matrix 2x2"},
    {MATRIX_3X3_SYM, 6, "Symmetric Matrix 3x3"},
}};

constexpr std::array<const char*, 3> interpretationTexts{"binary", "label", "value"};
constexpr std::array<const char*, 5> componentTexts{"columns", "rows", "plans", "sequence", "spectral series"};
constexpr std::array<const char*, 5> colorTexts{"unknown", "RGB", "HSL", "YIQ", "NRGB"};

using CommonTypeTable = std::array<std::array<std::uint8_t, voxelTypeCodes>, voxelTypeCodes>;

/// Row and column are the two codes. The unassigned codes 3 and 7 meet every type in a double.
constexpr CommonTypeTable commonTypes{{
    {0, 1, 2, 9, 5, 5, 6, 9, 8, 9, 10, 11},
    {1, 1, 2, 9, 6, 6, 6, 9, 8, 9, 10, 11},
    {2, 2, 2, 9, 6, 6, 6, 9, 9, 9, 11, 11},
    {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 11, 11},
    {5, 6, 6, 9, 4, 5, 6, 9, 8, 9, 10, 11},
    {5, 6, 6, 9, 5, 5, 6, 9, 8, 9, 10, 11},
    {6, 6, 6, 9, 6, 6, 6, 9, 9, 9, 11, 11},
    {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 11, 11},
    {8, 8, 9, 9, 8, 8, 9, 9, 8, 9, 10, 11},
    {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 11, 11},
    {10, 10, 11, 11, 10, 10, 11, 11, 10, 11, 10, 11},
    {11, 11, 11, 11, 11, 11, 11, 11, 11, 11, 11, 11},
}};

constexpr bool isSymmetric(const CommonTypeTable& table) {
    for (std::size_t a = 0; a < table.size(); ++a) {
        for (std::size_t b = 0; b < a; ++b) {
            if (table[a][b] != table[b][a]) {
                return false;
            }
        }
    }
    return true;
}
static_assert(isSymmetric(commonTypes));

/// A negative code becomes an index beyond every table.
template <class Enumeration>
constexpr std::size_t indexOf(Enumeration value) {
    return static_cast<std::size_t>(static_cast<std::int32_t>(value));
}

template <std::size_t count, class Enumeration>
String textOf(const std::array<const char*, count>& texts, Enumeration value, const char* undefined) {
    return indexOf(value) < count ? texts[indexOf(value)] : undefined;
}

const ElementTypeEntry* findElementType(ElementTypes type) {
    for (const ElementTypeEntry& entry : elementTypes) {
        if (entry.type == type) {
            return &entry;
        }
    }
    return nullptr;
}

}  // namespace

std::size_t getSizeOf(const VoxelTypes& type) {
    return indexOf(type) < voxelTypes.size() ? voxelTypes[indexOf(type)].size : 0;
}

std::size_t getElementNumber(const ElementTypes& type) {
    const ElementTypeEntry* const entry = findElementType(type);
    return entry == nullptr ? 0 : entry->samples;
}

String voxelTypesToString(const VoxelTypes& type) {
    return indexOf(type) < voxelTypes.size() ? voxelTypes[indexOf(type)].text : undefinedVoxelType;
}

String elementTypesToString(const ElementTypes& type) {
    const ElementTypeEntry* const entry = findElementType(type);
    return entry == nullptr ? "" : entry->text;
}

String interpretationsToString(const Interpretations& interpretation) {
    return textOf(interpretationTexts, interpretation, "undefined interpretation string equivalence");
}

String componentToString(const Components& component) {
    return textOf(componentTexts, component, "undefined component string equivalence");
}

String colorInterpretationToString(const ColorInterpretation& interpretation) {
    return textOf(colorTexts, interpretation, "undefined color interpretation string equivalence");
}

VoxelTypes lesserCommonType(VoxelTypes a, VoxelTypes b) {
    if (indexOf(a) >= commonTypes.size() || indexOf(b) >= commonTypes.size()) {
        throw BadIndex("No common voxel type of codes " + std::to_string(static_cast<std::int32_t>(a)) + " and " +
                       std::to_string(static_cast<std::int32_t>(b)) + ": codes are 0 to 11.");
    }
    return static_cast<VoxelTypes>(commonTypes[indexOf(a)][indexOf(b)]);
}

}  // namespace rix::helper
