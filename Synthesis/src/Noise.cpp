#include "Noise.h"

#include <algorithm>
#include <cmath>

#include "Philox.h"
#include "Poisson.h"

namespace rix::synthesis {

namespace {

NoiseRow rowAt(const access::Position& at, std::int64_t seed) {
    const philox::Key key = keyOf(seed, Purpose::Voxels, at.spectral);
    return {key[0], key[1], static_cast<std::uint32_t>(at.row), static_cast<std::uint32_t>(at.plane),
            static_cast<std::uint32_t>(at.sequence)};
}

/// Computes voxels from a column on, which may begin and end within groups: `fill(firstGroup, groups, out)` computes
/// whole ones.
template <class T, class Fill>
void forGroups(std::size_t column, T* out, std::size_t count, const Fill& fill) {
    while (count > 0) {
        const auto group = static_cast<std::uint32_t>(column / groupVoxels);
        const std::size_t skipped = column % groupVoxels;
        std::size_t n = 0;
        if (skipped == 0 && count >= groupVoxels) {
            n = count / groupVoxels * groupVoxels;
            fill(group, n / groupVoxels, out);
        } else {
            T part[groupVoxels];
            fill(group, std::size_t{1}, part);
            n = std::min(groupVoxels - skipped, count);
            std::copy_n(part + skipped, n, out);
        }
        column += n;
        out += n;
        count -= n;
    }
}

/// Calls `use(first, deviates, n)` for pieces of what `fill(column, out, n)` gives.
template <class T, class Fill, class Use>
void inPieces(std::size_t column, std::size_t count, const Fill& fill, const Use& use) {
    constexpr std::size_t piece = 4 * groupVoxels;
    T deviates[piece];
    for (std::size_t done = 0; done < count;) {
        // Up to the end of a group, so that the next piece begins with one.
        const std::size_t n = std::min(piece - (column + done) % groupVoxels, count - done);
        fill(column + done, deviates, n);
        use(done, deviates, n);
        done += n;
    }
}

/// The numbered draws of one voxel.
class DrawsOfVoxel : public PairsOfUniforms {
public:
    DrawsOfVoxel(std::int64_t seed, const access::Position& at, const philox::Key& firstKey)
        : m_seed(seed), m_channel(at.spectral), m_firstKey(firstKey) {
        m_counter = {static_cast<std::uint32_t>(at.column), static_cast<std::uint32_t>(at.row),
                     static_cast<std::uint32_t>(at.plane), static_cast<std::uint32_t>(at.sequence)};
    }
    Pair next() override {
        const philox::Key key = m_draw == 0 ? m_firstKey : keyOf(m_seed, Purpose::Draws, m_channel, m_draw);
        ++m_draw;
        const philox::Counter words = philox::words(m_counter, key);
        return {unitReal(words[0], words[1]), unitReal(words[2], words[3])};
    }

private:
    std::int64_t m_seed;
    std::uint64_t m_channel;
    philox::Counter m_counter{};
    philox::Key m_firstKey;
    std::uint32_t m_draw = 0;
};

}  // namespace

void Noise::gaussians(const access::Position& at, float* out, std::size_t count, float mean, float deviation) const {
    const NoiseRow row = rowAt(at, m_parameters.seed);
    forGroups(at.column, out, count, [&](std::uint32_t group, std::size_t groups, float* to) {
        m_kernels.gaussians(row, group, groups, mean, deviation, to);
    });
}

void Noise::addGaussians(const access::Position& at, double* values, std::size_t count, bool times) const {
    inPieces<float>(
        at.column, count,
        [&](std::size_t column, float* out, std::size_t n) {
            access::Position from = at;
            from.column = column;
            gaussians(from, out, n, 0.0F, 1.0F);
        },
        [&](std::size_t first, const float* deviates, std::size_t n) {
            for (std::size_t i = 0; i < n; ++i) {
                const double noise =
                    m_parameters.mean + m_parameters.standardDeviation * static_cast<double>(deviates[i]);
                double& value = values[first + i];
                value += times ? value * noise : noise;
            }
        });
}

namespace {

/// Calls `use(i, word)` for the voxels of a row.
template <class Use>
void forWords(const NoiseKernels& kernels, const NoiseRow& row, std::size_t column, std::size_t count, const Use& use) {
    inPieces<std::uint32_t>(
        column, count,
        [&](std::size_t from, std::uint32_t* out, std::size_t n) {
            forGroups(from, out, n, [&](std::uint32_t group, std::size_t groups, std::uint32_t* to) {
                kernels.words(row, group, groups, to);
            });
        },
        [&](std::size_t first, const std::uint32_t* words, std::size_t n) {
            for (std::size_t i = 0; i < n; ++i) {
                use(first + i, words[i]);
            }
        });
}

}  // namespace

void Noise::addUniforms(const access::Position& at, double* values, std::size_t count) const {
    const double width = m_parameters.standardDeviation * 3.4641016151377544;  // sqrt(12)
    forWords(m_kernels, rowAt(at, m_parameters.seed), at.column, count, [&](std::size_t i, std::uint32_t word) {
        const double centred = static_cast<double>(static_cast<std::int32_t>(word ^ 0x80000000U)) + 0.5;
        values[i] += m_parameters.mean + width * (centred * 0x1p-32);
    });
}

void Noise::strew(const access::Position& at, double* values, std::size_t count) const {
    const double half = 0.5 * m_parameters.density;
    forWords(m_kernels, rowAt(at, m_parameters.seed), at.column, count, [&](std::size_t i, std::uint32_t word) {
        const double uniform = (static_cast<double>(word) + 0.5) * 0x1p-32;
        values[i] = uniform < half ? m_parameters.pepper : uniform > 1.0 - half ? m_parameters.salt : values[i];
    });
}

void Noise::toCounts(const access::Position& at, double* values, std::size_t count) const {
    const philox::Key firstKey = keyOf(m_parameters.seed, Purpose::Draws, at.spectral);
    access::Position voxel = at;
    for (std::size_t i = 0; i < count; ++i) {
        const double mean = std::max(values[i], 0.0) * m_parameters.countsPerUnit;
        if (mean <= largestPoissonMean) {  // which NaN is not
            voxel.column = at.column + i;
            DrawsOfVoxel draws(m_parameters.seed, voxel, firstKey);
            values[i] = poisson(mean, draws) / m_parameters.countsPerUnit;
        }
    }
}

void Noise::apply(const access::Position& at, double* values, std::size_t count) const {
    switch (m_parameters.kind) {
        case NoiseKind::Uniform: addUniforms(at, values, count); break;
        case NoiseKind::Gaussian: addGaussians(at, values, count, false); break;
        case NoiseKind::Poisson: toCounts(at, values, count); break;
        case NoiseKind::SaltAndPepper: strew(at, values, count); break;
        case NoiseKind::Speckle: addGaussians(at, values, count, true); break;
    }
}

}  // namespace rix::synthesis
