// Products and quotients of complex numbers, and what the vector-math library leaves alone; its results are compared
// with those of the other kernels where operations use it.

#ifdef RIX_HAVE_MKL
#include <mkl_service.h>
#include <mkl_vml.h>
#endif

#include <rix/simd/ComplexMath.h>
#include <rix/simd/VectorMath.h>

#include "Testing.h"

namespace rix::simd {
namespace {

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
