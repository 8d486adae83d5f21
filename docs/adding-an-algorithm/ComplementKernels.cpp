#include "ComplementKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ComplementKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::point_operations::HWY_NAMESPACE {

template <class T>
void complement(const T* in, T* out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<T>(~in[i]);
    }
}

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::point_operations {

template <class T>
ComplementRow<T> complementRow(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, complement<T>);
}

template ComplementRow<std::uint8_t> complementRow<std::uint8_t>(OptimLevelType);
template ComplementRow<std::uint16_t> complementRow<std::uint16_t>(OptimLevelType);
template ComplementRow<std::uint32_t> complementRow<std::uint32_t>(OptimLevelType);

}  // namespace rix::point_operations
#endif
