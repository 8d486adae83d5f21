#include "GaussianRecursion.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <limits>

#include "GaussianTaps.h"

namespace rix::filtering::smoothing {

namespace {

struct Oscillation {
    double a;
    double b;
    double w;
    double l;
};
constexpr Oscillation oscillations[] = {{3.152706, 7.299493, 0.526571, 2.182014},
                                        {-2.310951, -0.915381, 1.616025, 2.150902},
                                        {0.158237, -0.044272, 2.856539, 2.078496}};

}  // namespace

template <class T>
GaussianRecursion<T>::GaussianRecursion(double deviation) : m_warmUp(gaussianReach(deviation)) {
    // Long against what is taken in before, and at most so long that its sums stay in the second-level cache.
    m_stretch = std::max<std::size_t>(2048, std::bit_ceil(3 * m_warmUp));
    double sum = 0.0;
    for (std::size_t j = 0; j < pairs; ++j) {
        const Oscillation& o = oscillations[j];
        const std::complex<double> pole = std::exp(std::complex<double>(-o.l, o.w) / deviation);
        Pair& pair = m_pairs[j];
        pair.decay = static_cast<T>(pole.real());
        pair.turn2 = static_cast<T>(pole.imag() * pole.imag());
        // From here on with the coefficients as they are rounded: the weights then are those of this very recursion.
        const double decay = pair.decay;
        const double turn = std::sqrt(static_cast<double>(pair.turn2));
        const std::complex<double> steady = 1.0 / (1.0 - std::complex<double>(decay, turn));
        pair.steadyU = static_cast<T>(steady.real());
        pair.steadyV = static_cast<T>(steady.imag() * turn);
        // h(n + 1) in terms of the powers of n: the sum over what follows leaves the element itself out.
        const double downwardA = o.a * decay + o.b * turn;
        const double downwardB = o.b * decay - o.a * turn;
        sum += (o.a + downwardA) * steady.real() + (o.b + downwardB) * steady.imag();
        pair.upwardU = static_cast<T>(o.a);
        pair.upwardV = static_cast<T>(o.b / turn);
        pair.downwardU = static_cast<T>(downwardA);
        pair.downwardV = static_cast<T>(downwardB / turn);
    }
    // Twice: the first division makes weights of the right size, the second makes their rounded sum 1.
    for (int pass = 0; pass < 2; ++pass) {
        double total = 0.0;
        for (Pair& pair : m_pairs) {
            for (T* const weight : {&pair.upwardU, &pair.upwardV, &pair.downwardU, &pair.downwardV}) {
                *weight = static_cast<T>(static_cast<double>(*weight) / sum);
            }
            const double turn = std::sqrt(static_cast<double>(pair.turn2));
            const std::complex<double> steady =
                1.0 / (1.0 - std::complex<double>(static_cast<double>(pair.decay), turn));
            total += (static_cast<double>(pair.upwardU) + static_cast<double>(pair.downwardU)) * steady.real() +
                     (static_cast<double>(pair.upwardV) + static_cast<double>(pair.downwardV)) * steady.imag() * turn;
        }
        sum = total;
    }
}

template <class T>
T GaussianRecursion<T>::wildFrom() {
    return std::numeric_limits<T>::max() / T(8192);
}

template class GaussianRecursion<float>;
template class GaussianRecursion<double>;

}  // namespace rix::filtering::smoothing
