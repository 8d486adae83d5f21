#include "ComplexKernels.h"

#include "CarefulComplex.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ComplexKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>

#include "ArithmeticOperators-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::point_operations::HWY_NAMESPACE {

/// Results are made in short pieces beside the output, which may be an operand of pairs that have to be done again.
constexpr std::size_t complexPiece = 256;

using access::Stores;

template <template <class> class Operator, class Real>
HWY_INLINE auto partwiseResults(const void* first, const void* second) {
    const auto* const a = static_cast<const Real*>(first);
    const auto* const b = static_cast<const Real*>(second);
    return [=](std::size_t i) HWY_ATTR { return Operator<Real>::apply(a[i], b[i]); };
}

template <Stores stores, template <class> class Operator, class Real>
void partwiseRow(const void* first, const void* second, void* output, std::size_t count) {
    access::HWY_NAMESPACE::storeRow<stores, Real>(static_cast<Real*>(output), 2 * count,
                                                  partwiseResults<Operator, Real>(first, second));
}

/// Both parts of a piece of results.
template <class Real>
HWY_INLINE auto roundedResults(const double* results) {
    return [=](std::size_t i) HWY_ATTR { return static_cast<Real>(results[i]); };
}

/// Parts of single precision: their products are exact in double precision, and no sum of products leaves its range.
struct ProductOfFloats {
    static void apply(double ar, double ai, double br, double bi, double& re, double& im) {
        re = ar * br - ai * bi;
        im = ar * bi + ai * br;
    }
};
struct QuotientOfFloats {
    static void apply(double ar, double ai, double br, double bi, double& re, double& im) {
        const double norm = br * br + bi * bi;
        re = (ar * br + ai * bi) / norm;
        im = (ai * br - ar * bi) / norm;
    }
};

using CarefulFloat = void (*)(const float*, const float*, float*);
using CarefulDouble = void (*)(const double*, const double*, double*);

template <Stores stores, class Operation, CarefulFloat careful>
void floatRow(const void* first, const void* second, void* output, std::size_t count) {
    const auto* a = static_cast<const float*>(first);
    const auto* b = static_cast<const float*>(second);
    auto* out = static_cast<float*>(output);
    double results[2 * complexPiece];
    for (std::size_t left = count; left > 0;) {
        const std::size_t n = left < complexPiece ? left : complexPiece;
        double witness = 0;  // NaN when a result is infinite or NaN, which only extraordinary operands give
        for (std::size_t i = 0; i < n; ++i) {
            double re = 0;
            double im = 0;
            Operation::apply(a[2 * i], a[2 * i + 1], b[2 * i], b[2 * i + 1], re, im);
            results[2 * i] = re;
            results[2 * i + 1] = im;
            witness += (re - re) + (im - im);
        }
        const bool ordinary = witness == 0;
        if (ordinary) {
            access::HWY_NAMESPACE::storeRow<stores, double>(out, 2 * n, roundedResults<float>(results));
        } else {
            for (std::size_t i = 0; i < n; ++i) {
                const double re = results[2 * i];
                const double im = results[2 * i + 1];
                if ((re - re) + (im - im) == 0) {
                    out[2 * i] = static_cast<float>(re);
                    out[2 * i + 1] = static_cast<float>(im);
                } else {
                    careful(a + 2 * i, b + 2 * i, out + 2 * i);
                }
            }
        }
        a += 2 * n;
        b += 2 * n;
        out += 2 * n;
        left -= n;
    }
}

/// A number and what is missing to its exact value.
struct Exact {
    double high;
    double low;
};

/// The exact product, after Dekker (Numerische Mathematik 18, 1971): without a fused operation, which the older
/// instruction sets lack, so that all levels give the same.
inline Exact productOf(double a, double b) {
    constexpr double splitter = 134217729.0;  // 2^27 + 1
    const double scaledA = splitter * a;
    const double highA = scaledA - (scaledA - a);
    const double lowA = a - highA;
    const double scaledB = splitter * b;
    const double highB = scaledB - (scaledB - b);
    const double lowB = b - highB;
    const double high = a * b;
    return {high, lowA * lowB - (((high - highA * highB) - lowA * highB) - highA * lowB)};
}

/// The sum of two exact products, its high part rounded last (Knuth's sum without a test of sizes).
inline Exact sumOf(const Exact& p, const Exact& q) {
    const double sum = p.high + q.high;
    const double part = sum - p.high;
    const double rest = (p.high - (sum - part)) + (q.high - part);
    const double low = rest + (p.low + q.low);
    const double high = sum + low;
    return {high, low - (high - sum)};
}

inline Exact negated(const Exact& p) {
    return {-p.high, -p.low};
}

inline double quotientOf(const Exact& numerator, const Exact& divisor) {
    const double quotient = numerator.high / divisor.high;
    const Exact back = productOf(quotient, divisor.high);
    const double rest = ((numerator.high - back.high) - back.low) + (numerator.low - quotient * divisor.low);
    return quotient + rest / divisor.high;
}

struct ProductOfDoubles {
    static void apply(double ar, double ai, double br, double bi, double& re, double& im) {
        re = sumOf(productOf(ar, br), negated(productOf(ai, bi))).high;
        im = sumOf(productOf(ar, bi), productOf(ai, br)).high;
    }
};
struct QuotientOfDoubles {
    static void apply(double ar, double ai, double br, double bi, double& re, double& im) {
        const Exact norm = sumOf(productOf(br, br), productOf(bi, bi));
        re = quotientOf(sumOf(productOf(ar, br), productOf(ai, bi)), norm);
        im = quotientOf(sumOf(productOf(ai, br), negated(productOf(ar, bi))), norm);
    }
};

/// Whether exact products of the number neither overflow nor lose their low part.
inline bool isOrdinary(double value) {
    const double size = value < 0 ? -value : value;
    return size == 0 || (size > 0x1p-200 && size < 0x1p200);
}

template <Stores stores, class Operation, CarefulDouble careful, bool divides>
void doubleRow(const void* first, const void* second, void* output, std::size_t count) {
    const auto* a = static_cast<const double*>(first);
    const auto* b = static_cast<const double*>(second);
    auto* out = static_cast<double*>(output);
    double results[2 * complexPiece];
    for (std::size_t left = count; left > 0;) {
        const std::size_t n = left < complexPiece ? left : complexPiece;
        for (std::size_t i = 0; i < n; ++i) {
            double re = 0;
            double im = 0;
            Operation::apply(a[2 * i], a[2 * i + 1], b[2 * i], b[2 * i + 1], re, im);
            results[2 * i] = re;
            results[2 * i + 1] = im;
        }
        for (std::size_t i = 0; i < n; ++i) {
            const double* const x = a + 2 * i;
            const double* const y = b + 2 * i;
            const bool zeroDivisor = divides && y[0] == 0 && y[1] == 0;
            if (zeroDivisor || !isOrdinary(x[0]) || !isOrdinary(x[1]) || !isOrdinary(y[0]) || !isOrdinary(y[1])) {
                careful(x, y, results + 2 * i);
            }
        }
        access::HWY_NAMESPACE::storeRow<stores, double>(out, 2 * n, roundedResults<double>(results));
        a += 2 * n;
        b += 2 * n;
        out += 2 * n;
        left -= n;
    }
}

template <Stores stores>
const ArithmeticRows& rowsOfFloats() {
    static constexpr ArithmeticRows table = {{&partwiseRow<stores, ArithmeticOperatorMonoType_Add, float>,
                                              &partwiseRow<stores, ArithmeticOperatorMonoType_Subtract, float>,
                                              &floatRow<stores, ProductOfFloats, &carefulProduct>,
                                              &floatRow<stores, QuotientOfFloats, &carefulQuotient>, nullptr, nullptr},
                                             {}};
    return table;
}

template <Stores stores>
const ArithmeticRows& rowsOfDoubles() {
    static constexpr ArithmeticRows table = {
        {&partwiseRow<stores, ArithmeticOperatorMonoType_Add, double>,
         &partwiseRow<stores, ArithmeticOperatorMonoType_Subtract, double>,
         &doubleRow<stores, ProductOfDoubles, &carefulProduct, false>,
         &doubleRow<stores, QuotientOfDoubles, &carefulQuotient, true>, nullptr, nullptr},
        {}};
    return table;
}

template <Stores stores>
const ArithmeticRows& rowsOf(VoxelTypes type) {
    return type == RIX_COMPLEX_FLOAT32 ? rowsOfFloats<stores>() : rowsOfDoubles<stores>();
}

const ArithmeticRows& rows(VoxelTypes type, Stores stores) {
    return stores == Stores::Streaming ? rowsOf<Stores::Streaming>(type) : rowsOf<Stores::Cached>(type);
}

}  // namespace rix::point_operations::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::point_operations {

const ArithmeticRows& complexRows(VoxelTypes type, access::Stores stores, OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, rows(type, stores));
}

}  // namespace rix::point_operations
#endif
