// Skeletons against their rule, carried out voxel by voxel with simple points by counting pieces, and by what they
// keep.

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/Children.h>

#include "Testing.h"

namespace rix::test {
namespace {

io::MemoryImage skeletonOf(const String& name, const ImageModel& image) {
    const auto algorithm = AlgoInfo::fromName(name).createInstance(nullptr);
    io::MemoryImage output;
    algorithms::propertyOf<const ImageModel*>(*algorithm, "inputObjectImage") = &image;
    algorithms::propertyOf<ImageModel*>(*algorithm, "outputBinaryImage") = &output;
    algorithm->run();
    return output;
}

/// A plane or volume of voxels with background around it.
class Voxels {
public:
    Voxels(const std::vector<std::uint8_t>& values, const Extents& n, std::size_t axes)
        : m_values(values), m_n{int(n[0]), int(n[1]), int(n[2])}, m_axes(axes) {}

    bool at(int x, int y, int z) const {
        return x >= 0 && y >= 0 && z >= 0 && x < m_n[0] && y < m_n[1] && z < m_n[2] && m_values[place(x, y, z)] != 0;
    }
    void take(int x, int y, int z) { m_values[place(x, y, z)] = 0; }
    const std::vector<std::uint8_t>& values() const { return m_values; }
    std::size_t count() const { return static_cast<std::size_t>(std::count(m_values.begin(), m_values.end(), 1)); }

    template <class Use>
    void forEach(const Use& use) const {
        for (int z = 0; z < m_n[2]; ++z) {
            for (int y = 0; y < m_n[1]; ++y) {
                for (int x = 0; x < m_n[0]; ++x) {
                    use(x, y, z);
                }
            }
        }
    }

    /// The neighbourhood: element 9 (dz + 1) + 3 (dy + 1) + dx + 1.
    std::array<bool, 27> around(int x, int y, int z) const {
        std::array<bool, 27> around{};
        for (int k = m_axes == 3 ? 0 : 9; k < (m_axes == 3 ? 27 : 18); ++k) {
            around[std::size_t(k)] = at(x + k % 3 - 1, y + k / 3 % 3 - 1, z + k / 9 - 1);
        }
        return around;
    }
    int neighbours(int x, int y, int z) const {
        const auto all = around(x, y, z);
        return int(std::count(all.begin(), all.end(), true)) - (all[13] ? 1 : 0);
    }
    /// Background among the neighbours that differ on at most so many axes.
    bool isBorder(int x, int y, int z, int most) const {
        const auto all = around(x, y, z);
        for (int k = 0; k < 27; ++k) {
            const int axes = std::abs(k % 3 - 1) + std::abs(k / 3 % 3 - 1) + std::abs(k / 9 - 1);
            if ((m_axes == 3 || k / 9 == 1) && axes <= most && !all[std::size_t(k)]) {
                return true;
            }
        }
        return false;
    }

    /// By definition: one piece of objects in the neighbourhood, and one of background that touches the voxel.
    bool isSimple(int x, int y, int z) const {
        auto object = around(x, y, z);
        auto background = object;
        object[13] = false;
        for (int k = 0; k < 27; ++k) {
            const int axes = std::abs(k % 3 - 1) + std::abs(k / 3 % 3 - 1) + std::abs(k / 9 - 1);
            const bool isNear = axes > 0 && (m_axes == 3 ? axes <= 2 : k / 9 == 1);
            background[std::size_t(k)] = isNear && !background[std::size_t(k)];
        }
        return pieces(object, 3, 3) == 1 && pieces(background, 1, 1) == 1;
    }

private:
    std::size_t place(int x, int y, int z) const { return std::size_t((z * m_n[1] + y) * m_n[0] + x); }

    /// Pieces that have an element of at most `from` differing axes from the centre; steps of at most `most` axes.
    static int pieces(std::array<bool, 27> set, int from, int most) {
        int count = 0;
        for (int start = 0; start < 27; ++start) {
            const int axes = std::abs(start % 3 - 1) + std::abs(start / 3 % 3 - 1) + std::abs(start / 9 - 1);
            if (!set[std::size_t(start)] || axes > from) {
                continue;
            }
            ++count;
            std::vector<int> piece{start};
            set[std::size_t(start)] = false;
            for (std::size_t i = 0; i < piece.size(); ++i) {
                for (int k = 0; k < 27; ++k) {
                    const int d[3] = {std::abs(k % 3 - piece[i] % 3), std::abs(k / 3 % 3 - piece[i] / 3 % 3),
                                      std::abs(k / 9 - piece[i] / 9)};
                    if (set[std::size_t(k)] && std::max({d[0], d[1], d[2]}) <= 1 && d[0] + d[1] + d[2] <= most) {
                        set[std::size_t(k)] = false;
                        piece.push_back(k);
                    }
                }
            }
        }
        return count;
    }

    std::vector<std::uint8_t> m_values;
    std::array<int, 3> m_n;
    std::size_t m_axes;
};

/// The rule as it is documented.
Voxels thinnedByRule(Voxels voxels, std::size_t axes) {
    const std::vector<std::pair<int, int>> layers =
        axes == 3 ? std::vector<std::pair<int, int>>{{1, 1}, {2, 2}, {1, 1}, {3, 3}}
                  : std::vector<std::pair<int, int>>{{1, 1}, {2, 2}};
    using Place = std::array<int, 3>;
    for (std::size_t i = 0;; ++i) {
        const std::size_t before = voxels.count();
        std::vector<Place> layer;
        voxels.forEach([&](int x, int y, int z) {
            if (voxels.at(x, y, z) && voxels.isBorder(x, y, z, layers[i % layers.size()].first)) {
                layer.push_back({x, y, z});
            }
        });
        for (int round = 0; round < layers[i % layers.size()].second; ++round) {
            std::vector<Place> candidates;
            for (const Place& p : layer) {
                if (voxels.at(p[0], p[1], p[2]) && voxels.neighbours(p[0], p[1], p[2]) >= 2) {
                    candidates.push_back(p);
                }
            }
            for (int turn = 0; turn < 8; ++turn) {
                for (const Place& p : candidates) {
                    if (p[0] % 2 == turn % 2 && p[1] % 2 == turn / 2 % 2 &&
                        (axes == 2 ? turn < 4 : p[2] % 2 == turn / 4) && voxels.isSimple(p[0], p[1], p[2])) {
                        voxels.take(p[0], p[1], p[2]);
                    }
                }
            }
        }
        if (voxels.count() == before) {
            return voxels;
        }
    }
}

/// Objects less tunnels, cavities more: by the vertices, edges, faces and voxels of the set as closed cubes.
std::int64_t eulerNumber(const Voxels& voxels) {
    std::set<std::array<int, 3>> cells;
    voxels.forEach([&](int x, int y, int z) {
        for (int k = 0; k < 27 && voxels.at(x, y, z); ++k) {
            cells.insert({2 * x + k % 3, 2 * y + k / 3 % 3, 2 * z + k / 9});
        }
    });
    std::int64_t number = 0;
    for (const auto& cell : cells) {
        number += (cell[0] % 2 + cell[1] % 2 + cell[2] % 2) % 2 == 0 ? 1 : -1;
    }
    return number;
}

/// All planes or volumes of an image.
std::vector<Voxels> partsOf(const ImageModel& image, std::size_t axes) {
    const Extents n = helper::getExtents(image);
    const std::vector<double> samples = samplesOf<double>(image);
    const Extents part{n[0], n[1], axes == 3 ? n[2] : 1, 1, 1};
    const std::size_t size = part[0] * part[1] * part[2];
    std::vector<Voxels> parts;
    for (std::size_t first = 0; first < samples.size(); first += size) {
        std::vector<std::uint8_t> values;
        for (std::size_t i = first; i < first + size; ++i) {
            values.push_back(samples[i] != 0 ? 1 : 0);
        }
        parts.emplace_back(values, part, axes);
    }
    return parts;
}

void compareWithRule(const io::MemoryImage& image, std::size_t axes) {
    const String name = axes == 3 ? "Skeleton3d" : "Skeleton2d";
    const io::MemoryImage skeleton = skeletonOf(name, image);
    const std::vector<Voxels> before = partsOf(image, axes);
    const std::vector<Voxels> after = partsOf(skeleton, axes);
    for (std::size_t part = 0; part < before.size(); ++part) {
        EXPECT_EQ(after[part].values(), thinnedByRule(before[part], axes).values())
            << name << " part " << part << ' ' << helper::describeImage(image);
    }
}

/// What holds of every skeleton, whatever the rule.
void checkWhatIsKept(const io::MemoryImage& image, std::size_t axes) {
    const String name = axes == 3 ? "Skeleton3d" : "Skeleton2d";
    const io::MemoryImage skeleton = skeletonOf(name, image);
    EXPECT_TRUE(imagesEqual(skeleton, skeletonOf(name, skeleton))) << name;
    const std::vector<Voxels> before = partsOf(image, axes);
    const std::vector<Voxels> after = partsOf(skeleton, axes);
    for (std::size_t part = 0; part < before.size(); ++part) {
        EXPECT_EQ(eulerNumber(after[part]), eulerNumber(before[part])) << name << " part " << part;
        std::size_t wrong = 0;
        after[part].forEach([&](int x, int y, int z) {
            if (after[part].at(x, y, z)) {
                wrong += before[part].at(x, y, z) ? 0U : 1U;
                wrong += after[part].isSimple(x, y, z) && after[part].neighbours(x, y, z) > 1 ? 1U : 0U;
            }
        });
        EXPECT_EQ(wrong, 0U) << name << " part " << part;
    }
}

std::uint64_t noise(std::size_t x, std::size_t y, std::size_t z, std::size_t seed) {
    std::uint64_t bits = x * 0x9E3779B97F4A7C15U + y * 0xC2B2AE3D27D4EB4FU + z * 0x165667B19E3779F9U + seed;
    bits = (bits ^ (bits >> 31)) * 0xD6E8FEB86659FD93U;
    return (bits ^ (bits >> 32)) & 0xffffU;
}

/// Sets of spheres, which touch, overlap and enclose.
io::MemoryImage makeBlobs(const Extents& n, std::size_t count, double radius, std::size_t seed) {
    return makeImage({.extents = n}, [=](std::size_t x, std::size_t y, std::size_t z, std::size_t t, std::size_t c) {
        int covered = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const double dx = static_cast<double>(x) - static_cast<double>(noise(i, 0, t + 2 * c, seed) % n[0]);
            const double dy = static_cast<double>(y) - static_cast<double>(noise(i, 1, t + 2 * c, seed) % n[1]);
            const double dz = static_cast<double>(z) - static_cast<double>(noise(i, 2, t + 2 * c, seed) % n[2]);
            const double r = radius * (0.4 + static_cast<double>(noise(i, 3, 0, seed) % 100) / 80);
            covered += dx * dx + dy * dy + dz * dz <= r * r ? 1 : 0;
        }
        return covered % 2;  // overlaps are holes and cavities
    });
}

TEST(Skeleton, IsThatOfItsRule) {
    for (const std::uint64_t density : {20U, 50U, 80U, 97U}) {
        const auto speckle = [=](std::size_t x, std::size_t y, std::size_t z, auto...) {
            return noise(x, y, z, density) % 100 < density ? 1 : 0;
        };
        compareWithRule(makeImage({.extents = {70, 37, 2, 2, 1}}, speckle), 2);
        compareWithRule(makeImage({.extents = {67, 12, 11, 1, 2}}, speckle), 3);
    }
    compareWithRule(makeBlobs({300, 60, 1, 1, 1}, 25, 14, 1), 2);
    compareWithRule(makeBlobs({40, 36, 30, 1, 1}, 9, 9, 2), 3);
    // What begins to change far from where the last change was, across bands and chunks.
    compareWithRule(
        makeImage({.extents = {530, 70, 1, 1, 1}},
                  [](std::size_t x, std::size_t y, auto...) { return (y < 66 && x > 2) || y % 9 > 2 ? 1 : 0; }),
        2);
    for (const Extents& thin : {Extents{1, 1, 1, 1, 1}, Extents{1, 40, 3, 1, 1}, Extents{130, 1, 2, 1, 1},
                                Extents{2, 1, 40, 1, 1}, Extents{256, 3, 3, 1, 1}}) {
        compareWithRule(makeImage({.extents = thin}, [](auto...) { return 1; }), 2);
        compareWithRule(makeImage({.extents = thin}, [](auto...) { return 1; }), 3);
    }
}

TEST(Skeleton, KeepsObjectsTunnelsAndCavities) {
    checkWhatIsKept(makeBlobs({600, 400, 1, 1, 1}, 60, 40, 3), 2);
    checkWhatIsKept(makeBlobs({70, 60, 50, 1, 1}, 14, 14, 4), 3);
    const auto shape = [](auto&& inside) {
        return makeImage({.extents = {41, 41, 41, 1, 1}}, [=](std::size_t x, std::size_t y, std::size_t z, auto...) {
            return inside(static_cast<double>(x) - 20, static_cast<double>(y) - 20, static_cast<double>(z) - 20) ? 1
                                                                                                                 : 0;
        });
    };
    const auto distance = [](double x, double y, double z) { return std::sqrt(x * x + y * y + z * z); };
    // A ball is a point, a ring a closed line, a shell stays closed, a tube is a line.
    const auto countOf = [](const io::MemoryImage& image) { return partsOf(image, 3).front().count(); };
    const io::MemoryImage ball = shape([&](double x, double y, double z) { return distance(x, y, z) < 15; });
    EXPECT_LE(countOf(skeletonOf("Skeleton3d", ball)), 4U);
    const io::MemoryImage ring =
        shape([&](double x, double y, double z) { return distance(std::hypot(x, y) - 13, z, 0) < 5; });
    checkWhatIsKept(ring, 3);
    EXPECT_EQ(partsOf(skeletonOf("EndPoints3d", skeletonOf("Skeleton3d", ring)), 3).front().count(), 0U);
    EXPECT_EQ(partsOf(skeletonOf("BranchPoints3d", skeletonOf("Skeleton3d", ring)), 3).front().count(), 0U);
    const io::MemoryImage shell =
        shape([&](double x, double y, double z) { return distance(x, y, z) < 16 && distance(x, y, z) > 9; });
    checkWhatIsKept(shell, 3);
    EXPECT_EQ(eulerNumber(partsOf(skeletonOf("Skeleton3d", shell), 3).front()), 2);
}

TEST(Skeleton, LiesInTheMiddle) {
    // A bar in all directions, and a tube: within a voxel of the middle line, and nearly as long.
    for (const double angle : {0.0, 0.3, 0.785, 1.1, 1.5708, 2.4}) {
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        const io::MemoryImage bar =
            makeImage({.extents = {121, 121, 1, 1, 1}}, [=](std::size_t x, std::size_t y, auto...) {
                const double dx = static_cast<double>(x) - 60;
                const double dy = static_cast<double>(y) - 60;
                return std::abs(c * dx + s * dy) < 45 && std::abs(c * dy - s * dx) < 8.2 ? 1 : 0;
            });
        const Voxels line = partsOf(skeletonOf("Skeleton2d", bar), 2).front();
        double farthest = 0;
        double longest = 0;
        line.forEach([&](int x, int y, int z) {
            const double along = c * (x - 60) + s * (y - 60);
            if (line.at(x, y, z) && std::abs(along) < 34) {  // corners lead to the ends
                farthest = std::max(farthest, std::abs(c * (y - 60) - s * (x - 60)));
            }
            longest = line.at(x, y, z) ? std::max(longest, std::abs(along)) : longest;
        });
        EXPECT_LE(farthest, 1.6) << angle;
        EXPECT_GE(longest, 34) << angle;
    }
    const io::MemoryImage tube =
        makeImage({.extents = {60, 40, 40, 1, 1}}, [](std::size_t x, std::size_t y, std::size_t z, auto...) {
            const double across =
                std::hypot(static_cast<double>(y) - 20, static_cast<double>(z) - 12 - 0.2 * static_cast<double>(x));
            return across < 6.5 && x > 2 && x < 57 ? 1 : 0;
        });
    const Voxels line = partsOf(skeletonOf("Skeleton3d", tube), 3).front();
    std::size_t count = 0;
    line.forEach([&](int x, int y, int z) {
        if (line.at(x, y, z)) {
            ++count;
            EXPECT_LE(std::hypot(y - 20, z - 12 - 0.2 * x), 2.0) << x;
        }
    });
    EXPECT_GE(count, 40U);
    EXPECT_LE(count, 62U);
}

TEST(Skeleton, TakesWhatIsNotZeroAsObjects) {
    const double values[] = {0.0, -0.0, 1.0, -1.0, 0.25, std::nan(""), 1e-30, 256.0};
    for (const VoxelTypes type : {RIX_INT8, RIX_UINT16, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        const bool isReal = type == RIX_FLOAT32 || type == RIX_FLOAT64;
        const io::MemoryImage image =
            makeImage({.voxelType = type, .extents = {75, 9, 3, 1, 1}},
                      [&](std::size_t x, std::size_t y, std::size_t z, auto...) {
                          const std::uint64_t k = noise(x, y, z, 6) % 8;
                          return isReal ? values[k] : static_cast<double>(k % 3) * (type == RIX_INT8 ? -3 : 1);
                      });
        compareWithRule(image, 2);
        compareWithRule(image, 3);
    }
}

TEST(EndPoints, AndBranchPointsHaveTheirNumbersOfNeighbours) {
    for (const std::size_t axes : {2U, 3U}) {
        for (const std::uint64_t density : {4U, 10U, 30U, 60U}) {
            const io::MemoryImage image =
                makeImage({.extents = {261, 7, 6, 1, 2}},
                          [=](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t c) {
                              return noise(x, y, z + 7 * c, density) % 100 < density ? 1 : 0;
                          });
            const String d = axes == 3 ? "3d" : "2d";
            const std::vector<Voxels> parts = partsOf(image, axes);
            const std::vector<Voxels> ends = partsOf(skeletonOf("EndPoints" + d, image), axes);
            const std::vector<Voxels> branches = partsOf(skeletonOf("BranchPoints" + d, image), axes);
            for (std::size_t part = 0; part < parts.size(); ++part) {
                std::size_t wrong = 0;
                parts[part].forEach([&](int x, int y, int z) {
                    const bool isSet = parts[part].at(x, y, z);
                    const int neighbours = parts[part].neighbours(x, y, z);
                    wrong += ends[part].at(x, y, z) == (isSet && neighbours <= 1) ? 0U : 1U;
                    wrong += branches[part].at(x, y, z) == (isSet && neighbours >= 3) ? 0U : 1U;
                });
                EXPECT_EQ(wrong, 0U) << axes << ' ' << density << ' ' << part;
            }
        }
    }
}

}  // namespace
}  // namespace rix::test
