#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <memory>

namespace rix::filtering::frequency {

/// Columns, rows and planes of a tile.
using TileExtents = std::array<std::size_t, 3>;

/// Real Fourier transforms of tiles of one size and back, neither of them scaled. Of the spectrum, which is symmetric,
/// columns / 2 + 1 columns are kept. By oneMKL, on the calling thread alone; in builds without it by the kissfft of
/// Eigen, which is slower and gives the same bits on every processor. Any number of threads may use an object.
template <class Real>
class TileTransform {
public:
    /// @throws MemoryError when there is no memory
    explicit TileTransform(const TileExtents& extents);
    ~TileTransform();
    TileTransform(const TileTransform&) = delete;
    TileTransform& operator=(const TileTransform&) = delete;

    std::size_t samples() const { return m_extents[0] * m_extents[1] * m_extents[2]; }
    std::size_t coefficients() const { return (m_extents[0] / 2 + 1) * m_extents[1] * m_extents[2]; }

    /// Both use up what they are given.
    void forward(Real* tile, std::complex<Real>* spectrum) const;
    void backward(std::complex<Real>* spectrum, Real* tile) const;

private:
    struct Engine;

    TileExtents m_extents;
    std::unique_ptr<Engine> m_engine;
};

/// The smallest even number from `n` on that has no prime factors but 2, 3 and 5; 1 for 1.
/// @param n at most a quarter of the largest number
std::size_t fastExtent(std::size_t n);

extern template class TileTransform<float>;
extern template class TileTransform<double>;

}  // namespace rix::filtering::frequency
