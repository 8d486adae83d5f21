#include "LogicalKernels.h"

#include <cstdint>

#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "LogicalKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::point_operations::HWY_NAMESPACE {

/// Integers below 32 bits are combined as `unsigned`; the cast back drops what the complement sets above them.
struct And {
    static unsigned apply(unsigned a, unsigned b) { return a & b; }
};
struct Or {
    static unsigned apply(unsigned a, unsigned b) { return a | b; }
};
struct Xor {
    static unsigned apply(unsigned a, unsigned b) { return a ^ b; }
};
struct Nand {
    static unsigned apply(unsigned a, unsigned b) { return ~(a & b); }
};
struct Nor {
    static unsigned apply(unsigned a, unsigned b) { return ~(a | b); }
};
struct Nxor {
    static unsigned apply(unsigned a, unsigned b) { return ~(a ^ b); }
};
struct Subtract {
    static unsigned apply(unsigned a, unsigned b) { return a & ~b; }
};

template <class Operator>
void byteRow(const void* first, const void* second, void* output, std::size_t count) {
    const auto* const a = static_cast<const std::uint8_t*>(first);
    const auto* const b = static_cast<const std::uint8_t*>(second);
    auto* const out = static_cast<std::uint8_t*>(output);
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<std::uint8_t>(Operator::apply(a[i], b[i]));
    }
}

template <class Operator, class T>
void valueRow(const void* first, const void* value, void* output, std::size_t count) {
    const auto* const a = static_cast<const T*>(first);
    const T b = *static_cast<const T*>(value);
    auto* const out = static_cast<T*>(output);
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<T>(Operator::apply(a[i], b));
    }
}

template <class T>
void lowestBitRow(const void* input, void* output, std::size_t count) {
    const auto* const in = static_cast<const T*>(input);
    auto* const out = static_cast<T*>(output);
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<T>(in[i] & 1U);
    }
}

template <class... Operators>
constexpr LogicalRows makeRows() {
    return {{&byteRow<Operators>...},
            {&valueRow<Operators, std::uint8_t>...},
            {&valueRow<Operators, std::uint16_t>...},
            {&valueRow<Operators, std::uint32_t>...},
            &lowestBitRow<std::uint8_t>,
            &lowestBitRow<std::uint16_t>,
            &lowestBitRow<std::uint32_t>};
}

const LogicalRows& rows() {
    static constexpr LogicalRows table = makeRows<And, Or, Xor, Nand, Nor, Nxor, Subtract>();
    return table;
}

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::point_operations {

const LogicalRows& logicalRows(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, rows());
}

}  // namespace rix::point_operations
#endif
