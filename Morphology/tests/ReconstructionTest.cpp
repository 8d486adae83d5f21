// Reconstructions, extrema and what is made of them, against the definition: steps of one voxel until nothing changes.

#include <rix/access/BlockSize.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/Children.h>

#include "Testing.h"

namespace rix::test {
namespace {

/// Which voxels touch.
struct Touching {
    std::size_t axes;
    int neighborhood;
    int farthest;  ///< squared distance
};

constexpr Touching touchings[] = {{2, 0, 1}, {2, 1, 2}, {3, 0, 1}, {3, 1, 2}, {3, 2, 3}};

/// An operation of the family, by the name of its class.
struct Operation {
    String name;
    const Touching& touching;
    std::map<String, const ImageModel*> inputs;
    double contrast = 0.0;

    io::MemoryImage run(int threads = 1, const std::shared_ptr<access::BlockScheduler>& scheduler = nullptr) const {
        const String suffix = touching.axes == 2 ? "2d" : "3d";
        const auto algorithm = AlgoInfo::fromName(name + suffix).createInstance(nullptr);
        algorithm->settings().setMaximumNumberOfThreads(threads);
        algorithm->setBlockScheduler(scheduler);
        for (const auto& [property, image] : inputs) {
            algorithms::propertyOf<const ImageModel*>(*algorithm, property) = image;
        }
        algorithms::propertyOf<int>(*algorithm, "neighborhood") = touching.neighborhood;
        if (algorithm->getPropertyfromName("contrast") != nullptr) {
            algorithms::propertyOf<double>(*algorithm, "contrast") = contrast;
        }
        io::MemoryImage output;
        const bool isBinary = algorithm->getPropertyfromName("outputBinaryImage") != nullptr;
        algorithms::propertyOf<ImageModel*>(*algorithm, isBinary ? "outputBinaryImage" : "outputImage") = &output;
        algorithm->run();
        return output;
    }
};

using Values = std::vector<double>;  // every real type fits

Values valuesOf(const io::MemoryImage& image) {
    Values values;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        std::size_t count = 0;
        EXPECT_TRUE(helper::getElementCount(image, count));
        const auto* const samples = reinterpret_cast<const T*>(image.getInternalBuffer());
        values.assign(samples, samples + count);
    });
    return values;
}

io::MemoryImage imageOf(const Values& values, const ImageModel& like, VoxelTypes type, Interpretations meaning) {
    const auto n = helper::getExtents(like);
    std::size_t next = 0;
    io::MemoryImage image = makeImage({.voxelType = type, .extents = n, .interpretation = meaning},
                                      [&](auto...) { return values[next++]; });
    return image;
}

/// -0 before +0.
bool isUnder(double a, double b) {
    return a < b || (a == b && std::signbit(a) && !std::signbit(b));
}

/// Calls `use(q)` for the neighbours of a voxel that are no NaN.
template <class Use>
void forEachNeighbour(const Values& values, const Extents& n, const Touching& touching, std::size_t p, const Use& use) {
    const auto at = [&](std::size_t axis, std::size_t stride) {
        return static_cast<std::int64_t>(p / stride % n[axis]);
    };
    const std::int64_t x = at(0, 1);
    const std::int64_t y = at(1, n[0]);
    const std::int64_t z = at(2, n[0] * n[1]);
    for (int dz = touching.axes == 3 ? -1 : 0; dz <= (touching.axes == 3 ? 1 : 0); ++dz) {
        for (int dy = -1; dy <= 1; ++dy) {
            for (int dx = -1; dx <= 1; ++dx) {
                const auto isInside = [](std::int64_t c, std::size_t length) {
                    return c >= 0 && c < static_cast<std::int64_t>(length);
                };
                const int distance = dx * dx + dy * dy + dz * dz;
                if (distance == 0 || distance > touching.farthest || !isInside(x + dx, n[0]) ||
                    !isInside(y + dy, n[1]) || !isInside(z + dz, n[2])) {
                    continue;
                }
                const auto plane = static_cast<std::int64_t>(n[0] * n[1]);
                const auto q = static_cast<std::size_t>(static_cast<std::int64_t>(p) + dx +
                                                        dy * static_cast<std::int64_t>(n[0]) + dz * plane);
                if (values[q] == values[q]) {
                    use(q);
                }
            }
        }
    }
}

/// By dilation; of the negative values by erosion.
Values reconstructed(const Values& mask, Values marker, const Extents& n, const Touching& touching) {
    for (std::size_t p = 0; p < mask.size(); ++p) {
        const double start = marker[p] == marker[p] ? marker[p] : -std::numeric_limits<double>::infinity();
        marker[p] = mask[p] != mask[p] ? mask[p] : isUnder(start, mask[p]) ? start : mask[p];
    }
    for (bool changed = true; changed;) {
        changed = false;
        for (std::size_t p = 0; p < mask.size(); ++p) {
            if (mask[p] != mask[p]) {
                continue;
            }
            forEachNeighbour(mask, n, touching, p, [&](std::size_t q) {
                const double level = isUnder(marker[q], mask[p]) ? marker[q] : mask[p];
                changed = changed || isUnder(marker[p], level);
                marker[p] = isUnder(marker[p], level) ? level : marker[p];
            });
        }
    }
    return marker;
}

/// Of maxima; of the negative values of minima.
Values marked(const Values& values, const Extents& n, const Touching& touching) {
    Values marks(values.size(), 0.0);
    std::vector<bool> isDone(values.size(), false);
    for (std::size_t first = 0; first < values.size(); ++first) {
        if (isDone[first] || values[first] != values[first]) {
            continue;
        }
        std::vector<std::size_t> plateau{first};
        isDone[first] = true;
        bool hasHigher = false;
        bool hasLower = false;
        for (std::size_t i = 0; i < plateau.size(); ++i) {
            forEachNeighbour(values, n, touching, plateau[i], [&](std::size_t q) {
                hasHigher = hasHigher || isUnder(values[first], values[q]);
                hasLower = hasLower || isUnder(values[q], values[first]);
                if (!isUnder(values[q], values[first]) && !isUnder(values[first], values[q]) && !isDone[q]) {
                    isDone[q] = true;
                    plateau.push_back(q);
                }
            });
        }
        for (const std::size_t p : plateau) {
            marks[p] = hasLower && !hasHigher ? 1.0 : 0.0;
        }
    }
    return marks;
}

Values negative(Values values) {
    for (double& value : values) {
        value = -value;
    }
    return values;
}

double lowestOf(const io::MemoryImage& image) {
    double lowest = 0.0;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using Limits = std::numeric_limits<typename decltype(tag)::type>;
        lowest = Limits::has_infinity ? -Limits::infinity() : static_cast<double>(Limits::lowest());
    });
    return image.getInterpretation() == RIX_BINARY ? 0.0 : lowest;
}

/// What the type of an image makes of values.
Values rounded(Values values, const io::MemoryImage& image) {
    for (double& value : values) {
        value = image.getVoxelType() == RIX_FLOAT32 ? static_cast<float>(value) : value;
    }
    return values;
}

VoxelTypes unsignedOf(VoxelTypes type) {
    return type == RIX_INT8 ? RIX_UINT8 : type == RIX_INT16 ? RIX_UINT16 : type == RIX_INT32 ? RIX_UINT32 : type;
}

/// The result of an operation of a pair: `isDual` is the one by erosion, of minima, of dark.
io::MemoryImage expectedOf(const Operation& operation, const io::MemoryImage& image, bool isDual) {
    const Extents n = helper::getExtents(image);
    const Touching& touching = operation.touching;
    const bool isReal = image.getVoxelType() == RIX_FLOAT32 || image.getVoxelType() == RIX_FLOAT64;
    Values own = isDual ? negative(valuesOf(image)) : valuesOf(image);
    for (double& value : own) {
        value = isReal ? value : value + 0.0;  // integers have one zero
    }
    const auto back = [&](const Values& values) { return isDual ? negative(values) : values; };
    const auto like = [&](const Values& values, VoxelTypes type) {
        return imageOf(values, image, type, image.getInterpretation());
    };
    const auto flattened = [&] {
        double lowest = lowestOf(image);
        if (isDual) {
            access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
                using Limits = std::numeric_limits<typename decltype(tag)::type>;
                lowest = Limits::has_infinity ? -Limits::infinity() : -static_cast<double>(Limits::max());
            });
            lowest = image.getInterpretation() == RIX_BINARY ? -1.0 : lowest;
        }
        Values marker = own;
        for (double& value : marker) {
            value = value != value
                        ? value
                        : std::max(value - (isReal ? operation.contrast : std::ceil(operation.contrast)), lowest);
        }
        return reconstructed(own, rounded(marker, image), n, touching);
    };
    if (operation.name.find("ReconstructionBy") == 0) {
        const auto& marker = dynamic_cast<const io::MemoryImage&>(*operation.inputs.at("inputMarkerImage"));
        const Values start = isDual ? negative(valuesOf(marker)) : valuesOf(marker);
        return like(back(reconstructed(own, start, n, touching)), image.getVoxelType());
    }
    if (operation.name.find("Extended") == 0) {
        return imageOf(marked(flattened(), n, touching), image, RIX_UINT8, RIX_BINARY);
    }
    if (operation.name.find("Regional") == 0) {
        return imageOf(marked(own, n, touching), image, RIX_UINT8, RIX_BINARY);
    }
    if (operation.name.find("RemoveBorderObjects") == 0) {
        Values start(own.size(), -std::numeric_limits<double>::infinity());
        for (std::size_t p = 0; p < own.size(); ++p) {
            const std::size_t x = p % n[0];
            const std::size_t y = p / n[0] % n[1];
            const std::size_t z = p / n[0] / n[1] % n[2];
            if (x == 0 || x + 1 == n[0] || y == 0 || y + 1 == n[1] ||
                (touching.axes == 3 && (z == 0 || z + 1 == n[2]))) {
                start[p] = own[p];
            }
        }
        Values result = reconstructed(own, start, n, touching);
        for (std::size_t p = 0; p < own.size(); ++p) {
            result[p] = own[p] == result[p] ? 0.0 : own[p] - result[p];
        }
        const bool isBinary = image.getInterpretation() == RIX_BINARY;
        return like(rounded(result, image), isBinary ? image.getVoxelType() : unsignedOf(image.getVoxelType()));
    }
    return like(back(flattened()), image.getVoxelType());
}

/// In blocks of several sizes, by threads and in any order of blocks.
void expectOnAllWays(const Operation& operation, const io::MemoryImage& expected) {
    for (const std::size_t bytes : {std::size_t{256}, std::size_t{4096}, access::usualBlockBytes}) {
        const access::ScopedBlockBytes blocks(bytes);
        ASSERT_TRUE(imagesEqual(expected, operation.run(2))) << "blocks of " << bytes;
        ASSERT_TRUE(imagesEqual(expected, operation.run(1, std::make_shared<access::ShuffledScheduler>(bytes))))
            << "shuffled blocks of " << bytes;
    }
}

/// All operations of the family on an image.
void compareFamily(const io::MemoryImage& image, const io::MemoryImage& marker, double contrast) {
    static Sampling sampling(7);
    const std::pair<const char*, const char*> pairs[] = {{"ReconstructionByDilation", "ReconstructionByErosion"},
                                                         {"HMaxima", "HMinima"},
                                                         {"ExtendedMaxima", "ExtendedMinima"},
                                                         {"RegionalMaxima", "RegionalMinima"},
                                                         {"RemoveBorderObjects", nullptr}};
    for (const Touching& touching : touchings) {
        for (const auto& [first, second] : pairs) {
            for (const char* const name : {first, second}) {
                if (name == nullptr || !sampling.takesNext()) {
                    continue;
                }
                SCOPED_TRACE(String(name) + " of " + helper::describeImage(image) + ", " +
                             std::to_string(touching.axes) + " axes, neighborhood " +
                             std::to_string(touching.neighborhood));
                Operation operation{name, touching, {{"inputImage", &image}}, contrast};
                if (String(name).find("ReconstructionBy") == 0) {
                    operation.inputs["inputMarkerImage"] = &marker;
                }
                expectOnAllWays(operation, expectedOf(operation, image, name == second));
            }
        }
    }
}

TEST(Reconstruction, IsTheDefinitionOnNoiseOfEveryType) {
    std::uint64_t seed = 5;
    for (const VoxelTypes type : realTypes) {
        const ImageTraits traits{.voxelType = type, .extents = {17, 9, 4, 2, 1}};
        const io::MemoryImage image = makeRandomImage(traits, seed++);
        const double wide = type == RIX_INT8 || type == RIX_UINT8 ? 99.5 : 1e4;
        compareFamily(image, makeRandomImage(traits, seed++), wide);
    }
}

TEST(Reconstruction, KeepsPlateausZerosInfinitiesAndWallsApart) {
    const auto hashed = [](std::uint64_t seed) {
        return makeImage({.voxelType = RIX_FLOAT32, .extents = {25, 18, 5, 1, 1}}, [=](std::size_t x, std::size_t y,
                                                                                       std::size_t z, auto...) {
            const std::uint64_t hash = ((x * 2654435761U + y * 40503U + z * 69069U + seed) * 0x9E3779B97F4A7C15U) >> 59;
            return hash < 5    ? std::nan("")
                   : hash < 12 ? 0.0
                   : hash < 18 ? -0.0
                   : hash < 20 ? std::numeric_limits<double>::infinity()
                               : static_cast<double>(hash % 4) - 2;
        });
    };
    compareFamily(hashed(1), hashed(2), 0.75);
    // Few values: plateaus through many tiles.
    const auto coarse = [](std::uint64_t seed) {
        return makeImage({.extents = {31, 26, 4, 1, 1}}, [=](std::size_t x, std::size_t y, std::size_t z, auto...) {
            return ((x / 3 * 7919 + y / 4 * 104729 + z * seed) * 2654435761U) >> 13 & 3U;
        });
    };
    compareFamily(coarse(3), coarse(4), 1.0);
    for (const double density : {0.4, 0.6}) {
        const auto speckled = [&](std::uint64_t seed) {
            return makeImage({.voxelType = RIX_INT16, .extents = {30, 19, 5, 1, 1}, .interpretation = RIX_BINARY},
                             [&, seed](std::size_t x, std::size_t y, std::size_t z, auto...) {
                                 const std::uint64_t hash = (x * 7919 + y * 104729 + z * 1299709 + seed) * 2654435761U;
                                 return static_cast<double>(hash >> 7 & 1023U) < density * 1024 ? 1 : 0;
                             });
        };
        compareFamily(speckled(13), speckled(14), 1.0);
    }
}

/// A corridor through all tiles, with a light at its one end.
TEST(Reconstruction, FollowsSpirals) {
    constexpr std::size_t size = 45;
    std::vector<int> light(size * size, 0);
    std::int64_t x = 2;
    std::int64_t y = 2;
    std::int64_t dx = 1;
    std::int64_t dy = 0;
    int brightness = 0;
    for (std::int64_t left = size - 5, turns = 0; left > 0; left -= turns % 2 == 0 && turns > 2 ? 4 : 0, ++turns) {
        for (std::int64_t i = 0; i < left; ++i, x += dx, y += dy) {
            light[static_cast<std::size_t>(y) * size + static_cast<std::size_t>(x)] = 100 + ++brightness % 3;
        }
        dx = std::exchange(dy, dx) * -1;
    }
    const io::MemoryImage image =
        makeImage({.extents = {size, size, 1, 1, 1}},
                  [&](std::size_t c, std::size_t r, auto...) { return static_cast<std::size_t>(light[r * size + c]); });
    const io::MemoryImage marker =
        makeImage({.extents = {size, size, 1, 1, 1}},
                  [&](std::size_t c, std::size_t r, auto...) { return c == 3 && r == 2 ? 255 : 0; });
    compareFamily(image, marker, 50.0);
}

TEST(Reconstruction, TakesThinAndFlatImages) {
    for (const Extents& extents :
         {Extents{1, 1, 1, 1, 1}, Extents{2, 40, 3, 1, 1}, Extents{90, 1, 2, 1, 2}, Extents{3, 3, 3, 2, 2}}) {
        compareFamily(makeRandomImage({.extents = extents}, 8), makeRandomImage({.extents = extents}, 9), 20.0);
        const io::MemoryImage flat = makeImage({.extents = extents}, [](auto...) { return 7; });
        compareFamily(flat, flat, 1.0);
    }
}

TEST(Reconstruction, OpensAndClosesFromErosionsAndDilations) {
    const io::MemoryImage image = makeRandomImage({.voxelType = RIX_INT16, .extents = {40, 31, 7, 1, 1}}, 21);
    for (const Touching& touching : touchings) {
        for (const bool opens : {true, false}) {
            const String suffix = touching.axes == 2 ? "2d" : "3d";
            const auto first = AlgoInfo::fromName((opens ? "Erosion" : "Dilation") + suffix).createInstance(nullptr);
            io::MemoryImage marker;
            algorithms::propertyOf<const ImageModel*>(*first, "inputImage") = &image;
            algorithms::propertyOf<ImageModel*>(*first, "outputImage") = &marker;
            first->run();
            const Operation then{opens ? "ReconstructionByDilation" : "ReconstructionByErosion",
                                 touching,
                                 {{"inputMarkerImage", &marker}, {"inputImage", &image}}};
            const Operation both{
                opens ? "OpeningByReconstruction" : "ClosingByReconstruction", touching, {{"inputImage", &image}}};
            expectOnAllWays(both, then.run());
        }
    }
}

TEST(RemoveBorderObjects, TakesOutWholeLabels) {
    // Two labels that touch, one of which is at the edge in the last plane; a label in two pieces.
    const char* const planes[2][5] = {{"......", ".1122.", ".11.3.", "......", ".....3"},
                                      {"......", ".1122.", "11..3.", "......", "......"}};
    const auto draw = [&](const char* gone2d, const char* gone3d, bool inSpace) {
        return makeImage(
            {.voxelType = RIX_UINT16, .extents = {6, 5, 2, 1, 1}, .interpretation = RIX_LABEL},
            [&, inSpace](std::size_t x, std::size_t y, std::size_t z, auto...) {
                const char label = planes[z][y][x];
                const bool isGone = String(inSpace ? gone3d : z == 0 ? gone2d : "1").find(label) != String::npos;
                return label == '.' || isGone ? 0 : label - '0';
            });
    };
    const io::MemoryImage input = draw("", "", true);
    // A volume of two planes is nothing but faces.
    const io::MemoryImage inPlanes = draw("3", "123", false);
    const io::MemoryImage inVolumes = draw("3", "123", true);
    EXPECT_TRUE(imagesEqual(inPlanes, Operation{"RemoveBorderObjects", touchings[0], {{"inputImage", &input}}}.run()));
    EXPECT_TRUE(imagesEqual(inVolumes, Operation{"RemoveBorderObjects", touchings[2], {{"inputImage", &input}}}.run()));
}

}  // namespace
}  // namespace rix::test
