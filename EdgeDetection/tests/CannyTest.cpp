// The Canny edge detectors against a slow reference, bit for bit, and on shapes whose edges are known.

#include <rix/edge_detection/CannyEdgeDetector2d.h>
#include <rix/edge_detection/CannyEdgeDetector3d.h>

#include <rix/algorithms/FilterChoices.h>

#include "Testing.h"

namespace rix::test {
namespace {

using edge_detection::CannyEdgeDetector2d;
using edge_detection::CannyEdgeDetector3d;
using edge_detection::EdgesMsr;

using Indices = std::array<std::int64_t, 3>;

/// Half of a kernel with its middle.
struct Half {
    std::vector<double> weights;
    bool isOdd = false;

    double at(std::int64_t i) const {
        const auto k = static_cast<std::size_t>(std::abs(i));
        return k < weights.size() ? (isOdd && i < 0 ? -weights[k] : weights[k]) : 0.0;
    }
};

Half gaussianHalf(double s) {
    Half half;
    for (int i = 0; i <= std::ceil(5.0 * s); ++i) {
        half.weights.push_back(i == 0 ? 1.0 : std::exp(-0.5 * (i / s) * (i / s)));
    }
    double sum = 0.0;
    for (std::size_t i = half.weights.size(); i-- > 0;) {
        sum += (i > 0 ? 2.0 : 1.0) * half.weights[i];
    }
    for (double& weight : half.weights) {
        weight *= 1.0 / sum;
    }
    return half;
}

Half convolvedHalf(const Half& a, const Half& b) {
    Half result{std::vector<double>(a.weights.size() + b.weights.size() - 1, 0.0), a.isOdd != b.isOdd};
    const auto reach = static_cast<std::int64_t>(b.weights.size()) - 1;
    for (std::size_t i = result.isOdd ? 1 : 0; i < result.weights.size(); ++i) {
        for (std::int64_t k = -reach; k <= reach; ++k) {
            result.weights[i] += a.at(static_cast<std::int64_t>(i) - k) * b.at(k);
        }
    }
    return result;
}

/// One image, plane or volume, as the definition goes through it.
template <class T>
class SlowCanny {
public:
    SlowCanny(std::vector<T> samples, Indices extents, std::size_t axes, double deviation,
              std::array<double, 3> spacing)
        : m_samples(std::move(samples)), m_extents(extents), m_axes(axes), m_spacing(spacing) {
        for (std::size_t axis = 0; axis < axes; ++axis) {
            const Half smooth = gaussianHalf(deviation / spacing[axis]);
            m_across[axis] = convolvedHalf({{0.5, 0.25}, false}, smooth);
            m_along[axis] = convolvedHalf({{0.0, 0.5 * (1.0 / spacing[axis])}, true}, smooth);
        }
        m_magnitudes.assign(m_samples.size(), T{0});
        m_gradients.assign(m_samples.size(), {});
        forEach([&](const Indices& p) {
            T sum = 0;
            for (std::size_t axis = 0; axis < axes; ++axis) {
                const T component = sumAlong(axes, axis, p);
                m_gradients[index(p)][axis] = component;
                sum = axis == 0 ? component * component : sum + component * component;
            }
            m_magnitudes[index(p)] = std::sqrt(sum);
        });
    }

    T greatest() const { return *std::max_element(m_magnitudes.begin(), m_magnitudes.end()); }
    T quantile(double q) const {
        std::vector<T> sorted = m_magnitudes;
        sorted.erase(std::remove_if(sorted.begin(), sorted.end(), [](T m) { return m != m; }), sorted.end());
        std::sort(sorted.begin(), sorted.end());
        return sorted[static_cast<std::size_t>(q * static_cast<double>(sorted.size() - 1))];
    }

    std::vector<std::uint8_t> edges(T lower, T upper) const {
        std::vector<std::uint8_t> result(m_samples.size(), 0);
        std::vector<Indices> front;
        forEach([&](const Indices& p) {
            if (m_magnitudes[index(p)] >= upper && stays(p, lower)) {
                result[index(p)] = 1;
                front.push_back(p);
            }
        });
        while (!front.empty()) {
            const Indices p = front.back();
            front.pop_back();
            forEach([&](const Indices& q) {
                const bool isNear =
                    std::abs(p[0] - q[0]) <= 1 && std::abs(p[1] - q[1]) <= 1 && std::abs(p[2] - q[2]) <= 1;
                if (isNear && result[index(q)] == 0 && stays(q, lower)) {
                    result[index(q)] = 1;
                    front.push_back(q);
                }
            });
        }
        return result;
    }

private:
    template <class Use>
    void forEach(const Use& use) const {
        for (Indices p{0, 0, 0}; p[2] < m_extents[2]; ++p[2]) {
            for (p[1] = 0; p[1] < m_extents[1]; ++p[1]) {
                for (p[0] = 0; p[0] < m_extents[0]; ++p[0]) {
                    use(p);
                }
            }
        }
    }
    std::size_t index(const Indices& p) const {
        return static_cast<std::size_t>((p[2] * m_extents[1] + p[1]) * m_extents[0] + p[0]);
    }

    /// Sums along z, then y, then x; `level` counts the axes that are left.
    T sumAlong(std::size_t level, std::size_t derived, Indices p) const {
        // The axes of sums are taken up from the last inner one: x is the outermost sum.
        const std::size_t axis = m_axes - level;
        if (level == 0) {
            for (std::size_t a = 0; a < 3; ++a) {
                while (p[a] < 0 || p[a] >= m_extents[a]) {
                    p[a] = p[a] < 0 ? -1 - p[a] : 2 * m_extents[a] - 1 - p[a];
                }
            }
            return m_samples[index(p)];
        }
        const Half& half = axis == derived ? m_along[axis] : m_across[axis];
        const auto there = [&](std::int64_t k) {
            Indices q = p;
            q[axis] += k;
            return sumAlong(level - 1, derived, q);
        };
        T sum = 0;
        for (auto k = static_cast<std::int64_t>(half.weights.size()) - 1; k >= (half.isOdd ? 1 : 0); --k) {
            const T weight = static_cast<T>(half.weights[static_cast<std::size_t>(k)]);
            const T term =
                k == 0 ? weight * there(0) : weight * (half.isOdd ? there(k) - there(-k) : there(k) + there(-k));
            sum = k + 1 == static_cast<std::int64_t>(half.weights.size()) ? term : sum + term;
        }
        return sum;
    }

    T magnitudeAt(const Indices& p) const {
        for (std::size_t a = 0; a < 3; ++a) {
            if (p[a] < 0 || p[a] >= m_extents[a]) {
                return T{0};
            }
        }
        return m_magnitudes[index(p)];
    }
    static T between(T here, T there, T share) { return (T{1} - share) * here + share * there; }
    T interpolated(std::size_t level, Indices p, const std::array<T, 3>& way) const {
        if (level == 0) {
            return magnitudeAt(p);
        }
        const std::size_t axis = level - 1;
        const T here = interpolated(level - 1, p, way);
        p[axis] += way[axis] >= T{0} ? 1 : -1;
        return between(here, interpolated(level - 1, p, way), std::abs(way[axis]));
    }
    bool stays(const Indices& p, T lower) const {
        const T m = m_magnitudes[index(p)];
        const double smallest = *std::min_element(m_spacing.begin(), m_spacing.begin() + static_cast<int>(m_axes));
        std::array<T, 3> ahead{};
        std::array<T, 3> behind{};
        for (std::size_t axis = 0; axis < m_axes; ++axis) {
            const T step = static_cast<T>(smallest / m_spacing[axis]);
            ahead[axis] = m_gradients[index(p)][axis] / m * step;
            // The other way: also of a component that is 0.
            behind[axis] = ahead[axis] == T{0} ? T{-0.0} : -ahead[axis];
        }
        return m >= lower && m > T{0} && m > interpolated(m_axes, p, behind) && m >= interpolated(m_axes, p, ahead);
    }

    std::vector<T> m_samples;
    Indices m_extents;
    std::size_t m_axes;
    std::array<double, 3> m_spacing;
    std::array<Half, 3> m_across;
    std::array<Half, 3> m_along;
    std::vector<T> m_magnitudes;
    std::vector<std::array<T, 3>> m_gradients;
};

/// Blobs with noise, so that there are weak and strong edges; NaN from a column on.
io::MemoryImage roughImage(VoxelTypes type, const Extents& extents, std::size_t firstNaN = SIZE_MAX) {
    std::mt19937 random(7);
    return makeImage({.voxelType = type, .extents = extents},
                     [&](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t) {
                         const double wave = std::sin(0.5 * static_cast<double>(x + 3 * t)) *
                                             std::cos(0.4 * static_cast<double>(y) + 0.7 * static_cast<double>(z));
                         return x >= firstNaN ? std::numeric_limits<double>::quiet_NaN()
                                              : std::floor(100.0 + 60.0 * wave + static_cast<double>(random() % 32));
                     });
}

template <class T, class Filter>
void compareWithReference(Filter& filter, const io::MemoryImage& image, std::size_t axes, double deviation,
                          const std::array<double, 3>& spacing) {
    io::MemoryImage edges;
    EdgesMsr table;
    filter.setInputGrayImage(&image);
    filter.setStandardDeviation(deviation);
    filter.setOutputBinaryImage(&edges);
    filter.setOutputMeasurement(&table);
    filter.run();
    const auto samples = samplesOf<T>(image);
    const auto found = samplesOf<std::uint8_t>(edges);
    const Extents n = helper::getExtents(image);
    const std::size_t voxels = n[0] * n[1] * (axes == 3 ? n[2] : 1);
    std::size_t count = 0;
    for (std::size_t begin = 0; begin < samples.size(); begin += voxels) {
        const auto from = samples.begin() + static_cast<std::ptrdiff_t>(begin);
        const SlowCanny<T> slow({from, from + static_cast<std::ptrdiff_t>(voxels)},
                                {static_cast<std::int64_t>(n[0]), static_cast<std::int64_t>(n[1]),
                                 axes == 3 ? static_cast<std::int64_t>(n[2]) : 1},
                                axes, deviation, spacing);
        const auto threshold = [&](double given, double part) {
            return given < 0.0 ? static_cast<T>(part * static_cast<double>(slow.greatest()))
                   : filter.getThresholdMode() == edge_detection::ThresholdMode::QUANTILE ? slow.quantile(given)
                                                                                          : static_cast<T>(given);
        };
        const auto expected =
            slow.edges(threshold(filter.getLowerThreshold(), 0.1), threshold(filter.getUpperThreshold(), 0.2));
        const auto result = found.begin() + static_cast<std::ptrdiff_t>(begin);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), result));
        count += static_cast<std::size_t>(std::count(expected.begin(), expected.end(), 1));
    }
    EXPECT_GT(count, 5U);
    EXPECT_EQ(table.positionX.size(), count);
}

TEST(CannyEdgeDetectors, FindTheEdgesOfTheDefinition) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT64}) {
        const io::MemoryImage planes = roughImage(type, {45, 23, 2, 2, 1});
        io::MemoryImage volume = roughImage(type, {11, 9, 8, 1, 1});
        ASSERT_TRUE(volume.setSpacingOf(COLUMNS, 0.5) && volume.setSpacingOf(ROWS, 0.75) &&
                    volume.setSpacingOf(PLANS, 1.25));
        const auto check = [&](auto tag, double deviation, edge_detection::ThresholdMode mode, double lower,
                               double upper) {
            using T = decltype(tag);
            CannyEdgeDetector2d inPlanes;
            inPlanes.thresholdMode = static_cast<int>(mode);
            inPlanes.setLowerThreshold(lower);
            inPlanes.setUpperThreshold(upper);
            compareWithReference<T>(inPlanes, planes, 2, deviation, {1.0, 1.0, 1.0});
            CannyEdgeDetector3d inSpace;
            inSpace.thresholdMode = static_cast<int>(mode);
            inSpace.setLowerThreshold(lower);
            inSpace.setUpperThreshold(upper);
            inSpace.setLengthUnit(algorithms::LengthUnit::WORLD);
            compareWithReference<T>(inSpace, volume, 3, 0.5 * deviation, {0.5, 0.75, 1.25});
        };
        const auto checkAll = [&](auto tag) {
            check(tag, 0.0, edge_detection::ThresholdMode::ABSOLUTE, 8.0, 14.0);
            check(tag, 0.6, edge_detection::ThresholdMode::ABSOLUTE, -1.0, -1.0);
            check(tag, 0.0, edge_detection::ThresholdMode::QUANTILE, 0.5, 0.8);
            check(tag, 0.8, edge_detection::ThresholdMode::QUANTILE, 0.25, -1.0);
        };
        if (type == RIX_FLOAT64) {
            checkAll(double{});
        } else {
            checkAll(float{});
        }
    }
}

TEST(CannyEdgeDetectors, LeaveNaNOutOfQuantiles) {
    const io::MemoryImage image = roughImage(RIX_FLOAT64, {45, 23, 2, 2, 1}, 31);
    CannyEdgeDetector2d filter;
    filter.setThresholdMode(edge_detection::ThresholdMode::QUANTILE);
    filter.setLowerThreshold(0.5);
    filter.setUpperThreshold(0.8);
    compareWithReference<double>(filter, image, 2, 0.6, {1.0, 1.0, 1.0});
}

TEST(CannyEdgeDetectors, PlacesLieOnTheSphere) {
    constexpr double radius = 6.0;
    const std::array<double, 3> spacing{0.5, 0.5, 0.8};
    const auto world = [&](std::size_t axis, double index) { return spacing[axis] * index; };
    // The share of each voxel that lies in the ball.
    io::MemoryImage ball =
        makeImage({.voxelType = RIX_FLOAT32, .extents = {40, 40, 26, 1, 1}},
                  [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                      int inside = 0;
                      for (int k = 0; k < 64; ++k) {
                          const double dx = world(0, static_cast<double>(x) + (k % 4 - 1.5) / 4.0) - 9.8;
                          const double dy = world(1, static_cast<double>(y) + (k / 4 % 4 - 1.5) / 4.0) - 10.1;
                          const double dz = world(2, static_cast<double>(z) + (k / 16 - 1.5) / 4.0) - 9.9;
                          inside += dx * dx + dy * dy + dz * dz <= radius * radius ? 1 : 0;
                      }
                      return 100.0F * static_cast<float>(inside) / 64.0F;
                  });
    ASSERT_TRUE(ball.setSpacingOf(COLUMNS, 0.5) && ball.setSpacingOf(ROWS, 0.5) && ball.setSpacingOf(PLANS, 0.8) &&
                ball.setOriginOf(COLUMNS, 100.0));
    io::MemoryImage edges;
    EdgesMsr table;
    CannyEdgeDetector3d filter;
    filter.setInputGrayImage(&ball);
    filter.setLengthUnit(algorithms::LengthUnit::WORLD);
    filter.setStandardDeviation(0.6);
    filter.setOutputBinaryImage(&edges);
    filter.setOutputMeasurement(&table);
    filter.run();
    ASSERT_GT(table.strength.size(), 1000U);
    double sum = 0.0;
    for (std::size_t i = 0; i < table.strength.size(); ++i) {
        const std::array<double, 3> d{table.positionX[i] - 109.8, table.positionY[i] - 10.1, table.positionZ[i] - 9.9};
        const double r = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        EXPECT_NEAR(r, radius, 0.25);
        // Gradients point to the bright inside.
        EXPECT_LT((d[0] * table.directionX[i] + d[1] * table.directionY[i] + d[2] * table.directionZ[i]) / r, -0.98);
        sum += r;
    }
    // Smoothing moves the edge of a ball inwards by the variance over the radius: 0.36 of the Gaussian, 0.15 of Sobel.
    EXPECT_NEAR(sum / static_cast<double>(table.strength.size()), radius - 0.51 / radius, 0.03);
}

}  // namespace
}  // namespace rix::test
