// Transforms of lines by the kissfft of Eigen.

#include <algorithm>
#include <cmath>
#include <mutex>
#include <string>
#include <vector>

#include <unsupported/Eigen/FFT>

#include <rix/exceptions/Exception.h>
#include <rix/filtering/frequency/FourierEngine.h>

#include "LineEngine.h"
#include "TileTransform.h"

namespace rix::filtering::frequency {

std::string_view getFourierEngine() {
    return "kissfft";
}

/// Its cost of a prime factor above 5 is the square of that; three transforms of twice the length and more are the
/// other way.
template <class Real>
bool LineEngine<Real>::serves(std::size_t length) {
    std::size_t rest = length;
    std::size_t sum = 0;
    for (std::size_t p = 2; p * p <= rest; ++p) {
        for (; rest % p == 0; rest /= p) {
            sum += p > 5 ? p : 0;
        }
    }
    sum += rest > 5 ? rest : 0;
    const auto padded = static_cast<double>(fastExtent(2 * length));
    return static_cast<double>(sum) * static_cast<double>(length) <= 3.0 * padded * std::log2(padded);
}

template <class Real>
struct LineEngine<Real>::Library {
    /// Keeps tables and working memory, and so belongs to one thread at a time.
    struct Worker {
        explicit Worker(std::size_t length) : line(length) {
            kiss.SetFlag(Eigen::FFT<Real>::HalfSpectrum);
            kiss.SetFlag(Eigen::FFT<Real>::Unscaled);
        }
        Eigen::FFT<Real> kiss{};
        std::vector<Complex> line;
    };

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
    Eigen::Index count() const { return static_cast<Eigen::Index>(length); }

    std::size_t length;
    bool backward;
    Real scale;
    std::mutex mutex{};
    std::vector<std::unique_ptr<Worker>> idle{};
};

template <class Real>
LineEngine<Real>::LineEngine(std::size_t length, LineKind kind, double scale) {
    constexpr std::size_t longest = std::size_t{1} << 27;  // eighths of elements are counted in an int
    if (length > longest) {
        throw MemoryError("A Fourier transform of " + std::to_string(length) + " elements is beyond kissfft.");
    }
    m_library.reset(new Library{.length = length, .backward = isBackward(kind), .scale = static_cast<Real>(scale)});
}

template <class Real>
LineEngine<Real>::~LineEngine() = default;

template <class Real>
void LineEngine<Real>::forward(const Real* samples, Complex* coefficients) const {
    m_library->withWorker([&](auto& worker) { worker.kiss.fwd(coefficients, samples, m_library->count()); });
    for (std::size_t k = 0; k <= m_library->length / 2; ++k) {
        coefficients[k] *= m_library->scale;
    }
}

template <class Real>
void LineEngine<Real>::backward(const Complex* coefficients, Real* samples) const {
    const std::size_t length = m_library->length;
    m_library->withWorker([&](auto& worker) {
        // It takes for granted that these are real.
        std::copy_n(coefficients, length / 2 + 1, worker.line.begin());
        worker.line[0].imag(0);
        if (length % 2 == 0) {
            worker.line[length / 2].imag(0);
        }
        worker.kiss.inv(samples, worker.line.data(), m_library->count());
    });
    for (std::size_t i = 0; i < length; ++i) {
        samples[i] *= m_library->scale;
    }
}

template <class Real>
void LineEngine<Real>::inPlace(Complex* line) const {
    m_library->withWorker([&](auto& worker) {
        if (m_library->backward) {
            worker.kiss.inv(worker.line.data(), line, m_library->count());
        } else {
            worker.kiss.fwd(worker.line.data(), line, m_library->count());
        }
        std::transform(worker.line.begin(), worker.line.end(), line,
                       [&](const Complex& value) { return value * m_library->scale; });
    });
}

template class LineEngine<float>;
template class LineEngine<double>;

}  // namespace rix::filtering::frequency
