#include "LogicalKernels.h"

#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "LogicalKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>

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

/// Where operands and results are 0 or 1.
template <class Operator>
struct LowestBit {
    static unsigned apply(unsigned a, unsigned b) { return Operator::apply(a, b) & 1U; }
};

using access::Stores;

template <class Operator, class T>
HWY_INLINE auto pairResults(const void* first, const void* second) {
    const auto* const a = static_cast<const T*>(first);
    const auto* const b = static_cast<const T*>(second);
    return [=](std::size_t i) HWY_ATTR { return static_cast<T>(Operator::apply(a[i], b[i])); };
}

template <class Operator, class T>
HWY_INLINE auto valueResults(const void* first, const void* value) {
    const auto* const a = static_cast<const T*>(first);
    const T b = *static_cast<const T*>(value);
    return [=](std::size_t i) HWY_ATTR { return static_cast<T>(Operator::apply(a[i], b)); };
}

template <Stores stores, class Operator, class T>
void pairRow(const void* first, const void* second, void* output, std::size_t count) {
    access::HWY_NAMESPACE::storeRow<stores, T>(static_cast<T*>(output), count, pairResults<Operator, T>(first, second));
}

template <Stores stores, class Operator, class T>
void valueRow(const void* first, const void* value, void* output, std::size_t count) {
    access::HWY_NAMESPACE::storeRow<stores, T>(static_cast<T*>(output), count, valueResults<Operator, T>(first, value));
}

template <Stores stores, class T>
struct Rows {
    template <class... Operators>
    static constexpr LogicalRows make() {
        return {{&pairRow<stores, Operators, T>...}, {&valueRow<stores, Operators, T>...}};
    }
};

/// @tparam Operators in the order of `LogicalOperatorType`
template <Stores stores, class... Operators>
const LogicalRows& rowsOf(std::size_t sampleBytes) {
    static constexpr LogicalRows of8 = Rows<stores, std::uint8_t>::template make<Operators...>();
    static constexpr LogicalRows of16 = Rows<stores, std::uint16_t>::template make<Operators...>();
    static constexpr LogicalRows of32 = Rows<stores, std::uint32_t>::template make<Operators...>();
    return sampleBytes == 1 ? of8 : sampleBytes == 2 ? of16 : of32;
}

template <Stores stores>
const LogicalRows& rowsOf(std::size_t sampleBytes, bool isBinary) {
    return isBinary
               ? rowsOf<stores, And, Or, Xor, LowestBit<Nand>, LowestBit<Nor>, LowestBit<Nxor>, Subtract>(sampleBytes)
               : rowsOf<stores, And, Or, Xor, Nand, Nor, Nxor, Subtract>(sampleBytes);
}

const LogicalRows& rows(std::size_t sampleBytes, bool isBinary, Stores stores) {
    return stores == Stores::Streaming ? rowsOf<Stores::Streaming>(sampleBytes, isBinary)
                                       : rowsOf<Stores::Cached>(sampleBytes, isBinary);
}

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::point_operations {

const LogicalRows& logicalRows(std::size_t sampleBytes, bool isBinary, access::Stores stores, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, rows(sampleBytes, isBinary, stores));
}

}  // namespace rix::point_operations
#endif
