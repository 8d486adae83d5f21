#include "FormulaKernels.h"

#include <rix/simd/Loops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FormulaKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>
#include <rix/access/Stores-inl.h>
#include <rix/simd/DoubleMath-inl.h>
#include <rix/simd/Trigonometry-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::manipulation::HWY_NAMESPACE {

using namespace simd::HWY_NAMESPACE;

// An operation of two values as a type, so that the loops below are made for each.
#define RIX_OPERATION(Name, expression)    \
    struct Name {                          \
        template <class T>                 \
        HWY_INLINE static T of(T a, T b) { \
            return expression;             \
        }                                  \
    };
RIX_OPERATION(Sum, a + b)
RIX_OPERATION(Difference, a - b)
RIX_OPERATION(Product, a* b)
RIX_OPERATION(Quotient, a / b)
RIX_OPERATION(PowerOf, static_cast<T>(powerOf(static_cast<double>(a), static_cast<double>(b))))
RIX_OPERATION(IsLess, a < b ? T(1) : T(0))
RIX_OPERATION(IsLessOrEqual, a <= b ? T(1) : T(0))
RIX_OPERATION(IsGreater, a > b ? T(1) : T(0))
RIX_OPERATION(IsGreaterOrEqual, a >= b ? T(1) : T(0))
RIX_OPERATION(IsEqual, a == b ? T(1) : T(0))
RIX_OPERATION(IsNotEqual, a != b ? T(1) : T(0))
RIX_OPERATION(Conjunction, ((a != T(0)) & (b != T(0))) ? T(1) : T(0))
RIX_OPERATION(Disjunction, ((a != T(0)) | (b != T(0))) ? T(1) : T(0))
RIX_OPERATION(MinimumOf, b < a ? b : a)
RIX_OPERATION(MaximumOf, b > a ? b : a)
RIX_OPERATION(AngleOf, static_cast<T>(arcTangent2Of(static_cast<double>(a), static_cast<double>(b))))
#undef RIX_OPERATION

template <class Operation, RowOperands rows, class T>
void operate(const T* left, const T* right, T* out, std::size_t count) {
    const T first = *left;
    const T second = *right;
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] =
            Operation::of(rows == RowOperands::Right ? first : left[i], rows == RowOperands::Left ? second : right[i]);
    }
}

template <RowOperands rows, class T>
BinaryRow<T> rowOf(BinaryOperation operation) {
    static constexpr BinaryRow<T> table[] = {
        &operate<Sum, rows, T>,           &operate<Difference, rows, T>, &operate<Product, rows, T>,
        &operate<Quotient, rows, T>,      &operate<PowerOf, rows, T>,    &operate<IsLess, rows, T>,
        &operate<IsLessOrEqual, rows, T>, &operate<IsGreater, rows, T>,  &operate<IsGreaterOrEqual, rows, T>,
        &operate<IsEqual, rows, T>,       &operate<IsNotEqual, rows, T>, &operate<Conjunction, rows, T>,
        &operate<Disjunction, rows, T>,   &operate<MinimumOf, rows, T>,  &operate<MaximumOf, rows, T>,
        &operate<AngleOf, rows, T>};
    return table[static_cast<std::size_t>(operation)];
}

template <class T>
BinaryRow<T> row(BinaryOperation operation, RowOperands rows) {
    return rows == RowOperands::Left    ? rowOf<RowOperands::Left, T>(operation)
           : rows == RowOperands::Right ? rowOf<RowOperands::Right, T>(operation)
                                        : rowOf<RowOperands::Both, T>(operation);
}

template <class Operation, RowOperands rows, class T>
void stream(const T* left, const T* right, T* out, std::size_t count) {
    const T first = *left;
    const T second = *right;
    const auto value = [=](std::size_t i) HWY_ATTR {
        return Operation::of(rows == RowOperands::Right ? first : left[i],
                             rows == RowOperands::Left ? second : right[i]);
    };
    access::HWY_NAMESPACE::storeRow<access::Stores::Streaming, T>(out, count, value);
}

template <RowOperands rows, class T>
BinaryRow<T> streamingRowOf(BinaryOperation operation) {
    switch (operation) {
        case BinaryOperation::Add: return &stream<Sum, rows, T>;
        case BinaryOperation::Subtract: return &stream<Difference, rows, T>;
        case BinaryOperation::Multiply: return &stream<Product, rows, T>;
        case BinaryOperation::Divide: return &stream<Quotient, rows, T>;
        default: return nullptr;
    }
}

template <class T>
BinaryRow<T> streamingRow(BinaryOperation operation, RowOperands rows) {
    return rows == RowOperands::Left    ? streamingRowOf<RowOperands::Left, T>(operation)
           : rows == RowOperands::Right ? streamingRowOf<RowOperands::Right, T>(operation)
                                        : streamingRowOf<RowOperands::Both, T>(operation);
}

template <class T>
void negate(const T* in, T* out, std::size_t count) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = -in[i];
    }
}

template <class T>
void invertTruth(const T* in, T* out, std::size_t count) {
    RIX_INDEPENDENT_ITERATIONS
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = in[i] == T(0) ? T(1) : T(0);
    }
}

template <class T>
UnaryRow<T> unary(UnaryOperation operation) {
    return operation == UnaryOperation::Negate ? &negate<T> : &invertTruth<T>;
}

}  // namespace rix::manipulation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::manipulation {

template <class T>
BinaryRow<T> binaryRow(BinaryOperation operation, RowOperands rows, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, row<T>(operation, rows));
}
template BinaryRow<float> binaryRow<float>(BinaryOperation, RowOperands, OptimLevelType);
template BinaryRow<double> binaryRow<double>(BinaryOperation, RowOperands, OptimLevelType);

template <class T>
BinaryRow<T> streamingBinaryRow(BinaryOperation operation, RowOperands rows, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, streamingRow<T>(operation, rows));
}
template BinaryRow<float> streamingBinaryRow<float>(BinaryOperation, RowOperands, OptimLevelType);
template BinaryRow<double> streamingBinaryRow<double>(BinaryOperation, RowOperands, OptimLevelType);

template <class T>
UnaryRow<T> unaryRow(UnaryOperation operation, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, unary<T>(operation));
}
template UnaryRow<float> unaryRow<float>(UnaryOperation, OptimLevelType);
template UnaryRow<double> unaryRow<double>(UnaryOperation, OptimLevelType);

}  // namespace rix::manipulation
#endif
