#include <rix/filtering/frequency/FourierChoices.h>

#include <rix/properties/EnumInfo.h>

namespace rix::filtering::frequency {

const EnumInfo& getInfoSpectrumLayout() {
    static const EnumInfo info("SpectrumLayout", "HALF = 0, FULL");
    return info;
}

const EnumInfo& getInfoSpectrumOrigin() {
    static const EnumInfo info("SpectrumOrigin", "CORNER = 0, CENTER");
    return info;
}

const EnumInfo& getInfoFourierScaling() {
    static const EnumInfo info("FourierScaling", "BACKWARD = 0, ORTHONORMAL, FORWARD");
    return info;
}

const EnumInfo& getInfoInverseResult() {
    static const EnumInfo info("InverseResult", "REAL = 0, COMPLEX");
    return info;
}

}  // namespace rix::filtering::frequency
