#include <rix/image/ImageTypes.h>

#include <rix/properties/EnumInfo.h>

namespace rix {

const EnumInfo& getInfoVoxelTypes() {
    static const EnumInfo info("VoxelTypes",
                               "RIX_UINT8 = 0, RIX_UINT16, RIX_UINT32, RIX_INT8 = 4, RIX_INT16, RIX_INT32, "
                               "RIX_FLOAT32 = 8, RIX_FLOAT64, RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64");
    return info;
}

const EnumInfo& getInfoElementTypes() {
    static const EnumInfo info("ElementTypes",
                               "SINGLE = 0, VECTOR_2 = 16, VECTOR_3 = 32, MATRIX_2X2_SYM = 256, MATRIX_3X3_SYM = 512");
    return info;
}

const EnumInfo& getInfoInterpretations() {
    static const EnumInfo info("Interpretations", "RIX_BINARY = 0, RIX_LABEL, RIX_VALUE");
    return info;
}

const EnumInfo& getInfoColorInterpretation() {
    static const EnumInfo info("ColorInterpretation", "UNKNOWN = 0, RGB, HSL, YIQ, NRGB");
    return info;
}

}  // namespace rix
