#include "ThresholdKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ThresholdKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::segmentation::HWY_NAMESPACE {

// Plain loops: the compiler turns the comparison, the narrowing and the masking to 0 or 1 into vectors of the pass.
#define RIX_THRESHOLD_ROW(Name, OPERATOR)                                       \
    template <class T>                                                          \
    void Name(const T* in, std::uint8_t* out, std::size_t count, T threshold) { \
        for (std::size_t i = 0; i < count; ++i) {                               \
            out[i] = in[i] OPERATOR threshold ? 1 : 0;                          \
        }                                                                       \
    }
RIX_THRESHOLD_ROW(lessRow, <)
RIX_THRESHOLD_ROW(lessOrEqualRow, <=)
RIX_THRESHOLD_ROW(equalRow, ==)
RIX_THRESHOLD_ROW(greaterOrEqualRow, >=)
RIX_THRESHOLD_ROW(greaterRow, >)
RIX_THRESHOLD_ROW(notEqualRow, !=)
#undef RIX_THRESHOLD_ROW

template <class T>
const ThresholdRows<T>& rows() {
    static constexpr ThresholdRows<T> table = {
        {&lessRow<T>, &lessOrEqualRow<T>, &equalRow<T>, &greaterOrEqualRow<T>, &greaterRow<T>, &notEqualRow<T>}};
    return table;
}

}  // namespace rix::segmentation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::segmentation {

template <class T>
const ThresholdRows<T>& thresholdRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, rows<T>());
}

template const ThresholdRows<std::uint8_t>& thresholdRows<std::uint8_t>(OptimLevelType);
template const ThresholdRows<std::uint16_t>& thresholdRows<std::uint16_t>(OptimLevelType);
template const ThresholdRows<std::uint32_t>& thresholdRows<std::uint32_t>(OptimLevelType);
template const ThresholdRows<std::int8_t>& thresholdRows<std::int8_t>(OptimLevelType);
template const ThresholdRows<std::int16_t>& thresholdRows<std::int16_t>(OptimLevelType);
template const ThresholdRows<std::int32_t>& thresholdRows<std::int32_t>(OptimLevelType);
template const ThresholdRows<float>& thresholdRows<float>(OptimLevelType);
template const ThresholdRows<double>& thresholdRows<double>(OptimLevelType);

}  // namespace rix::segmentation
#endif
