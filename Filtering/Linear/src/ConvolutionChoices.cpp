#include <rix/filtering/linear/ConvolutionChoices.h>

#include <rix/properties/EnumInfo.h>

namespace rix::filtering::linear {

const EnumInfo& getInfoConvolutionMode() {
    static const EnumInfo info("ConvolutionMode", "CONVOLUTION = 0, CORRELATION");
    return info;
}

const EnumInfo& getInfoKernelScaling() {
    static const EnumInfo info("KernelScaling", "NO = 0, YES");
    return info;
}

}  // namespace rix::filtering::linear
