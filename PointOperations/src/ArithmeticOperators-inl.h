// The operators on two samples of one type. No include guard: the file is included once for every instruction set, into
// the namespace of that pass.

#include <cstdint>
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

/// 0 where the divisor is 0. Integers go through reals, which processors divide in vectors: the quotient of two 16-bit
/// integers in single precision, or of two 32-bit integers in double precision, never rounds up to the next integer,
/// because it is at least 1 / divisor away from it.
template <class T>
struct ArithmeticOperatorMonoType_Divide {
    static T apply(T a, T b) {
        if constexpr (std::is_same_v<T, std::int16_t>) {
            const float divisor = b == 0 ? 1.0F : static_cast<float>(b);
            const auto quotient = static_cast<std::int32_t>(static_cast<float>(a) / divisor);
            return static_cast<T>(b == 0 ? 0 : quotient);  // -32768 / -1 wraps to itself
        } else if constexpr (std::is_same_v<T, std::int32_t>) {
            // -1 apart: the most negative integer divided by it is itself.
            const bool special = static_cast<Wrapping>(b) + 1 <= 1;  // 0 or -1
            const double divisor = special ? 1.0 : static_cast<double>(b);
            const auto quotient = static_cast<std::int32_t>(static_cast<double>(a) / divisor);
            const auto negated = static_cast<std::int32_t>(Wrapping{0} - static_cast<Wrapping>(a));
            return special ? (b == 0 ? 0 : negated) : quotient;
        } else {
            const T quotient = a / b;
            return b == T(0) ? T(0) : quotient;
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
