#include "BoxIntegerKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "BoxIntegerKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::filtering::smoothing::HWY_NAMESPACE {

template <class T>
void addRow(const T* HWY_RESTRICT in, std::uint32_t* HWY_RESTRICT sums, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] += static_cast<std::uint32_t>(in[i]);
    }
}

template <class T>
void slideRow(const T* HWY_RESTRICT in, const T* HWY_RESTRICT out, std::uint32_t* HWY_RESTRICT sums,
              std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] += static_cast<std::uint32_t>(in[i]) - static_cast<std::uint32_t>(out[i]);
    }
}

struct Sum {
    template <class Out>
    static Out finish(std::uint32_t total, const BoxDivider& /*divider*/) {
        return static_cast<Out>(static_cast<std::int32_t>(total));
    }
};

struct Mean {
    template <class Out>
    static Out finish(std::uint32_t total, const BoxDivider& divider) {
        const bool negative = static_cast<Out>(-1) < Out{0} && static_cast<std::int32_t>(total) < 0;
        const std::uint64_t magnitude = negative ? 0U - total : total;
        const auto quotient = static_cast<std::uint32_t>(magnitude * divider.multiplier >> 32) >> divider.shift;
        return static_cast<Out>(negative ? 0U - quotient : quotient);
    }
};

template <class Finish, class Out>
void totalRow(const std::uint32_t* columns, std::size_t count, std::size_t window, std::uint32_t first, Out* out,
              const BoxDivider& divider) {
    std::uint32_t total = first;
    out[0] = Finish::template finish<Out>(total, divider);
    for (std::size_t x = 1; x < count; ++x) {
        total += columns[x + window - 1] - columns[x - 1];
        out[x] = Finish::template finish<Out>(total, divider);
    }
}

template <class T>
const BoxSlideRows<T>& slideRows() {
    static constexpr BoxSlideRows<T> rows = {&addRow<T>, &slideRow<T>};
    return rows;
}

template <class Out>
const BoxTotalRows<Out>& totalRows() {
    if constexpr (sizeof(Out) < 4) {
        static constexpr BoxTotalRows<Out> rows = {&totalRow<Sum, Out>, &totalRow<Mean, Out>};
        return rows;
    } else {
        static constexpr BoxTotalRows<Out> rows = {&totalRow<Sum, Out>, nullptr};
        return rows;
    }
}

}  // namespace rix::filtering::smoothing::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::filtering::smoothing {

BoxDivider::BoxDivider(std::uint32_t divisor) {
    while (shift < 31 && (std::uint64_t{2} << shift) < divisor) {
        ++shift;
    }
    multiplier = static_cast<std::uint32_t>(((std::uint64_t{1} << (32 + shift)) + divisor - 1) / divisor);
}

template <class T>
const BoxSlideRows<T>& boxSlideRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, slideRows<T>());
}

template <class Out>
const BoxTotalRows<Out>& boxTotalRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, totalRows<Out>());
}

template const BoxSlideRows<std::uint8_t>& boxSlideRows<std::uint8_t>(OptimLevelType);
template const BoxSlideRows<std::int8_t>& boxSlideRows<std::int8_t>(OptimLevelType);
template const BoxSlideRows<std::uint16_t>& boxSlideRows<std::uint16_t>(OptimLevelType);
template const BoxSlideRows<std::int16_t>& boxSlideRows<std::int16_t>(OptimLevelType);
template const BoxSlideRows<std::uint32_t>& boxSlideRows<std::uint32_t>(OptimLevelType);

template const BoxTotalRows<std::uint8_t>& boxTotalRows<std::uint8_t>(OptimLevelType);
template const BoxTotalRows<std::int8_t>& boxTotalRows<std::int8_t>(OptimLevelType);
template const BoxTotalRows<std::uint16_t>& boxTotalRows<std::uint16_t>(OptimLevelType);
template const BoxTotalRows<std::int16_t>& boxTotalRows<std::int16_t>(OptimLevelType);
template const BoxTotalRows<std::int32_t>& boxTotalRows<std::int32_t>(OptimLevelType);
template const BoxTotalRows<float>& boxTotalRows<float>(OptimLevelType);

}  // namespace rix::filtering::smoothing
#endif
