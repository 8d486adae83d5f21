#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::manipulation {

/// Operations on two reals. Comparisons and logic give 1 or 0; what differs from 0, NaN as well, is true. The minimum
/// and the maximum are the first operand when it is NaN or they are equal.
enum class BinaryOperation : std::uint8_t {
    Add,
    Subtract,
    Multiply,
    Divide,
    Power,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    Equal,
    NotEqual,
    And,
    Or,
    Minimum,
    Maximum,
    ArcTangent2
};

/// `out` may be an operand.
template <class T>
using BinaryRow = void (*)(const T* left, const T* right, T* out, std::size_t count);

/// Which operands are rows; the other is one number.
enum class RowOperands : std::uint8_t { Both, Left, Right };

/// @tparam T float or double
template <class T>
BinaryRow<T> binaryRow(BinaryOperation operation, RowOperands rows, OptimLevelType level);

/// The same past the caches; null for operations that take so long that it makes no difference.
template <class T>
BinaryRow<T> streamingBinaryRow(BinaryOperation operation, RowOperands rows, OptimLevelType level);

/// The negative, and 1 where a value is 0, else 0.
enum class UnaryOperation : std::uint8_t { Negate, Not };
template <class T>
using UnaryRow = void (*)(const T* in, T* out, std::size_t count);
template <class T>
UnaryRow<T> unaryRow(UnaryOperation operation, OptimLevelType level);

}  // namespace rix::manipulation
