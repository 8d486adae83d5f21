// Equalisation, matching and equalisation in tiles against references written from their definitions.

#include <rix/manipulation/ContrastLimitedEqualization2d.h>
#include <rix/manipulation/ContrastLimitedEqualization3d.h>
#include <rix/manipulation/HistogramEqualization.h>
#include <rix/manipulation/HistogramMatching.h>

#include "GreyTestSupport.h"

namespace rix::manipulation::test {
namespace {

using Real = long double;

struct Range {
    Real low;
    Real high;
};

bool isSmall(VoxelTypes type) {
    return helper::getSizeOf(type) <= 2;
}

Range rangeOfType(VoxelTypes type) {
    Range range{};
    access::dispatch(access::Reals{}, type, [&](auto tag) {
        using Limits = std::numeric_limits<typename decltype(tag)::type>;
        range = {static_cast<Real>(Limits::lowest()), static_cast<Real>(Limits::max())};
    });
    return range;
}

std::vector<Real> finiteValues(const std::vector<double>& samples) {
    std::vector<Real> values;
    for (const double sample : samples) {
        if (std::isfinite(sample)) {
            values.push_back(sample);
        }
    }
    std::sort(values.begin(), values.end());
    return values;
}

/// The number of values up to one: of small types as it is, of others growing linearly within classes.
Real countUpTo(const std::vector<Real>& values, Real v, bool small, std::size_t classes) {
    if (small) {
        return static_cast<Real>(std::upper_bound(values.begin(), values.end(), v) - values.begin());
    }
    const Real low = values.front();
    const Real width = (values.back() - low) / static_cast<Real>(classes);
    const auto classOf = [&](Real value) {
        return std::min<Real>(std::floor((value - low) / width), static_cast<Real>(classes - 1));
    };
    const Real inside = std::clamp(v, low, values.back());
    const Real k = classOf(inside);
    Real below = 0;
    Real within = 0;
    for (const Real value : values) {
        below += classOf(value) < k ? 1 : 0;
        within += classOf(value) == k ? 1 : 0;
    }
    return below + within * ((inside - low) / width - k);
}

/// Moderate values, so that classes of all types are well conditioned; reals with NaN and infinities.
io::MemoryImage grayImage(VoxelTypes type, const Extents& extents, std::size_t step = 7) {
    io::MemoryImage image = rix::test::makeImage(
        {.voxelType = type, .extents = extents}, [&](std::size_t c, std::size_t y, std::size_t z, auto...) {
            const double value = static_cast<double>((c * c + step * y + 3 * z) % 101);
            const bool special = isFloating(type) && (c + y) % 40 == 3;
            return special ? ((c + z) % 2 == 0 ? std::nan("") : INFINITY)
                           : value * value / 100 + (isFloating(type) ? 0.25 * value : 0);
        });
    rix::test::setDistinctCalibration(image);
    return image;
}

TEST(HistogramEqualization, SpreadsTheCountsOfValuesOrClasses) {
    for (const VoxelTypes type : realTypes) {
        const io::MemoryImage image = grayImage(type, {67, 31, 1, 1, 1});
        const std::vector<Real> values = finiteValues(samplesOf<double>(image));
        const bool small = isSmall(type);
        const Range full = small ? rangeOfType(type) : Range{values.front(), values.back()};
        const Real first = small ? countUpTo(values, values.front(), true, 0) : 0;
        std::map<Real, Real> known;
        const io::MemoryImage expected = mapped(image, type, [&](Real v) {
            if (std::isnan(v)) {
                return v;
            }
            if (!known.contains(v)) {
                const Real count = countUpTo(values, v, small, 50);
                known[v] =
                    full.low + (full.high - full.low) * ((count - first) / (static_cast<Real>(values.size()) - first));
            }
            return known[v];
        });
        HistogramEqualization algorithm;
        io::MemoryImage output;
        algorithm.setInputImage(&image);
        algorithm.setOutputImage(&output);
        algorithm.setNumberOfClasses(50);
        onEveryLevel(algorithm, [&] {
            EXPECT_TRUE(imagesEqual(expected, output,
                                    {.absoluteTolerance = type == RIX_FLOAT32   ? 2e-5
                                                          : type == RIX_FLOAT64 ? 1e-11
                                                                                : 0}))
                << helper::voxelTypesToString(type);
        });
    }
    const io::MemoryImage constant = rix::test::makeImage({.extents = {9, 9, 1, 1, 1}}, [](auto...) { return 77; });
    HistogramEqualization algorithm;
    io::MemoryImage output;
    algorithm.setInputImage(&constant);
    algorithm.setOutputImage(&output);
    onEveryLevel(algorithm, [&] { EXPECT_TRUE(imagesEqual(constant, output)); });
}

TEST(HistogramMatching, GivesTheSharesOfTheReference) {
    for (const VoxelTypes type : realTypes) {
        for (const VoxelTypes referenceType : {RIX_UINT8, RIX_INT16, RIX_FLOAT64}) {
            const io::MemoryImage image = grayImage(type, {67, 31, 1, 1, 1});
            const io::MemoryImage reference = grayImage(referenceType, {40, 50, 1, 1, 1}, 29);
            const std::vector<Real> values = finiteValues(samplesOf<double>(image));
            const std::vector<Real> wanted = finiteValues(samplesOf<double>(reference));
            std::vector<std::pair<Real, Real>> shares;  // up to each value that occurs
            for (std::size_t i = 0; i < wanted.size(); ++i) {
                if (i + 1 == wanted.size() || wanted[i] != wanted[i + 1]) {
                    shares.emplace_back(static_cast<Real>(i + 1) / static_cast<Real>(wanted.size()), wanted[i]);
                }
            }
            const auto atShare = [&](Real share) {
                const auto above = std::lower_bound(shares.begin(), shares.end(), std::pair(share, Real(-1e9)));
                if (above == shares.begin() || above == shares.end()) {
                    return above == shares.end() ? shares.back().second : shares.front().second;
                }
                const auto below = above - 1;
                return below->second +
                       (above->second - below->second) * (share - below->first) / (above->first - below->first);
            };
            const io::MemoryImage expected = mapped(image, type, [&](Real v) {
                return std::isnan(v) ? v : atShare(countUpTo(values, v, true, 0) / static_cast<Real>(values.size()));
            });
            HistogramMatching algorithm;
            io::MemoryImage output;
            algorithm.setInputImage(&image);
            algorithm.setInputReferenceImage(&reference);
            algorithm.setOutputImage(&output);
            // Classes make steps into short slopes: there a result is off by the height of a step, but not elsewhere.
            const bool exact = isSmall(type) && isSmall(referenceType);
            onEveryLevel(algorithm, [&] {
                if (exact) {
                    EXPECT_TRUE(imagesEqual(expected, output));
                    return;
                }
                const std::vector<double> results = samplesOf<double>(output);
                const std::vector<double> aims = samplesOf<double>(expected);
                ASSERT_EQ(results.size(), aims.size());
                for (std::size_t i = 0; i < results.size(); ++i) {
                    ASSERT_EQ(std::isnan(results[i]), std::isnan(aims[i]));
                    ASSERT_TRUE(std::isnan(aims[i]) || std::abs(results[i] - aims[i]) <= 3.5)
                        << results[i] << " instead of " << aims[i];
                }
            });
        }
    }
}

/// The share that a tile gives a value.
struct Tile {
    std::vector<Real> counts;
    Real total = 0;
    Range range{};
    bool areValues = false;

    Real share(Real v, double clipLimit) const {
        const Real limit = std::max<Real>(1, static_cast<Real>(clipLimit) * total);
        Real excess = 0;
        for (const Real count : counts) {
            excess += std::max<Real>(0, count - limit);
        }
        const Real place =
            areValues ? v - range.low : std::clamp<Real>((v - range.low) / (range.high - range.low) * 256, 0, 256);
        const Real k = std::min<Real>(std::floor(place), 255);
        Real below = 0;
        for (std::size_t j = 0; j < static_cast<std::size_t>(k); ++j) {
            below += std::min(counts[j], limit) + excess / 256;
        }
        const Real own = std::min(counts[static_cast<std::size_t>(k)], limit) + excess / 256;
        return (below + own * (areValues ? 1 : place - k)) / total;
    }
};

struct Between {
    std::size_t first, second;
    Real weight;
};

Between between(std::size_t x, std::size_t extent, std::size_t size) {
    const std::size_t tiles = (extent + size - 1) / size;
    std::vector<Real> centres;
    for (std::size_t i = 0; i < tiles; ++i) {
        centres.push_back(static_cast<Real>(i * size + std::min(extent, (i + 1) * size) - 1) / 2);
    }
    const auto place = static_cast<Real>(x);
    if (place <= centres.front()) {
        return {0, 0, 0};
    }
    for (std::size_t i = 0; i + 1 < tiles; ++i) {
        if (place < centres[i + 1]) {
            return {i, i + 1, (place - centres[i]) / (centres[i + 1] - centres[i])};
        }
    }
    return {tiles - 1, tiles - 1, 0};
}

/// Of one volume; planes are volumes of one plane.
void referenceTiles(const std::vector<double>& in, std::vector<Real>& out, const std::array<std::size_t, 3>& n,
                    const std::array<std::size_t, 3>& sizes, double clipLimit, VoxelTypes type) {
    const std::vector<Real> values = finiteValues(in);
    const bool areValues = helper::getSizeOf(type) == 1;
    const Range range = areValues ? rangeOfType(type) : Range{values.front(), values.back()};
    const Range full = isSmall(type) ? rangeOfType(type) : range;
    std::map<std::array<std::size_t, 3>, Tile> tiles;
    const auto each = [&](const auto& use) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            use(i, std::array<std::size_t, 3>{i % n[0], i / n[0] % n[1], i / n[0] / n[1]});
        }
    };
    each([&](std::size_t i, const auto& p) {
        Tile& tile = tiles[{p[0] / sizes[0], p[1] / sizes[1], p[2] / sizes[2]}];
        tile.range = range;
        tile.areValues = areValues;
        tile.counts.resize(256);
        if (std::isfinite(in[i])) {
            const Real place = areValues ? in[i] - range.low : (in[i] - range.low) / (range.high - range.low) * 256;
            tile.counts[static_cast<std::size_t>(std::min<Real>(place, 255))] += 1;
            tile.total += 1;
        }
    });
    each([&](std::size_t i, const auto& p) {
        if (std::isnan(in[i])) {
            out.push_back(in[i]);
            return;
        }
        const Between x = between(p[0], n[0], sizes[0]);
        const Between y = between(p[1], n[1], sizes[1]);
        const Between z = between(p[2], n[2], sizes[2]);
        Real share = 0;
        for (int corner = 0; corner < 8; ++corner) {
            const bool dx = (corner & 1) != 0;
            const bool dy = (corner & 2) != 0;
            const bool dz = (corner & 4) != 0;
            const Real weight =
                (dx ? x.weight : 1 - x.weight) * (dy ? y.weight : 1 - y.weight) * (dz ? z.weight : 1 - z.weight);
            if (weight > 0) {
                const Tile& tile =
                    tiles.at({dx ? x.second : x.first, dy ? y.second : y.first, dz ? z.second : z.first});
                share += weight * tile.share(in[i], clipLimit);
            }
        }
        out.push_back(full.low + (full.high - full.low) * share);
    });
}

template <class Filter>
void expectTiles(const std::array<std::size_t, 3>& sizes, double clipLimit,
                 const Extents& extents = {53, 38, 5, 2, 1}) {
    constexpr bool hasPlanes = requires(Filter& filter) { filter.kernelSizeZ; };
    for (const VoxelTypes type : realTypes) {
        const io::MemoryImage image = grayImage(type, extents);
        std::vector<Real> aims;
        for (std::size_t frame = 0; frame < extents[3]; ++frame) {
            const std::vector<double> volume = rix::test::volumeOf<double>(image, frame, 0);
            const std::size_t plane = extents[0] * extents[1];
            for (std::size_t z = 0; z < (hasPlanes ? 1 : extents[2]); ++z) {
                const auto begin = volume.begin() + static_cast<std::ptrdiff_t>(z * plane);
                const auto end = hasPlanes ? volume.end() : begin + static_cast<std::ptrdiff_t>(plane);
                referenceTiles({begin, end}, aims, {extents[0], extents[1], hasPlanes ? extents[2] : 1}, sizes,
                               clipLimit, type);
            }
        }
        std::size_t i = 0;
        const io::MemoryImage expected = mapped(image, type, [&](Real) { return aims[i++]; });
        Filter filter;
        io::MemoryImage output;
        filter.setInputImage(&image);
        filter.setKernelSizeX(static_cast<std::int32_t>(sizes[0]));
        filter.setKernelSizeY(static_cast<std::int32_t>(sizes[1]));
        if constexpr (hasPlanes) {
            filter.setKernelSizeZ(static_cast<std::int32_t>(sizes[2]));
        }
        filter.setClipLimit(clipLimit);
        filter.setOutputImage(&output);
        // Shares have 24 bits: where a result is nearly half an integer, it may be the other one.
        onEveryLevel(filter, [&] {
            SCOPED_TRACE(helper::voxelTypesToString(type));
            if (isFloating(type)) {
                EXPECT_TRUE(imagesEqual(expected, output, {.absoluteTolerance = 2e-4}));
                return;
            }
            EXPECT_EQ(output.getVoxelType(), type);
            const std::vector<double> results = samplesOf<double>(output);
            const std::vector<double> wanted = samplesOf<double>(expected);
            std::size_t off = 0;
            for (std::size_t k = 0; k < results.size(); ++k) {
                ASSERT_LE(std::abs(results[k] - wanted[k]), 1.0);
                off += results[k] != wanted[k] ? 1U : 0U;
            }
            EXPECT_LE(off, results.size() / 50);
        });
    }
}

TEST(ContrastLimitedEqualization, InterpolatesBetweenTheTilesOfPlanes) {
    expectTiles<ContrastLimitedEqualization2d>({16, 9, 1}, 0.03);
    expectTiles<ContrastLimitedEqualization2d>({100, 64, 1}, 1.0);
    // More columns and tiles than are looked at together.
    expectTiles<ContrastLimitedEqualization2d>({61, 8, 1}, 0.05, {1043, 9, 1, 1, 1});
}

TEST(ContrastLimitedEqualization, InterpolatesBetweenTheTilesOfVolumes) {
    expectTiles<ContrastLimitedEqualization3d>({20, 8, 2}, 0.02);
}

}  // namespace
}  // namespace rix::manipulation::test
