// Transforms of lines without oneMKL.

#include <algorithm>
#include <cmath>
#include <mutex>
#include <numbers>
#include <string>
#include <vector>

#include <unsupported/Eigen/FFT>

#include <rix/exceptions/Exception.h>
#include <rix/filtering/frequency/FourierEngine.h>

#include "LineTransform.h"
#include "TileTransform.h"

namespace rix::filtering::frequency {

std::string_view getFourierEngine() {
    return "kissfft";
}

namespace {

/// kissfft counts eighths of elements in an int.
constexpr std::size_t longestLine = std::size_t{1} << 27;

template <class Real>
Eigen::FFT<Real> makeKiss() {
    Eigen::FFT<Real> transform;
    transform.SetFlag(Eigen::FFT<Real>::HalfSpectrum);
    transform.SetFlag(Eigen::FFT<Real>::Unscaled);
    return transform;
}

/// Whether convolving with a chirp is cheaper than kissfft, whose cost of a prime factor above 5 is its square.
bool needsChirp(std::size_t length) {
    std::size_t rest = length;
    std::size_t large = 0;
    for (std::size_t p = 2; p * p <= rest; ++p) {
        for (; rest % p == 0; rest /= p) {
            large += p > 5 ? p : 0;
        }
    }
    large += rest > 5 ? rest : 0;
    constexpr double transforms = 3.0;
    const auto padded = static_cast<double>(fastExtent(2 * length));
    return static_cast<double>(large) * static_cast<double>(length) > transforms * padded * std::log2(padded);
}

/// Bluestein's method: k j = (k^2 + j^2 - (k - j)^2) / 2 makes the transform a convolution with a chirp, of any length
/// from twice as much on. In double precision.
class Chirp {
public:
    using Complex = std::complex<double>;

    explicit Chirp(std::size_t length)
        : m_padded(fastExtent(2 * length)),
          m_chirp(length),
          m_filter(m_padded),
          m_line(m_padded),
          m_spectrum(m_padded) {
        std::size_t square = 0;  // k^2 modulo 2 length, after which the chirp repeats
        for (std::size_t k = 0; k < length; ++k) {
            const double angle = std::numbers::pi * static_cast<double>(square) / static_cast<double>(length);
            m_chirp[k] = {std::cos(angle), -std::sin(angle)};
            m_line[k] = std::conj(m_chirp[k]);
            if (k > 0) {
                m_line[m_padded - k] = m_line[k];
            }
            square = (square + 2 * k + 1) % (2 * length);
        }
        m_transform.fwd(m_filter.data(), m_line.data(), static_cast<Eigen::Index>(m_padded));
        for (Complex& weight : m_filter) {
            weight /= static_cast<double>(m_padded);
        }
    }

    /// In place, forward. @param line as many elements as the length
    void run(Complex* line) {
        const std::size_t length = m_chirp.size();
        for (std::size_t k = 0; k < length; ++k) {
            m_line[k] = multiply(line[k], m_chirp[k]);
        }
        std::fill(m_line.begin() + static_cast<std::ptrdiff_t>(length), m_line.end(), Complex{});
        m_transform.fwd(m_spectrum.data(), m_line.data(), static_cast<Eigen::Index>(m_padded));
        for (std::size_t k = 0; k < m_padded; ++k) {
            m_spectrum[k] = multiply(m_spectrum[k], m_filter[k]);
        }
        m_transform.inv(m_line.data(), m_spectrum.data(), static_cast<Eigen::Index>(m_padded));
        for (std::size_t k = 0; k < length; ++k) {
            line[k] = multiply(m_line[k], m_chirp[k]);
        }
    }

private:
    static Complex multiply(const Complex& a, const Complex& b) {
        return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
    }

    std::size_t m_padded;
    std::vector<Complex> m_chirp;
    std::vector<Complex> m_filter;
    std::vector<Complex> m_line;
    std::vector<Complex> m_spectrum;
    Eigen::FFT<double> m_transform = makeKiss<double>();
};

}  // namespace

template <class Real>
struct LineTransform<Real>::Engine {
    /// Keeps tables and working memory, and so belongs to one thread at a time.
    struct Worker {
        explicit Worker(std::size_t length) : line(length) {
            if (needsChirp(length)) {
                chirp = std::make_unique<Chirp>(length);
                wide.resize(length);
            }
        }

        Eigen::FFT<Real> kiss = makeKiss<Real>();
        std::vector<Complex> line;
        std::unique_ptr<Chirp> chirp{};
        std::vector<std::complex<double>> wide{};
    };

    explicit Engine(std::size_t n, bool back) : length(n), backward(back) {}

    /// Calls `use` with a worker that nobody else has meanwhile.
    template <class Use>
    void withWorker(const Use& use) {
        std::unique_ptr<Worker> worker;
        {
            const std::lock_guard lock(mutex);
            if (!idle.empty()) {
                worker = std::move(idle.back());
                idle.pop_back();
            }
        }
        if (worker == nullptr) {
            worker = std::make_unique<Worker>(length);
        }
        use(*worker);
        const std::lock_guard lock(mutex);
        idle.push_back(std::move(worker));
    }

    std::size_t length;
    bool backward;
    std::mutex mutex{};
    std::vector<std::unique_ptr<Worker>> idle{};
};

template <class Real>
LineTransform<Real>::LineTransform(std::size_t length, LineKind kind, double scale)
    : m_length(length), m_scale(static_cast<Real>(scale)) {
    if (length > longestLine) {
        throw MemoryError("A Fourier transform of " + std::to_string(length) + " elements is beyond kissfft.");
    }
    if (length > 1) {
        m_engine = std::make_unique<Engine>(length, kind == LineKind::Backward || kind == LineKind::RealBackward);
    }
}

template <class Real>
LineTransform<Real>::~LineTransform() = default;

template <class Real>
void LineTransform<Real>::forward(const Real* samples, Complex* coefficients) const {
    if (m_length == 1) {
        *coefficients = *samples * m_scale;
        return;
    }
    const std::size_t count = m_length / 2 + 1;
    m_engine->withWorker([&](auto& worker) {
        if (worker.chirp == nullptr) {
            worker.kiss.fwd(coefficients, samples, static_cast<Eigen::Index>(m_length));
        } else {
            std::copy_n(samples, m_length, worker.wide.begin());
            worker.chirp->run(worker.wide.data());
            std::transform(worker.wide.begin(), worker.wide.begin() + static_cast<std::ptrdiff_t>(count), coefficients,
                           [](const auto& value) { return Complex(value); });
        }
    });
    for (std::size_t k = 0; k < count; ++k) {
        coefficients[k] *= m_scale;
    }
}

template <class Real>
void LineTransform<Real>::backward(const Complex* coefficients, Real* samples) const {
    if (m_length == 1) {
        *samples = coefficients->real() * m_scale;
        return;
    }
    const std::size_t count = m_length / 2 + 1;
    m_engine->withWorker([&](auto& worker) {
        std::vector<Complex>& line = worker.line;
        std::copy_n(coefficients, count, line.begin());
        line[0].imag(0);
        if (m_length % 2 == 0) {
            line[m_length / 2].imag(0);
        }
        if (worker.chirp == nullptr) {
            worker.kiss.inv(samples, line.data(), static_cast<Eigen::Index>(m_length));
        } else {
            // Forward, of the conjugate line.
            for (std::size_t k = 0; k < count; ++k) {
                worker.wide[k] = std::conj(line[k]);
                worker.wide[(m_length - k) % m_length] = line[k];
            }
            worker.chirp->run(worker.wide.data());
            std::transform(worker.wide.begin(), worker.wide.end(), samples,
                           [](const auto& value) { return static_cast<Real>(value.real()); });
        }
    });
    for (std::size_t i = 0; i < m_length; ++i) {
        samples[i] *= m_scale;
    }
}

template <class Real>
void LineTransform<Real>::inPlace(Complex* line) const {
    if (m_length == 1) {
        *line *= m_scale;
        return;
    }
    const auto turned = [back = m_engine->backward](const auto& value) { return back ? std::conj(value) : value; };
    m_engine->withWorker([&](auto& worker) {
        if (worker.chirp != nullptr) {
            for (std::size_t i = 0; i < m_length; ++i) {
                worker.wide[i] = turned(line[i]);
            }
            worker.chirp->run(worker.wide.data());
            for (std::size_t i = 0; i < m_length; ++i) {
                line[i] = m_scale * Complex(turned(worker.wide[i]));
            }
            return;
        }
        if (m_engine->backward) {
            worker.kiss.inv(worker.line.data(), line, static_cast<Eigen::Index>(m_length));
        } else {
            worker.kiss.fwd(worker.line.data(), line, static_cast<Eigen::Index>(m_length));
        }
        for (std::size_t i = 0; i < m_length; ++i) {
            line[i] = m_scale * worker.line[i];
        }
    });
}

template class LineTransform<float>;
template class LineTransform<double>;

}  // namespace rix::filtering::frequency
