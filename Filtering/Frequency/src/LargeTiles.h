#pragma once

#include <complex>
#include <cstddef>

#include "TileConvolution.h"

namespace rix::filtering::frequency {

/// Convolves tile after tile, each by all threads: for tiles so large that the transform of one would take a thread
/// long, which cannot be stopped, and the tiles of some threads much memory.
template <class Real>
void convolveLargeTiles(access::ExecutionContext& context, const ImageModel& input, const ImageModel& kernel,
                        ImageModel& output, const ConvolutionJob& job);

/// The most bytes that such a run holds.
template <class Real>
std::size_t largeTileBytes(const ConvolutionTiles& tiles, std::size_t threads);

/// spectrum[i] *= kernel[i]
template <class Real>
void multiply(std::complex<Real>* spectrum, const std::complex<Real>* kernel, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::complex<Real> a = spectrum[i];
        const std::complex<Real> b = kernel[i];
        spectrum[i] = {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
    }
}

}  // namespace rix::filtering::frequency
