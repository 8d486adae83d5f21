#include "ArithmeticKernels.h"

#include <rix/access/VoxelTypeLists.h>
#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ArithmeticKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include "ArithmeticOperators-inl.h"
#include "Int16Division-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::point_operations::HWY_NAMESPACE {

template <template <class> class Operator, class T, class Operand>
void pairRow(const void* first, const void* second, void* output, std::size_t count) {
    const auto* const a = static_cast<const Operand*>(first);
    const auto* const b = static_cast<const Operand*>(second);
    auto* const out = static_cast<T*>(output);
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = Operator<T>::apply(static_cast<T>(a[i]), static_cast<T>(b[i]));
    }
}

template <template <class> class Operator, class T, class Operand>
void valueRow(const void* first, const void* value, void* output, std::size_t count) {
    const auto* const a = static_cast<const Operand*>(first);
    const T b = *static_cast<const T*>(value);
    auto* const out = static_cast<T*>(output);
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = Operator<T>::apply(static_cast<T>(a[i]), b);
    }
}

/// Sums of 8-bit and 16-bit unsigned types, and their products but for `uint16`, are never asked for: the promotion
/// tables widen them.
template <class T>
inline constexpr bool hasSums = !std::is_unsigned_v<T> && !std::is_same_v<T, std::int8_t>;
template <class T>
inline constexpr bool hasProducts = sizeof(T) > 1;

template <class T, class Operand>
constexpr ArithmeticRows makeRows() {
    ArithmeticRows rows;
    if constexpr (hasSums<T>) {
        rows.pair[0] = &pairRow<ArithmeticOperatorMonoType_Add, T, Operand>;
        rows.pair[1] = &pairRow<ArithmeticOperatorMonoType_Subtract, T, Operand>;
        rows.pair[3] = &pairRow<ArithmeticOperatorMonoType_Divide, T, Operand>;
        rows.value[0] = &valueRow<ArithmeticOperatorMonoType_Add, T, Operand>;
        rows.value[1] = &valueRow<ArithmeticOperatorMonoType_Subtract, T, Operand>;
        rows.value[3] = &valueRow<ArithmeticOperatorMonoType_Divide, T, Operand>;
    }
#if HWY_TARGET != HWY_SCALAR
    if constexpr (std::is_same_v<T, std::int16_t>) {
        rows.pair[3] = &divideInt16Row<Operand>;
    }
#endif
    if constexpr (hasProducts<T>) {
        rows.pair[2] = &pairRow<ArithmeticOperatorMonoType_Multiply, T, Operand>;
        rows.value[2] = &valueRow<ArithmeticOperatorMonoType_Multiply, T, Operand>;
    }
    rows.value[4] = &valueRow<ArithmeticOperatorMonoType_Minimun, T, Operand>;
    rows.value[5] = &valueRow<ArithmeticOperatorMonoType_Maximum, T, Operand>;
    if constexpr (std::is_same_v<T, Operand>) {  // two images of one type have a minimum of that type
        rows.pair[4] = &pairRow<ArithmeticOperatorMonoType_Minimun, T, Operand>;
        rows.pair[5] = &pairRow<ArithmeticOperatorMonoType_Maximum, T, Operand>;
    }
    return rows;
}

template <class T>
const ArithmeticRows& rows() {
    static constexpr ArithmeticRows table = makeRows<T, T>();
    return table;
}

/// Null for the combinations that are not made.
const ArithmeticRows* wideningRows(VoxelTypes operand, VoxelTypes result) {
    static constexpr ArithmeticRows int16OfUint8 = makeRows<std::int16_t, std::uint8_t>();
    static constexpr ArithmeticRows uint16OfUint8 = makeRows<std::uint16_t, std::uint8_t>();
    static constexpr ArithmeticRows int32OfUint16 = makeRows<std::int32_t, std::uint16_t>();
    return operand == RIX_UINT8 && result == RIX_INT16    ? &int16OfUint8
           : operand == RIX_UINT8 && result == RIX_UINT16 ? &uint16OfUint8
           : operand == RIX_UINT16 && result == RIX_INT32 ? &int32OfUint16
                                                          : nullptr;
}

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "ComplexKernels.h"

namespace rix::point_operations {

const ArithmeticRows& arithmeticRows(VoxelTypes type, OptimLevelType level) {
    const ArithmeticRows* result = nullptr;
    access::dispatch(access::AllTypes{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (access::isComplex<T>) {
            result = &complexRows(type, level);
        } else {
            result = &RIX_SELECT_KERNELS(level, rows<T>());
        }
    });
    return *result;
}

const ArithmeticRows* wideningArithmeticRows(VoxelTypes operand, VoxelTypes result, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, wideningRows(operand, result));
}

}  // namespace rix::point_operations
#endif
