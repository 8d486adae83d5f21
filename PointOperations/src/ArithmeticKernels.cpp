#include "ArithmeticKernels.h"

#include <rix/access/VoxelTypeLists.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ArithmeticKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>

#include "ArithmeticOperators-inl.h"
#include "Int16Division-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::point_operations::HWY_NAMESPACE {

using access::Stores;

template <template <class> class Operator, class T, class Operand>
HWY_INLINE auto pairResults(const void* first, const void* second) {
    const auto* const a = static_cast<const Operand*>(first);
    const auto* const b = static_cast<const Operand*>(second);
    return [=](std::size_t i) HWY_ATTR { return Operator<T>::apply(static_cast<T>(a[i]), static_cast<T>(b[i])); };
}

template <template <class> class Operator, class T, class Operand>
HWY_INLINE auto valueResults(const void* first, const void* value) {
    const auto* const a = static_cast<const Operand*>(first);
    const T b = *static_cast<const T*>(value);
    return [=](std::size_t i) HWY_ATTR { return Operator<T>::apply(static_cast<T>(a[i]), b); };
}

template <Stores stores, template <class> class Operator, class T, class Operand>
void pairRow(const void* first, const void* second, void* output, std::size_t count) {
    access::HWY_NAMESPACE::storeRow<stores, Operand>(static_cast<T*>(output), count,
                                                     pairResults<Operator, T, Operand>(first, second));
}

template <Stores stores, template <class> class Operator, class T, class Operand>
void valueRow(const void* first, const void* value, void* output, std::size_t count) {
    access::HWY_NAMESPACE::storeRow<stores, Operand>(static_cast<T*>(output), count,
                                                     valueResults<Operator, T, Operand>(first, value));
}

/// Sums of 8-bit and 16-bit unsigned types, and their products but for `uint16`, are never asked for: the promotion
/// tables widen them.
template <class T>
inline constexpr bool hasSums = !std::is_unsigned_v<T> && !std::is_same_v<T, std::int8_t>;
template <class T>
inline constexpr bool hasProducts = sizeof(T) > 1;

template <Stores stores, class T, class Operand>
constexpr ArithmeticRows makeRows() {
    ArithmeticRows rows;
    if constexpr (hasSums<T>) {
        rows.pair[0] = &pairRow<stores, ArithmeticOperatorMonoType_Add, T, Operand>;
        rows.pair[1] = &pairRow<stores, ArithmeticOperatorMonoType_Subtract, T, Operand>;
        rows.pair[3] = &pairRow<stores, ArithmeticOperatorMonoType_Divide, T, Operand>;
        rows.value[0] = &valueRow<stores, ArithmeticOperatorMonoType_Add, T, Operand>;
        rows.value[1] = &valueRow<stores, ArithmeticOperatorMonoType_Subtract, T, Operand>;
        rows.value[3] = &valueRow<stores, ArithmeticOperatorMonoType_Divide, T, Operand>;
    }
#if HWY_TARGET != HWY_SCALAR
    if constexpr (std::is_same_v<T, std::int16_t>) {
        rows.pair[3] = &divideInt16Row<stores, Operand>;
    }
#endif
    if constexpr (hasProducts<T>) {
        rows.pair[2] = &pairRow<stores, ArithmeticOperatorMonoType_Multiply, T, Operand>;
        rows.value[2] = &valueRow<stores, ArithmeticOperatorMonoType_Multiply, T, Operand>;
    }
    rows.value[4] = &valueRow<stores, ArithmeticOperatorMonoType_Minimun, T, Operand>;
    rows.value[5] = &valueRow<stores, ArithmeticOperatorMonoType_Maximum, T, Operand>;
    if constexpr (std::is_same_v<T, Operand>) {  // two images of one type have a minimum of that type
        rows.pair[4] = &pairRow<stores, ArithmeticOperatorMonoType_Minimun, T, Operand>;
        rows.pair[5] = &pairRow<stores, ArithmeticOperatorMonoType_Maximum, T, Operand>;
    }
    return rows;
}

template <class T>
const ArithmeticRows& rows(Stores stores) {
    static constexpr ArithmeticRows cached = makeRows<Stores::Cached, T, T>();
    static constexpr ArithmeticRows streaming = makeRows<Stores::Streaming, T, T>();
    return stores == Stores::Streaming ? streaming : cached;
}

template <Stores stores>
const ArithmeticRows* wideningRowsOf(VoxelTypes operand, VoxelTypes result) {
    static constexpr ArithmeticRows int16OfUint8 = makeRows<stores, std::int16_t, std::uint8_t>();
    static constexpr ArithmeticRows uint16OfUint8 = makeRows<stores, std::uint16_t, std::uint8_t>();
    static constexpr ArithmeticRows int32OfUint16 = makeRows<stores, std::int32_t, std::uint16_t>();
    return operand == RIX_UINT8 && result == RIX_INT16    ? &int16OfUint8
           : operand == RIX_UINT8 && result == RIX_UINT16 ? &uint16OfUint8
           : operand == RIX_UINT16 && result == RIX_INT32 ? &int32OfUint16
                                                          : nullptr;
}

/// Null for the combinations that are not made.
const ArithmeticRows* wideningRows(VoxelTypes operand, VoxelTypes result, Stores stores) {
    return stores == Stores::Streaming ? wideningRowsOf<Stores::Streaming>(operand, result)
                                       : wideningRowsOf<Stores::Cached>(operand, result);
}

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "ComplexKernels.h"

namespace rix::point_operations {

const ArithmeticRows& arithmeticRows(VoxelTypes type, access::Stores stores, OptimLevelType level) {
    const ArithmeticRows* result = nullptr;
    access::dispatch(access::AllTypes{}, type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (access::isComplex<T>) {
            result = &complexRows(type, stores, level);
        } else {
            result = &RIX_SELECT_KERNELS(level, rows<T>(stores));
        }
    });
    return *result;
}

const ArithmeticRows* wideningArithmeticRows(VoxelTypes operand, VoxelTypes result, access::Stores stores,
                                             OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, wideningRows(operand, result, stores));
}

}  // namespace rix::point_operations
#endif
