#include "GaussianTaps.h"

#include <cmath>

namespace rix::filtering::smoothing {

std::size_t gaussianReach(double deviation) {
    return static_cast<std::size_t>(std::ceil(5.0 * deviation));
}

template <class T>
GaussianTaps<T>::GaussianTaps(double deviation) : m_taps{T(1)} {
    const std::size_t reach = gaussianReach(deviation);
    std::vector<double> values(reach + 1, 1.0);
    double sum = 0.0;
    for (std::size_t k = reach; k > 0; --k) {
        const double distance = static_cast<double>(k) / deviation;
        values[k] = std::exp(-0.5 * distance * distance);
        sum += 2.0 * values[k];
    }
    sum += values[0];
    m_taps.assign(reach + 1, T(0));
    for (std::size_t k = 0; k <= reach; ++k) {
        m_taps[k] = static_cast<T>(values[k] / sum);
    }
    while (m_taps.back() == T(0)) {
        m_taps.pop_back();
    }
}

template class GaussianTaps<float>;
template class GaussianTaps<double>;

}  // namespace rix::filtering::smoothing
