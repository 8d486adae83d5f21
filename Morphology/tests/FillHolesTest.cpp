// Filled holes against a flood from the edges in order of height, written from the definition.

#include <queue>

#include <rix/access/BlockSize.h>
#include <rix/morphology/FillHoles2d.h>
#include <rix/morphology/FillHoles3d.h>

#include "Testing.h"

namespace rix::test {
namespace {

using morphology::FillHoles2d;
using morphology::FillHoles3d;

/// How objects are connected.
struct Connection {
    std::size_t axes;
    int neighborhood;
    int backgroundDistance;  ///< squared, of neighbours of the background
};

constexpr Connection connections[] = {{2, 0, 2}, {2, 1, 1}, {3, 0, 3}, {3, 1, 1}, {3, 2, 1}};

void fillHoles(const ImageModel& input, ImageModel& output, const Connection& connection, int threads = 1,
               const std::shared_ptr<access::BlockScheduler>& scheduler = nullptr) {
    const auto run = [&](auto& algorithm, auto neighborhood) {
        algorithm.settings().setMaximumNumberOfThreads(threads);
        algorithm.setBlockScheduler(scheduler);
        algorithm.setInputImage(&input);
        algorithm.setNeighborhood(neighborhood);
        algorithm.setOutputImage(&output);
        algorithm.run();
    };
    if (connection.axes == 2) {
        FillHoles2d algorithm;
        run(algorithm, static_cast<FillHoles2d::Neighborhood2DType>(connection.neighborhood));
    } else {
        FillHoles3d algorithm;
        run(algorithm, static_cast<FillHoles3d::Neighborhood3DType>(connection.neighborhood));
    }
}

/// -0 before +0.
template <class T>
bool isBelow(T a, T b) {
    return a < b || (a == b && std::signbit(static_cast<double>(a)) && !std::signbit(static_cast<double>(b)));
}

/// Floods from the edges, lowest voxels first, each to the level of the flood or its own.
template <class T>
void floodReference(io::MemoryImage& image, const Connection& connection) {
    const auto n = helper::getExtents(image);
    auto* const all = reinterpret_cast<T*>(image.getInternalBuffer());
    const std::size_t depth = connection.axes == 3 ? n[2] : 1;
    const std::size_t volume = n[0] * n[1] * depth;
    for (std::size_t first = 0; first < n[0] * n[1] * n[2] * n[3] * n[4]; first += volume) {
        T* const samples = all + first;
        const auto higher = [&](std::size_t a, std::size_t b) { return isBelow(samples[b], samples[a]); };
        std::priority_queue<std::size_t, std::vector<std::size_t>, decltype(higher)> queue(higher);
        std::vector<bool> reached(volume, false);
        for (std::size_t v = 0; v < volume; ++v) {
            const std::size_t x = v % n[0];
            const std::size_t y = v / n[0] % n[1];
            const std::size_t z = v / n[0] / n[1];
            const bool isEdge = x == 0 || x + 1 == n[0] || y == 0 || y + 1 == n[1] ||
                                (connection.axes == 3 && (z == 0 || z + 1 == n[2]));
            if (isEdge && samples[v] == samples[v]) {
                reached[v] = true;
                queue.push(v);
            }
        }
        while (!queue.empty()) {
            const std::size_t v = queue.top();
            queue.pop();
            for (int dz = -1; dz <= 1; ++dz) {
                for (int dy = -1; dy <= 1; ++dy) {
                    for (int dx = -1; dx <= 1; ++dx) {
                        const auto x = static_cast<std::int64_t>(v % n[0]) + dx;
                        const auto y = static_cast<std::int64_t>(v / n[0] % n[1]) + dy;
                        const auto z = static_cast<std::int64_t>(v / n[0] / n[1]) + dz;
                        const auto inside = [](std::int64_t c, std::size_t length) {
                            return c >= 0 && c < static_cast<std::int64_t>(length);
                        };
                        if (dx * dx + dy * dy + dz * dz > connection.backgroundDistance || !inside(x, n[0]) ||
                            !inside(y, n[1]) || !inside(z, depth)) {
                            continue;
                        }
                        const std::size_t q =
                            (static_cast<std::size_t>(z) * n[1] + static_cast<std::size_t>(y)) * n[0] +
                            static_cast<std::size_t>(x);
                        if (!reached[q] && samples[q] == samples[q]) {
                            reached[q] = true;
                            samples[q] = isBelow(samples[q], samples[v]) ? samples[v] : samples[q];
                            queue.push(q);
                        }
                    }
                }
            }
        }
        for (std::size_t v = 0; v < volume; ++v) {
            if (!reached[v] && samples[v] == samples[v]) {
                samples[v] = std::numeric_limits<T>::infinity();
            }
        }
    }
}

io::MemoryImage referenceOf(const io::MemoryImage& input, const Connection& connection) {
    io::MemoryImage expected = input;
    access::dispatch(access::Reals{}, input.getVoxelType(),
                     [&](auto tag) { floodReference<typename decltype(tag)::type>(expected, connection); });
    return expected;
}

void compareOnAllWays(const io::MemoryImage& input) {
    static Sampling sampling(3);
    for (const Connection& connection : connections) {
        if (!sampling.takesNext()) {
            continue;
        }
        SCOPED_TRACE(helper::describeImage(input) + ", " + std::to_string(connection.axes) + " axes, neighborhood " +
                     std::to_string(connection.neighborhood));
        const io::MemoryImage expected = referenceOf(input, connection);
        for (const std::size_t bytes : {std::size_t{256}, std::size_t{4096}, access::usualBlockBytes}) {
            const access::ScopedBlockBytes blocks(bytes);
            io::MemoryImage output;
            fillHoles(input, output, connection, 2);
            ASSERT_TRUE(imagesEqual(expected, output)) << "blocks of " << bytes;
            fillHoles(input, output, connection, 1, std::make_shared<access::ShuffledScheduler>(bytes));
            ASSERT_TRUE(imagesEqual(expected, output)) << "shuffled blocks of " << bytes;
        }
    }
}

TEST(FillHoles, IsAFloodFromTheEdgesOnNoiseOfEveryType) {
    for (const VoxelTypes type : realTypes) {
        compareOnAllWays(makeRandomImage({.voxelType = type, .extents = {37, 21, 6, 2, 1}}, 5, Extremes::Finite));
    }
    // Plateaus, infinities, missing samples as walls, and both zeros.
    compareOnAllWays(makeImage({.voxelType = RIX_FLOAT32, .extents = {41, 30, 7, 1, 1}},
                               [](std::size_t x, std::size_t y, std::size_t z, auto...) {
                                   const std::size_t hash = (x * 2654435761U + y * 40503U + z * 69069U) >> 4 & 31U;
                                   return hash < 5    ? std::nan("")
                                          : hash < 12 ? 0.0
                                          : hash < 18 ? -0.0
                                          : hash < 20 ? std::numeric_limits<double>::infinity()
                                                      : static_cast<double>(hash % 4) - 2;
                               }));
}

TEST(FillHoles, FillsBinaryImagesAndKeepsThemBinary) {
    for (const double density : {0.3, 0.5, 0.65, 0.8}) {
        compareOnAllWays(makeImage({.extents = {60, 43, 9, 1, 1}, .interpretation = RIX_BINARY},
                                   [&](std::size_t x, std::size_t y, std::size_t z, auto...) {
                                       const std::uint64_t hash =
                                           (x * 7919 + y * 104729 + z * 1299709 + 13) * 2654435761U;
                                       return static_cast<double>(hash >> 7 & 1023U) < density * 1024 ? 1 : 0;
                                   }));
    }
    // A ring that touches itself at corners only: closed for objects of 8 neighbours, open for those of 4.
    const char* const ring[] = {"......", "..##..", ".#..#.", ".#..#.", "..##..", "......"};
    const io::MemoryImage input = makeImage({.extents = {6, 6, 1, 1, 1}, .interpretation = RIX_BINARY},
                                            [&](std::size_t x, std::size_t y, auto...) { return ring[y][x] == '#'; });
    io::MemoryImage output;
    FillHoles2d algorithm;
    algorithm.setInputImage(&input);
    algorithm.setOutputImage(&output);
    algorithm.run();
    EXPECT_EQ(output.getInterpretation(), RIX_BINARY);
    EXPECT_EQ(std::count(output.getInternalBuffer(), output.getInternalBuffer() + 36, 1), 12);
    algorithm.setNeighborhood(FillHoles2d::CONNECTIVITY_4);
    algorithm.run();
    EXPECT_TRUE(imagesEqual(input, output));
}

/// A spiral, whose inside is no hole however many tiles the way out crosses, and one that is closed at its mouth.
TEST(FillHoles, FollowsSpiralsThroughAllTiles) {
    constexpr std::size_t size = 181;
    for (const bool isClosed : {false, true}) {
        std::vector<int> wall(size * size, 0);
        std::int64_t x = 2;
        std::int64_t y = 2;
        std::int64_t dx = 1;
        std::int64_t dy = 0;
        for (std::int64_t left = size - 5, turns = 0; left > 0; left -= turns % 2 == 0 && turns > 2 ? 4 : 0, ++turns) {
            for (std::int64_t i = 0; i < left; ++i, x += dx, y += dy) {
                wall[static_cast<std::size_t>(y) * size + static_cast<std::size_t>(x)] = 200;
            }
            dx = std::exchange(dy, dx) * -1;
        }
        for (std::size_t i = 2; i < size - 2 && isClosed; ++i) {
            wall[i * size + 2] = 150;
        }
        const io::MemoryImage input =
            makeImage({.extents = {size, size, 1, 1, 1}}, [&](std::size_t c, std::size_t r, auto...) {
                return std::max<std::size_t>(static_cast<std::size_t>(wall[r * size + c]), (c * 7 + r * 3) % 5);
            });
        compareOnAllWays(input);
    }
}

TEST(FillHoles, TakesThinImages) {
    for (const Extents& extents : {Extents{1, 1, 1, 1, 1}, Extents{2, 40, 3, 1, 1}, Extents{40, 2, 3, 1, 1},
                                   Extents{300, 3, 3, 1, 2}, Extents{3, 3, 3, 3, 3}, Extents{5, 700, 1, 1, 1}}) {
        compareOnAllWays(makeRandomImage({.extents = extents}, 8));
    }
}

}  // namespace
}  // namespace rix::test
