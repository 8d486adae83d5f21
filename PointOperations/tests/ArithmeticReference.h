#pragma once

// The arithmetic operators, written from their definitions.

#include <rix/point_operations/ArithmeticOperators.h>
#include <rix/rules/Promotion.h>

#include "PointTestSupport.h"

namespace rix::point_operations::test {

using Operators = ArithmeticOperators;

inline constexpr Operators::ArithmeticOperatorType allOperators[] = {Operators::ADD,      Operators::SUBTRACT,
                                                                     Operators::MULTIPLY, Operators::DIVIDE,
                                                                     Operators::MINIMUM,  Operators::MAXIMUM};

inline PromotionTypesRulesType tableOf(Operators::ArithmeticOperatorType op) {
    return op == Operators::MULTIPLY  ? PROMOTION_MULTIPLICATIVE
           : op == Operators::MINIMUM ? PROMOTION_MINIMUM
           : op == Operators::MAXIMUM ? PROMOTION_MAXIMUM
                                      : PROMOTION_ADDITIVE;
}

inline bool compares(Operators::ArithmeticOperatorType op) {
    return op == Operators::MINIMUM || op == Operators::MAXIMUM;
}

__extension__ using Wide = __float128;

/// A complex product or quotient from exact products, rounded once; with infinite operands the language's own.
template <class Real>
std::complex<Real> referenceComplex(std::complex<Real> a, std::complex<Real> b, bool divides) {
    if (divides && b == std::complex<Real>()) {
        return {};
    }
    if (!std::isfinite(a.real()) || !std::isfinite(a.imag()) || !std::isfinite(b.real()) || !std::isfinite(b.imag())) {
        return divides ? a / b : a * b;
    }
    const Wide ar = a.real();
    const Wide ai = a.imag();
    const Wide br = b.real();
    const Wide bi = divides ? -Wide(b.imag()) : Wide(b.imag());
    const Wide scale = divides ? br * br + bi * bi : Wide(1);
    return {static_cast<Real>((ar * br - ai * bi) / scale), static_cast<Real>((ar * bi + ai * br) / scale)};
}

template <class T>
T referenceResult(T a, T b, Operators::ArithmeticOperatorType op) {
    if constexpr (access::isComplex<T>) {
        switch (op) {
            case Operators::ADD: return a + b;
            case Operators::SUBTRACT: return a - b;
            default: return referenceComplex(a, b, op == Operators::DIVIDE);
        }
    } else {
        switch (op) {
            case Operators::MINIMUM: return a < b ? a : b;
            case Operators::MAXIMUM: return a > b ? a : b;
            case Operators::DIVIDE:
                if (b == 0) {
                    return 0;
                }
                break;
            default: break;
        }
        if constexpr (std::is_floating_point_v<T>) {
            return op == Operators::ADD        ? a + b
                   : op == Operators::SUBTRACT ? a - b
                   : op == Operators::MULTIPLY ? a * b
                                               : a / b;
        } else {
            // 128 bits hold every sum and product; the low bits are kept.
            __extension__ using Integer = __int128;
            const Integer x = a;
            const Integer y = b;
            const Integer result = op == Operators::ADD        ? x + y
                                   : op == Operators::SUBTRACT ? x - y
                                   : op == Operators::MULTIPLY ? x * y
                                                               : x / y;
            return static_cast<T>(result);
        }
    }
}

template <class T>
io::MemoryImage referenceImage(const ImageModel& model, const std::vector<T>& a, const std::vector<T>& b,
                               Operators::ArithmeticOperatorType op) {
    std::vector<T> results(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        results[i] = referenceResult(a[i], b[i], op);
    }
    return imageLike(model, results, RIX_VALUE);
}

inline io::MemoryImage referenceOfImages(const ImageModel& first, const ImageModel& second,
                                         Operators::ArithmeticOperatorType op) {
    io::MemoryImage result;
    access::dispatch(access::AllTypes{}, getPromotedType(&first, &second, tableOf(op)), [&](auto tag) {
        using T = typename decltype(tag)::type;
        result = referenceImage(first, convertedSamples<T>(first), convertedSamples<T>(second), op);
    });
    return result;
}

inline io::MemoryImage referenceOfValue(const ImageModel& image, double value, Operators::ArithmeticOperatorType op) {
    io::MemoryImage result;
    access::dispatch(access::AllTypes{}, getPromotedType(&image, value, tableOf(op)), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const std::vector<T> a = convertedSamples<T>(image);
        result = referenceImage(image, a, std::vector<T>(a.size(), referenceCast<T>(value)), op);
    });
    return result;
}

/// Complex products and quotients may differ by two units in the last place, everything else by nothing.
inline rix::test::ComparisonOptions toleranceOf(VoxelTypes type, Operators::ArithmeticOperatorType op) {
    const bool rounds = isComplexType(type) && (op == Operators::MULTIPLY || op == Operators::DIVIDE);
    return {.unitsInTheLastPlace = rounds ? 2U : 0U};
}

}  // namespace rix::point_operations::test
