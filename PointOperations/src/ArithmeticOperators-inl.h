// The operators on two samples of one type. No include guard: the file is included once for every instruction set, into
// the namespace of that pass.

#include <cstdint>
#include <cstring>
#include <type_traits>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::point_operations::HWY_NAMESPACE {

/// Where integers wrap: the low bits are the same as in the integer's own arithmetic, and nothing overflows.
using Wrapping = std::uint32_t;

template <class T>
struct ArithmeticOperatorMonoType_Add {
    static T apply(T a, T b) {
        if constexpr (std::is_integral_v<T>) {
            return static_cast<T>(static_cast<Wrapping>(a) + static_cast<Wrapping>(b));
        } else {
            return a + b;
        }
    }
};

template <class T>
struct ArithmeticOperatorMonoType_Subtract {
    static T apply(T a, T b) {
        if constexpr (std::is_integral_v<T>) {
            return static_cast<T>(static_cast<Wrapping>(a) - static_cast<Wrapping>(b));
        } else {
            return a - b;
        }
    }
};

template <class T>
struct ArithmeticOperatorMonoType_Multiply {
    static T apply(T a, T b) {
        if constexpr (std::is_integral_v<T>) {
            return static_cast<T>(static_cast<Wrapping>(a) * static_cast<Wrapping>(b));
        } else {
            return a * b;
        }
    }
};

/// All bits, or none.
template <class Bits>
inline Bits maskOf(bool condition) {
    return static_cast<Bits>(Bits{0} - static_cast<Bits>(condition));
}

/// 0 where the divisor is 0, by masks: where there is a choice between a quotient and something else, the compiler
/// branches around the division, and the loop stays scalar.
///
/// Integers go through reals, which processors divide in vectors: the quotient of two 16-bit integers in single
/// precision, or of two 32-bit integers in double precision, never rounds up to the next integer, because it is at
/// least 1 / divisor away from it.
template <class T>
struct ArithmeticOperatorMonoType_Divide {
    static T apply(T a, T b) {
        if constexpr (std::is_same_v<T, std::int16_t>) {
            const float divisor = b == 0 ? 1.0F : static_cast<float>(b);
            const auto quotient = static_cast<std::int32_t>(static_cast<float>(a) / divisor);
            return static_cast<T>(b == 0 ? 0 : quotient);  // -32768 / -1 wraps to itself
        } else if constexpr (std::is_same_v<T, std::int32_t>) {
            // By 0 and -1 as by 1; the most negative integer divided by -1 is itself.
            const auto zero = maskOf<Wrapping>(b == 0);
            const auto minusOne = maskOf<Wrapping>(b == -1);
            const auto divisor =
                static_cast<std::int32_t>((static_cast<Wrapping>(b) & ~minusOne) | ((zero | minusOne) & 1));
            const auto quotient =
                static_cast<Wrapping>(static_cast<std::int32_t>(static_cast<double>(a) / static_cast<double>(divisor)));
            return static_cast<T>(((quotient ^ minusOne) - minusOne) & ~zero);
        } else {
            using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
            T quotient = a / b;
            Bits bits = 0;
            std::memcpy(&bits, &quotient, sizeof(T));
            bits &= maskOf<Bits>(b != T(0));
            std::memcpy(&quotient, &bits, sizeof(T));
            return quotient;
        }
    }
};

/// The second operand unless the first is strictly smaller: also for NaN and zeros of both signs.
template <class T>
struct ArithmeticOperatorMonoType_Minimun {
    static T apply(T a, T b) { return a < b ? a : b; }
};

template <class T>
struct ArithmeticOperatorMonoType_Maximum {
    static T apply(T a, T b) { return a > b ? a : b; }
};

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
