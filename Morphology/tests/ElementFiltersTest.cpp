// Erosion, dilation and what is made of them against their definition, voxel by voxel.

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include <rix/access/BlockSize.h>
#include <rix/access/SampleCast.h>
#include <rix/morphology/BlackTopHat2d.h>
#include <rix/morphology/Closing2d.h>
#include <rix/morphology/Closing3d.h>
#include <rix/morphology/Dilation2d.h>
#include <rix/morphology/Dilation3d.h>
#include <rix/morphology/Erosion2d.h>
#include <rix/morphology/Erosion3d.h>
#include <rix/morphology/MorphologicalGradient2d.h>
#include <rix/morphology/Opening2d.h>
#include <rix/morphology/Opening3d.h>
#include <rix/morphology/StructuringElement2d.h>
#include <rix/morphology/StructuringElement3d.h>
#include <rix/morphology/WhiteTopHat2d.h>

#include "ImageComparison.h"
#include "ImageFactories.h"
#include "ImageSamples.h"
#include "Levels.h"
#include "Sanitizers.h"

namespace rix::morphology {
namespace {

using test::Extents;
using Offsets = std::vector<std::array<std::int64_t, 3>>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// Sets the properties of an element from the arguments of a test.
struct Shape {
    int kind = 0;  ///< as the enumerations count
    std::array<int, 3> sizes{3, 3, 1};
    double radius = 1;
    std::array<int, 3> line{};
    const ImageModel* image = nullptr;
    bool inWorld = false;
};

template <class Owner>
void setShape(Owner& owner, const Shape& shape) {
    owner.setStructuringElement(static_cast<typename Owner::StructuringElement>(shape.kind));
    owner.setKernelSizeX(shape.sizes[0]);
    owner.setKernelSizeY(shape.sizes[1]);
    owner.setRadius(shape.radius);
    owner.setLineX(shape.line[0]);
    owner.setLineY(shape.line[1]);
    if constexpr (std::is_base_of_v<ElementOwner3d, Owner>) {
        owner.setKernelSizeZ(shape.sizes[2]);
        owner.setLineZ(shape.line[2]);
    }
    owner.setInputElementImage(shape.image);
    owner.setLengthUnit(shape.inWorld ? Owner::WORLD : Owner::VOXEL);
}

template <class Filter>
io::MemoryImage take(const ImageModel& image, const Shape& shape,
                     ElementBorderPolicy border = ElementBorderPolicy::NEUTRAL, OptimLevelType level = VEC_AVX) {
    io::MemoryImage output;
    Filter filter;
    setShape(filter, shape);
    filter.setInputImage(&image);
    filter.setBorderPolicy(border);
    filter.setBorderValue(3);
    filter.setOutputImage(&output);
    filter.setAutoCpuDispatch(false);
    filter.setOptimLevel(level);
    filter.run();
    return output;
}

/// What the class of the element draws.
template <class Drawer>
Offsets offsetsOf(const Shape& shape, const math::Vector3<double>& spacing = {1.0, 1.0, 1.0}) {
    io::MemoryImage image;
    Drawer drawer;
    setShape(drawer, shape);
    drawer.setSpacing(spacing);
    drawer.setOutputImage(&image);
    drawer.run();
    EXPECT_EQ(image.getInterpretation(), RIX_BINARY);
    const std::vector<double> samples = test::samplesOf<double>(image);
    const auto n = helper::getExtents(image);
    Offsets offsets;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (samples[i] != 0) {
            const auto at = [](std::size_t index, std::size_t extent) {
                return static_cast<std::int64_t>(index) - static_cast<std::int64_t>(extent / 2);
            };
            offsets.push_back({at(i % n[0], n[0]), at(i / n[0] % n[1], n[1]), at(i / n[0] / n[1], n[2])});
        }
    }
    return offsets;
}

/// Numbers in the order in which -0 lies below +0.
bool isLess(double a, double b) {
    return a < b || (a == b && std::signbit(a) && !std::signbit(b));
}

/// By the definition. Samples that no border gives take no part.
class Reference {
public:
    Reference(const ImageModel& image, ElementBorderPolicy border)
        : m_n(helper::getExtents(image)), m_type(image.getVoxelType()), m_border(border) {
        m_samples = test::samplesOf<double>(image);
    }

    std::vector<double> extrema(const Offsets& element, bool largest) const {
        std::vector<double> results;
        test::forEachPosition(m_n, [&](const Extents& p) {
            double best = nan;
            bool sees = false;
            for (const auto& b : element) {
                const std::int64_t way = largest ? -1 : 1;
                double value = 0;
                if (!at(p, {way * b[0], way * b[1], way * b[2]}, value)) {
                    continue;
                }
                sees = true;
                if (!std::isnan(value) && (std::isnan(best) || (largest ? isLess(best, value) : isLess(value, best)))) {
                    best = value;
                }
            }
            results.push_back(sees ? best : nothingSeen(largest));
        });
        return results;
    }

private:
    double nothingSeen(bool largest) const {
        double value = largest ? -infinity : infinity;
        double clamped = 0;
        access::dispatch(access::Reals{}, m_type, [&](auto tag) {
            using T = typename decltype(tag)::type;
            clamped = std::clamp(value, static_cast<double>(std::numeric_limits<T>::lowest()),
                                 static_cast<double>(std::numeric_limits<T>::max()));
        });
        return m_type == RIX_FLOAT32 || m_type == RIX_FLOAT64 ? value : clamped;
    }

    bool at(const Extents& p, const std::array<std::int64_t, 3>& offset, double& value) const {
        Extents q = p;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto n = static_cast<std::int64_t>(m_n[axis]);
            std::int64_t i = static_cast<std::int64_t>(p[axis]) + offset[axis];
            if (i < 0 || i >= n) {
                switch (m_border) {
                    case ElementBorderPolicy::NEUTRAL: return false;
                    case ElementBorderPolicy::FIXED: value = 3; return true;
                    case ElementBorderPolicy::CONTINUE: i = std::clamp<std::int64_t>(i, 0, n - 1); break;
                    case ElementBorderPolicy::MIRROR:
                        i = ((i % (2 * n)) + 2 * n) % (2 * n);
                        i = i < n ? i : 2 * n - 1 - i;
                }
            }
            q[axis] = static_cast<std::size_t>(i);
        }
        value = m_samples[q[0] + m_n[0] * (q[1] + m_n[1] * (q[2] + m_n[2] * (q[3] + m_n[3] * q[4])))];
        return true;
    }

    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_n;
    VoxelTypes m_type;
    ElementBorderPolicy m_border;
    std::vector<double> m_samples;
};

void expectSame(const io::MemoryImage& result, const std::vector<double>& expected, const std::string& what) {
    const std::vector<double> samples = test::samplesOf<double>(result);
    ASSERT_EQ(samples.size(), expected.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const bool same = std::isnan(expected[i])
                              ? std::isnan(samples[i])
                              : std::bit_cast<std::uint64_t>(samples[i]) == std::bit_cast<std::uint64_t>(expected[i]);
        ASSERT_TRUE(same) << what << ", voxel " << i << ": " << samples[i] << " instead of " << expected[i];
    }
}

/// In binary images windows that see nothing give 0 or 1, not the ends of the type.
void takeBinary(const ImageModel& image, std::vector<double>& expected) {
    for (double& sample : expected) {
        sample = image.getInterpretation() == RIX_BINARY ? std::clamp(sample, 0.0, 1.0) : sample;
    }
}

template <class Erosion, class Dilation, class Drawer>
void expectTheDefinition(const Shape& shape, const ImageModel& image) {
    const Offsets element = offsetsOf<Drawer>(shape);
    for (const ElementBorderPolicy border : {ElementBorderPolicy::NEUTRAL, ElementBorderPolicy::MIRROR,
                                             ElementBorderPolicy::CONTINUE, ElementBorderPolicy::FIXED}) {
        const Reference reference(image, border);
        auto least = reference.extrema(element, false);
        auto largest = reference.extrema(element, true);
        takeBinary(image, least);
        takeBinary(image, largest);
        for (const OptimLevelType level : test::runnableLevels()) {
            const std::string what = "kind " + std::to_string(shape.kind) + ", type " +
                                     std::to_string(image.getVoxelType()) + ", border " +
                                     std::to_string(static_cast<int>(border)) + ", level " + std::to_string(level);
            expectSame(take<Erosion>(image, shape, border, level), least, "erosion, " + what);
            expectSame(take<Dilation>(image, shape, border, level), largest, "dilation, " + what);
        }
    }
}

template <class Erosion, class Dilation, class Drawer>
void expectTheDefinition(const Shape& shape, const Extents& extents, VoxelTypes type) {
    expectTheDefinition<Erosion, Dilation, Drawer>(
        shape, test::makeRandomImage({.voxelType = type, .extents = extents}, 17, test::Extremes::All));
}

constexpr VoxelTypes allTypes[] = {RIX_UINT8,  RIX_INT8,  RIX_UINT16,  RIX_INT16,
                                   RIX_UINT32, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64};

io::MemoryImage randomElement(const Extents& extents, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    return test::makeImage({.extents = extents, .interpretation = RIX_BINARY},
                           [&](auto...) { return random() % 3 == 0 ? 1 : 0; });
}

TEST(ElementFilters, OfPlanesFollowTheirDefinition) {
    const io::MemoryImage scattered = randomElement({6, 5, 1, 1, 1}, 3);
    const io::MemoryImage aside = test::makeImage({.extents = {9, 3, 1, 1, 1}, .interpretation = RIX_BINARY},
                                                  [](auto x, auto...) { return x >= 7 ? 1 : 0; });
    std::vector<Shape> shapes;
    for (int x = 1; x <= 9; ++x) {
        shapes.push_back({.sizes = {x, 10 - x, 1}});
    }
    shapes.push_back({.sizes = {31, 2, 1}});
    shapes.push_back({.sizes = {4, 101, 1}});
    for (double radius = 0; radius <= 5; radius += 0.5) {
        shapes.push_back({.kind = 1, .radius = radius});
    }
    shapes.push_back({.kind = 1, .radius = 20});
    shapes.push_back({.kind = 2, .radius = 4.5});
    for (const std::array<int, 3> line :
         {std::array{0, 0, 0}, {7, 0, 0}, {-3, 8, 0}, {5, -5, 0}, {0, -6, 0}, {9, 4, 0}}) {
        shapes.push_back({.kind = 3, .line = line});
    }
    shapes.push_back({.kind = 4, .image = &scattered});
    shapes.push_back({.kind = 4, .image = &aside});
    std::size_t next = 0;
    for (const Shape& shape : shapes) {
        for (std::size_t i = 0; i < (test::sanitized ? 1 : 3); ++i, next += 3) {  // each type after some shapes
            expectTheDefinition<Erosion2d, Dilation2d, StructuringElement2d>(shape, {37, 23, 2, 1, 1},
                                                                             allTypes[next % std::size(allTypes)]);
        }
        if (testing::Test::HasFailure()) {
            return;
        }
    }
    expectTheDefinition<Erosion2d, Dilation2d, StructuringElement2d>({.kind = 1, .radius = 3}, {1, 1, 1, 2, 1},
                                                                     RIX_UINT8);
    // More than one block.
    expectTheDefinition<Erosion2d, Dilation2d, StructuringElement2d>({.kind = 1, .radius = 2}, {1500, 90, 1, 1, 1},
                                                                     RIX_UINT16);
}

TEST(ElementFilters, OfVolumesFollowTheirDefinition) {
    const io::MemoryImage scattered = randomElement({3, 4, 5, 1, 1}, 9);
    const Shape shapes[] = {
        {.sizes = {3, 3, 3}},
        {.sizes = {2, 5, 4}},
        {.kind = 1, .sizes = {}, .radius = 2.5},
        {.kind = 1, .radius = 0.9},
        {.kind = 2, .radius = 2},
        {.kind = 3, .line = {2, -3, 5}},
        {.kind = 3, .line = {0, 0, -4}},
        {.kind = 4, .image = &scattered},
    };
    test::Sampling sampling(3);
    for (Shape shape : shapes) {
        shape.sizes = shape.kind == 0 ? shape.sizes : std::array{3, 3, 3};
        for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_FLOAT32, RIX_FLOAT64}) {
            if (sampling.takesNext()) {
                expectTheDefinition<Erosion3d, Dilation3d, StructuringElement3d>(shape, {17, 9, 8, 1, 2}, type);
            }
        }
    }
}

/// At one bit a voxel: windows that begin and end anywhere in words, rows of less than a word and of many, some blocks.
TEST(ElementFilters, OfBinaryImagesFollowTheirDefinition) {
    const io::MemoryImage scattered = randomElement({6, 5, 1, 1, 1}, 3);
    const io::MemoryImage aside = test::makeImage({.extents = {200, 3, 1, 1, 1}, .interpretation = RIX_BINARY},
                                                  [](auto x, auto...) { return x % 100 >= 97 ? 1 : 0; });
    const io::MemoryImage inSpace = randomElement({3, 4, 5, 1, 1}, 9);
    const auto image = [](const Extents& extents, VoxelTypes type, unsigned share) {
        std::mt19937_64 random(extents[0]);
        return test::makeImage({.voxelType = type, .extents = extents, .interpretation = RIX_BINARY},
                               [&](auto...) { return random() % 64 < share ? 1 : 0; });
    };
    const Shape planes[] = {
        {.sizes = {3, 3, 1}},         {.sizes = {1, 8, 1}},         {.sizes = {64, 1, 1}},
        {.sizes = {65, 2, 1}},        {.sizes = {131, 5, 1}},      {.kind = 1, .radius = 0},
        {.kind = 1, .radius = 7.5},   {.kind = 1, .radius = 12},    {.kind = 2, .radius = 5},
        {.kind = 3, .line = {-9, 4}}, {.kind = 3, .line = {70, 0}}, {.kind = 4, .image = &scattered},
        {.kind = 4, .image = &aside}};
    const access::ScopedBlockBytes manyBlocks(1 << 14);
    test::Sampling sampling(5);
    for (const Shape& shape : planes) {
        for (const std::size_t columns : {1U, 63U, 64U, 200U}) {
            for (const unsigned share : {2U, 60U}) {  // objects, and holes, that windows meet and miss
                if (sampling.takesNext()) {
                    expectTheDefinition<Erosion2d, Dilation2d, StructuringElement2d>(
                        shape, image({columns, 9, 1, 2, 1}, share == 2 ? RIX_UINT8 : RIX_INT16, share));
                }
            }
        }
    }
    for (const Shape& shape : {Shape{.sizes = {5, 2, 3}}, Shape{.kind = 1, .radius = 3},
                               Shape{.kind = 3, .line = {2, -3, 5}}, Shape{.kind = 4, .image = &inSpace}}) {
        for (const unsigned share : {2U, 60U}) {
            expectTheDefinition<Erosion3d, Dilation3d, StructuringElement3d>(shape,
                                                                             image({70, 9, 8, 1, 1}, RIX_UINT8, share));
        }
    }
}

TEST(ElementFilters, ElementsAreWhatTheirNamesSay) {
    EXPECT_EQ((offsetsOf<StructuringElement2d>({.sizes = {4, 1, 1}})),
              (Offsets{{-2, 0, 0}, {-1, 0, 0}, {0, 0, 0}, {1, 0, 0}}));
    EXPECT_EQ((offsetsOf<StructuringElement2d>({.kind = 3, .line = {4, 2, 0}})),
              (Offsets{{0, 0, 0}, {1, 0, 0}, {2, 1, 0}, {3, 1, 0}, {4, 2, 0}}))
        << "halves go towards the origin";
    EXPECT_EQ((offsetsOf<StructuringElement2d>({.kind = 1, .radius = 7})).size(), 149U);
    for (const double radius : {0.0, 1.0, 1.5, 2.9, 6.0}) {
        std::size_t balls = 0;
        std::size_t octahedra = 0;
        for (int z = -6; z <= 6; ++z) {
            for (int y = -6; y <= 6; ++y) {
                for (int x = -6; x <= 6; ++x) {
                    balls += x * x + y * y + z * z <= radius * radius ? 1 : 0;
                    octahedra += std::abs(x) + std::abs(y) + std::abs(z) <= radius ? 1 : 0;
                }
            }
        }
        EXPECT_EQ((offsetsOf<StructuringElement3d>({.kind = 1, .radius = radius})).size(), balls) << radius;
        EXPECT_EQ((offsetsOf<StructuringElement3d>({.kind = 2, .radius = radius})).size(), octahedra) << radius;
    }
    // In the world: 3 columns of 0.1, 1 row of 0.25.
    EXPECT_EQ((offsetsOf<StructuringElement2d>({.kind = 1, .radius = 0.3, .inWorld = true}, {0.1, 0.25, 1.0})),
              (Offsets{{-1, -1, 0},
                       {0, -1, 0},
                       {1, -1, 0},
                       {-3, 0, 0},
                       {-2, 0, 0},
                       {-1, 0, 0},
                       {0, 0, 0},
                       {1, 0, 0},
                       {2, 0, 0},
                       {3, 0, 0},
                       {-1, 1, 0},
                       {0, 1, 0},
                       {1, 1, 0}}));
}

/// What is bright stays below the image, what is dark above it, and a second time changes nothing; up to the edges and
/// for elements that are not symmetrical.
TEST(ElementFilters, OpeningAndClosingAreWhatAlgebraSays) {
    const io::MemoryImage scattered = randomElement({5, 4, 1, 1, 1}, 4);
    for (const Shape& shape : {Shape{.sizes = {4, 3, 1}}, Shape{.kind = 1, .radius = 3},
                               Shape{.kind = 3, .line = {5, -2, 0}}, Shape{.kind = 4, .image = &scattered}}) {
        for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_FLOAT32}) {
            const io::MemoryImage image =
                test::makeRandomImage({.voxelType = type, .extents = {61, 40, 1, 1, 1}}, 8, test::Extremes::Finite);
            const auto voxels = test::samplesOf<double>(image);
            const io::MemoryImage opened = take<Opening2d>(image, shape);
            const io::MemoryImage closed = take<Closing2d>(image, shape);
            expectSame(take<Opening2d>(opened, shape), test::samplesOf<double>(opened), "opened twice");
            expectSame(take<Closing2d>(closed, shape), test::samplesOf<double>(closed), "closed twice");
            const auto low = test::samplesOf<double>(opened);
            const auto high = test::samplesOf<double>(closed);
            const auto white = test::samplesOf<double>(take<WhiteTopHat2d>(image, shape));
            const auto black = test::samplesOf<double>(take<BlackTopHat2d>(image, shape));
            const auto gradient = test::samplesOf<double>(take<MorphologicalGradient2d>(image, shape));
            const auto least = test::samplesOf<double>(take<Erosion2d>(image, shape));
            const auto most = test::samplesOf<double>(take<Dilation2d>(image, shape));
            for (std::size_t i = 0; i < voxels.size(); ++i) {
                const auto difference = [&](double a, double b) {
                    return type == RIX_FLOAT32 ? static_cast<double>(static_cast<float>(a) - static_cast<float>(b))
                                               : std::max(a - b, 0.0);
                };
                ASSERT_LE(low[i], voxels[i]);
                ASSERT_GE(high[i], voxels[i]);
                ASSERT_EQ(white[i], difference(voxels[i], low[i]));
                ASSERT_EQ(black[i], difference(high[i], voxels[i]));
                ASSERT_EQ(gradient[i], difference(most[i], least[i]));
            }
        }
    }
}

TEST(ElementFilters, RefuseElementsThatAreNone) {
    const io::MemoryImage image = test::makeRandomImage({.extents = {9, 9, 3, 1, 1}}, 1);
    io::MemoryImage scaled = image;
    scaled.setSpacingOf(ROWS, 0.0);
    const io::MemoryImage empty = test::makeImage({.extents = {3, 3, 1, 1, 1}}, [](auto...) { return 0; });
    const io::MemoryImage deep = randomElement({3, 3, 2, 1, 1}, 2);
    EXPECT_THROW(take<Erosion2d>(image, {.sizes = {0, 3, 1}}), RuleException);
    EXPECT_THROW(take<Erosion2d>(image, {.kind = 1, .radius = -1}), RuleException);
    EXPECT_THROW(take<Erosion2d>(image, {.kind = 1, .radius = nan}), RuleException);
    EXPECT_THROW(take<Erosion2d>(image, {.kind = 1, .radius = 1001}), RuleException);
    EXPECT_THROW(take<Erosion2d>(scaled, {.kind = 1, .radius = 1, .inWorld = true}), RuleException);
    EXPECT_THROW(take<Erosion2d>(image, {.kind = 4}), RuleException);
    EXPECT_THROW(take<Erosion2d>(image, {.kind = 4, .image = &empty}), RuleException);
    EXPECT_THROW(take<Erosion2d>(image, {.kind = 4, .image = &deep}), RuleException);
    EXPECT_NO_THROW(take<Erosion3d>(image, {.kind = 4, .sizes = {3, 3, 3}, .image = &deep}));
    EXPECT_NO_THROW(take<Erosion2d>(image, {.radius = nan})) << "a rectangle has no radius";
}

}  // namespace
}  // namespace rix::morphology
