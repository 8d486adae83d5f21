#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "LineEngine.h"

namespace rix::filtering::frequency {

/// Bluestein's method (1970): k j = (k^2 + j^2 - (k - j)^2) / 2 makes the transform of a line of any length a
/// convolution with a chirp, which is computed through transforms of a fast length. In double precision.
class Chirp {
public:
    using Complex = std::complex<double>;

    /// Elements of working memory for lines of a length.
    static std::size_t workElements(std::size_t length);

    explicit Chirp(std::size_t length);

    /// Forward, in place and not scaled. @param work `workElements`, aligned to 64 bytes
    void run(Complex* line, Complex* work) const;

private:
    std::size_t m_padded;
    LineEngine<double> m_forward;
    LineEngine<double> m_backward;
    std::vector<Complex> m_chirp;
    std::vector<Complex> m_filter;
};

}  // namespace rix::filtering::frequency
