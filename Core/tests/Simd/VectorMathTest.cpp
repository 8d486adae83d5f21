// The vector-math library gives what the kernels of the other levels give.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#ifdef RIX_HAVE_MKL
#include <mkl_service.h>
#include <mkl_vml.h>
#endif

#include <rix/simd/ComplexMath.h>
#include <rix/simd/VectorMath.h>

namespace rix::simd {
namespace {

/// Any bits: subnormal numbers, infinities and NaN are among them.
template <class Real>
std::vector<Real> anyNumbers(std::size_t count, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::vector<Real> numbers(count);
    for (Real& number : numbers) {
        const std::uint64_t bits = random();
        std::memcpy(&number, &bits, sizeof(Real));
    }
    numbers[0] = 0;
    numbers[1] = std::numeric_limits<Real>::infinity();
    return numbers;
}

/// The same bits, or both NaN.
template <class Real>
bool isSame(Real a, Real b) {
    return std::memcmp(&a, &b, sizeof(Real)) == 0 || (std::isnan(a) && std::isnan(b));
}

template <class Real>
void expectIeeeResults() {
    const std::vector<Real> a = anyNumbers<Real>(10007, 1);
    const std::vector<Real> b = anyNumbers<Real>(10007, 2);
    for (const VectorOperation operation :
         {VectorOperation::Add, VectorOperation::Subtract, VectorOperation::Multiply}) {
        const VectorRow<Real> row = vectorRow<Real>(operation);
        ASSERT_NE(row, nullptr);
        std::vector<Real> out = a;
        row(out.data(), b.data(), out.data(), out.size());
        for (std::size_t i = 0; i < out.size(); ++i) {
            const Real expected = operation == VectorOperation::Add        ? a[i] + b[i]
                                  : operation == VectorOperation::Subtract ? a[i] - b[i]
                                                                           : a[i] * b[i];
            ASSERT_TRUE(isSame(expected, out[i])) << a[i] << ' ' << b[i] << ' ' << out[i];
        }
    }
    EXPECT_EQ(vectorRow<Real>(VectorOperation::Divide), nullptr);
}

TEST(VectorMath, GivesTheIeeeResultsOfReals) {
    expectIeeeResults<float>();
    expectIeeeResults<double>();
}

template <class Real>
bool isWithin(Real a, Real b, int units) {
    if (isSame(a, b) || a == b) {
        return true;
    }
    for (; units > 0 && !isSame(a, b); --units) {
        a = std::nextafter(a, b);
    }
    return isSame(a, b);
}

template <class Real>
void expectCarefulResults() {
    using Complex = std::complex<Real>;
    const std::vector<Real> a = anyNumbers<Real>(20014, 1);
    const std::vector<Real> b = anyNumbers<Real>(20014, 2);
    std::vector<Complex> first;
    std::vector<Complex> second;
    for (std::size_t i = 0; i < a.size(); i += 2) {
        first.emplace_back(a[i], a[i + 1]);
        second.emplace_back(i % 100 == 4 ? 0 : b[i], i % 100 == 4 ? 0 : b[i + 1]);
    }
    for (const VectorOperation operation : {VectorOperation::Multiply, VectorOperation::Divide}) {
        const VectorRow<Complex> row = vectorRow<Complex>(operation);
#ifdef RIX_HAVE_MKL
        ASSERT_NE(row, nullptr);
#else
        ASSERT_EQ(row, nullptr);
        continue;
#endif
        std::vector<Complex> out = first;
        row(out.data(), second.data(), out.data(), out.size());
        for (std::size_t i = 0; i < out.size(); ++i) {
            const Complex expected = operation == VectorOperation::Multiply ? multiplyComplex(first[i], second[i])
                                                                            : divideComplex(first[i], second[i]);
            ASSERT_TRUE(isWithin(expected.real(), out[i].real(), 2) && isWithin(expected.imag(), out[i].imag(), 2))
                << first[i] << ' ' << second[i] << ' ' << out[i] << ' ' << expected;
        }
    }
}

TEST(VectorMath, GivesCarefulProductsAndQuotientsOfComplexNumbers) {
    expectCarefulResults<float>();
    expectCarefulResults<double>();
}

TEST(ComplexMath, SurvivesOverflowAndCancellation) {
    using Complex = std::complex<double>;
    const double large = 1e200;
    EXPECT_EQ(divideComplex(Complex(large, large), Complex(large, large)), Complex(1, 0));
    EXPECT_EQ(multiplyComplex(Complex(large, 1), Complex(1 / large, 0)).real(), large * (1 / large));
    EXPECT_EQ(divideComplex(Complex(3, 4), Complex(0, -0.0)), Complex(0, 0));
    // (1 + e)(1 - e) - 1 * 1 = -e^2, which a sum of rounded products loses.
    const double e = 0x1p-30;
    EXPECT_EQ(multiplyComplex(Complex(1 + e, 1), Complex(1 - e, 1)).real(), -e * e);
    EXPECT_EQ(multiplyComplex(Complex(std::numeric_limits<double>::infinity(), 0), Complex(2, 0)).real(),
              std::numeric_limits<double>::infinity());
}

#ifdef RIX_HAVE_MKL
TEST(VectorMath, LeavesTheModeAndTheThreadsOfTheLibraryAlone) {
    // A mode of the application's own choice. (Before anybody chose one, oneMKL itself notes that of the first call.)
    const unsigned before = vmlSetMode(VML_LA | VML_FTZDAZ_ON | VML_ERRMODE_IGNORE);
    const unsigned mode = vmlGetMode();
    mkl_set_num_threads_local(3);
    std::vector<double> numbers(50000, 1.5);
    vectorRow<double>(VectorOperation::Add)(numbers.data(), numbers.data(), numbers.data(), numbers.size());
    EXPECT_EQ(numbers[49999], 3.0);
    EXPECT_EQ(mkl_set_num_threads_local(0), 3);
    EXPECT_EQ(vmlGetMode(), mode);
    vmlSetMode(before);
}
#endif

}  // namespace
}  // namespace rix::simd
