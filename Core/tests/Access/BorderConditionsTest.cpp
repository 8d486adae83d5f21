// Border conditions against their definitions: the oracles know no periods and no rows, they move one coordinate at a
// time.

#include <rix/access/BorderConditions.h>

#include "AccessTestTools.h"

namespace rix::access {
namespace {

using test::CopyOnly;
using test::Extents;
using test::sameSample;
using AnyPosition = std::array<std::int64_t, 5>;

/// The element inside the image that a position reads; none for one that reads a fixed value.
using Reference = std::function<std::optional<AnyPosition>(AnyPosition, const AnyPosition& extents)>;

std::int64_t referenceMirror(std::int64_t c, std::int64_t n) {
    while (c < 0 || c >= n) {
        c = c < 0 ? -c - 1 : 2 * n - 1 - c;
    }
    return c;
}

std::optional<AnyPosition> mirrorReference(AnyPosition p, const AnyPosition& n) {
    for (std::size_t i = 0; i < p.size(); ++i) {
        p[i] = referenceMirror(p[i], n[i]);
    }
    return p;
}

std::optional<AnyPosition> continueReference(AnyPosition p, const AnyPosition& n) {
    for (std::size_t i = 0; i < p.size(); ++i) {
        p[i] = p[i] < 0 ? 0 : p[i] >= n[i] ? n[i] - 1 : p[i];
    }
    return p;
}

std::optional<AnyPosition> fixedReference(AnyPosition p, const AnyPosition& n) {
    for (std::size_t i = 0; i < p.size(); ++i) {
        if (p[i] < 0 || p[i] >= n[i]) {
            return std::nullopt;
        }
    }
    return p;
}

/// Reflects a point in the plane across the line through the nearest point of the outline, in coordinates in which an
/// element is a square of side 1 around its index.
std::optional<AnyPosition> directionalReference(double angle, AnyPosition p, const AnyPosition& n) {
    const std::array<double, 2> direction = {std::cos(angle), std::sin(angle)};
    std::array<double, 2> outline{};
    std::array<double, 2> away{};
    AnyPosition edge = p;
    bool isOutside = false;
    for (std::size_t i = 0; i < 2; ++i) {
        const double place = static_cast<double>(p[i]);
        edge[i] = std::min(std::max<std::int64_t>(p[i], 0), n[i] - 1);
        // An axis on which the element is inside does not move the point of the outline away from its centre.
        outline[i] = edge[i] == p[i] ? place : p[i] < 0 ? -0.5 : static_cast<double>(n[i]) - 0.5;
        away[i] = place - outline[i];
        isOutside = isOutside || edge[i] != p[i];
    }
    if (isOutside) {
        const double along = away[0] * direction[0] + away[1] * direction[1];
        for (std::size_t i = 0; i < 2; ++i) {
            const double reflected = outline[i] + 2 * along * direction[i] - away[i];
            const double fromEdge = reflected - static_cast<double>(edge[i]);
            // Halves toward the edge element, whatever the last bits of sine and cosine say.
            const double size = std::abs(fromEdge);
            const double below = std::floor(size);
            const double rounded = size - below > 0.5 + 1e-6 ? below + 1 : below;
            p[i] = edge[i] + static_cast<std::int64_t>(fromEdge < 0 ? -rounded : rounded);
        }
    }
    return mirrorReference(p, n);
}

template <class T>
class Borders : public testing::Test {
protected:
    static constexpr VoxelTypes type = voxelTypeOf<T>;

    static AnyPosition extentsOf(const ImageModel& image) {
        AnyPosition n{};
        for (std::size_t i = 0; i < n.size(); ++i) {
            n[i] = static_cast<std::int64_t>(image.getNumOf(static_cast<Components>(i)));
        }
        return n;
    }

    /// Compares all segments that start up to `width` left of the image and end up to `width` right of it, in rows up
    /// to `width` beyond, at `outer` places of the other axes.
    static void compare(const io::MemoryImage& image, const BorderCondition<T>& border, const Reference& reference,
                        T fixed, std::int64_t width) {
        const AnyPosition n = extentsOf(image);
        const std::size_t samples = helper::getElementNumber(image.getElementType());
        const T* const stored = reinterpret_cast<const T*>(image.getImageBuffer());
        const auto length = static_cast<std::size_t>(n[0] + 2 * width);
        std::vector<T> expected(length * samples);
        for (const std::array<std::int64_t, 3>& outer :
             std::initializer_list<std::array<std::int64_t, 3>>{{0, 0, 0},
                                                                {n[2] - 1, n[3] - 1, n[4] - 1},
                                                                {-1, 0, 0},
                                                                {0, n[3], 0},
                                                                {0, 0, -2},
                                                                {n[2] + 3, -5, n[4]}}) {
            for (std::int64_t row = -width; row < n[1] + width; ++row) {
                for (std::size_t i = 0; i < length; ++i) {
                    const auto source =
                        reference({static_cast<std::int64_t>(i) - width, row, outer[0], outer[1], outer[2]}, n);
                    for (std::size_t k = 0; k < samples; ++k) {
                        expected[i * samples + k] = fixed;
                        if (source) {
                            const AnyPosition& p = *source;
                            const std::int64_t element =
                                (((p[4] * n[3] + p[3]) * n[2] + p[2]) * n[1] + p[1]) * n[0] + p[0];
                            expected[i * samples + k] = stored[static_cast<std::size_t>(element) * samples + k];
                        }
                    }
                }
                for (std::size_t first = 0; first < length; ++first) {
                    for (std::size_t count = 0; count <= length - first; count += 1 + count / 4) {
                        const T untouched = T(99);
                        std::vector<T> read(count * samples + 1, untouched);
                        const std::int64_t column = static_cast<std::int64_t>(first) - width;
                        border.getData(image, read.data(), read.data() + count * samples, column, row, outer[0],
                                       outer[1], outer[2]);
                        for (std::size_t i = 0; i < count * samples; ++i) {
                            ASSERT_TRUE(sameSample(read[i], expected[first * samples + i]))
                                << "sample " << i << " of " << count << " elements from column " << column << ", row "
                                << row << ", plane " << outer[0] << ", sequence " << outer[1] << ", spectral "
                                << outer[2];
                        }
                        ASSERT_TRUE(sameSample(read.back(), untouched)) << "writes beyond the buffer";
                    }
                }
            }
        }
    }

    static void comparePolicies(const test::ImageTraits& traits, std::int64_t width) {
        const io::MemoryImage image = test::makeRandomImage(traits, 21, test::Extremes::All);
        const T zero = T(0);
        const T value = T(3);
        compare(image, *FixedBorderCondition<T>::New(zero), fixedReference, zero, width);
        compare(image, *FixedBorderCondition<T>::New(value), fixedReference, value, width);
        compare(image, *MirrorBorderCondition<T>::New(), mirrorReference, zero, width);
        compare(image, *ContinueBorderCondition<T>::New(), continueReference, zero, width);
    }
};

using Types = testing::Types<std::uint8_t, std::uint16_t, std::uint32_t, std::int8_t, std::int16_t, std::int32_t, float,
                             double, std::complex<float>, std::complex<double>>;
TYPED_TEST_SUITE(Borders, Types);

TYPED_TEST(Borders, FollowTheirDefinitionsOnAllAxes) {
    this->comparePolicies({.voxelType = this->type, .extents = {5, 4, 3, 2, 2}}, 3);
    this->comparePolicies({.voxelType = this->type, .extents = {3, 2, 2, 1, 1}}, 13);  // wider than the image
    this->comparePolicies({.voxelType = this->type, .extents = {1, 1, 1, 1, 1}}, 4);
    this->comparePolicies({.voxelType = this->type, .extents = {1, 3, 1, 2, 1}}, 5);
    this->comparePolicies({.voxelType = this->type, .extents = {4, 1, 2, 1, 3}}, 2);
    this->comparePolicies({.voxelType = this->type, .extents = {3, 2, 2, 1, 1}, .elementType = VECTOR_3}, 7);
}

TYPED_TEST(Borders, ReflectAcrossALineAtAnAngle) {
    using T = TypeParam;
    constexpr double pi = std::numbers::pi;
    for (const double angle : {0.0, pi / 2, -pi, pi / 4, 3 * pi / 4, pi / 6, 1.0, -2.3, 100.0}) {
        SCOPED_TRACE(angle);
        const auto border = DirectionalMirrorBorderCondition<T>::New(angle);
        const Reference reference = [angle](AnyPosition p, const AnyPosition& n) {
            return directionalReference(angle, p, n);
        };
        for (const test::ImageTraits& traits : std::initializer_list<test::ImageTraits>{
                 {.voxelType = this->type, .extents = {5, 4, 2, 1, 2}},
                 {.voxelType = this->type, .extents = {1, 1, 1, 1, 1}},
                 {.voxelType = this->type, .extents = {3, 2, 1, 2, 1}, .elementType = VECTOR_2}}) {
            const io::MemoryImage image = test::makeRandomImage(traits, 4, test::Extremes::Finite);
            this->compare(image, *border, reference, T(0), 6);
        }
    }
}

/// The drawing of docs/borders.md: a line that falls at 45 degrees turns columns into rows.
TEST(DirectionalMirror, TurnsAtHalfARightAngle) {
    const io::MemoryImage image = test::makeImage({.voxelType = RIX_UINT8, .extents = {4, 4, 1, 1, 1}},
                                                  [](std::size_t x, std::size_t y, auto...) { return 10 * y + x; });
    const auto mirror = DirectionalMirrorBorderCondition<std::uint8_t>::New(std::numbers::pi / 4);
    const auto rowFrom = [&](std::int64_t column, std::int64_t row, std::size_t count) {
        std::vector<std::uint8_t> read(count);
        mirror->getData(image, read.data(), read.data() + count, column, row, 0, 0, 0);
        return read;
    };
    EXPECT_EQ(rowFrom(-3, -1, 1), (std::vector<std::uint8_t>{20})) << "beyond the corner: turned and folded back";
    EXPECT_EQ(rowFrom(-2, 1, 2), (std::vector<std::uint8_t>{0, 10}));
    EXPECT_EQ(rowFrom(-3, 3, 7), (std::vector<std::uint8_t>{10, 20, 30, 30, 31, 32, 33}))
        << "left: up the first column";
    EXPECT_EQ(rowFrom(0, 0, 7), (std::vector<std::uint8_t>{0, 1, 2, 3, 3, 13, 23})) << "right: down the last column";
    EXPECT_EQ(rowFrom(0, -1, 4), (std::vector<std::uint8_t>{0, 1, 2, 3})) << "above: the first row";
    EXPECT_EQ(rowFrom(0, -2, 4), (std::vector<std::uint8_t>{0, 0, 1, 2}))
        << "above: the first row, shifted and mirrored";
}

TEST(ComputeCoord, ReflectsWithTheEdgeTwice) {
    constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    const std::int64_t cases[][3] = {{lowest, 1, 0},
                                     {highest, 1, 0},
                                     {lowest, highest, highest - 1},
                                     {highest, highest, highest - 1},
                                     {-1, highest, 0}};
    for (const auto& [c, n, expected] : cases) {
        EXPECT_EQ(computeCoord(c, n), expected) << c << " on " << n;
    }
    for (std::int64_t n = 1; n < 8; ++n) {
        for (std::int64_t c = -30; c < 30; ++c) {
            EXPECT_EQ(computeCoord(c, n), referenceMirror(c, n)) << c << " on " << n;
        }
    }
    static_assert(computeCoord(-3, 2) == 1);
}

std::vector<std::shared_ptr<BorderCondition<float>>> extendingPolicies() {
    return {FixedBorderCondition<float>::New(1.5F), MirrorBorderCondition<float>::New(),
            ContinueBorderCondition<float>::New(), DirectionalMirrorBorderCondition<float>::New(0.7)};
}

TEST(Border, AnswersAtTheEndsOfTheRange) {
    const io::MemoryImage image =
        test::makeImage({.voxelType = RIX_FLOAT32, .extents = {3, 3, 2, 2, 2}}, [](auto...) { return 1.5; });
    constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    for (const auto& policy : extendingPolicies()) {
        for (const std::int64_t c : {lowest, lowest + 1, std::int64_t{1} << 60, highest - 2}) {
            for (std::size_t axis = 0; axis < 5; ++axis) {
                AnyPosition p{0, 0, 0, 0, 0};
                p[axis] = c;
                std::array<float, 2> read{};
                policy->getData(image, read.data(), read.data() + 2, p[0], p[1], p[2], p[3], p[4]);
                EXPECT_EQ(read, (std::array<float, 2>{1.5F, 1.5F})) << "axis " << axis << " at " << c;
            }
        }
    }
}

TEST(Border, ReadsTheInsideAtOnce) {
    CopyOnly image;
    ASSERT_TRUE(image.reserve(RIX_FLOAT32, 100, 4, 1, 1, 1));
    std::vector<float> row(120);
    for (const auto& policy : extendingPolicies()) {
        image.reads = 0;
        image.elementsRead = 0;
        policy->getData(image, row.data(), row.data() + row.size(), -10, 2, 0, 0, 0);
        const bool isDirectional = dynamic_cast<DirectionalMirrorBorderCondition<float>*>(policy.get()) != nullptr;
        EXPECT_EQ(image.reads, isDirectional ? 21U : 1U);
        EXPECT_EQ(image.elementsRead, isDirectional ? 120U : 100U);
    }
}

TEST(Border, RefusesAnotherSampleTypeBeforeReadingAndReportsAnImageThatRefuses) {
    CopyOnly image;
    std::vector<std::shared_ptr<BorderCondition<float>>> policies = extendingPolicies();
    policies.push_back(NoBorderCondition<float>::New());
    float read[4];
    for (const auto& policy : policies) {
        ASSERT_TRUE(image.reserve(RIX_INT32, 4, 4, 1, 1, 1));
        EXPECT_THROW(policy->getData(image, read, read + 4, 0, 0, 0, 0, 0), InvalidCall);
        ASSERT_TRUE(image.reserve(VECTOR_3, RIX_FLOAT32, 4, 4, 1, 1, 1));
        EXPECT_THROW(policy->getData(image, read, read + 4, 0, 0, 0, 0, 0), InvalidCall) << "four thirds of an element";
        EXPECT_EQ(image.reads, 0U);
        ASSERT_TRUE(image.reserve(RIX_FLOAT32, 4, 4, 1, 1, 1));
        image.fails = true;
        EXPECT_EQ(test::messageOf<UnexpectedError>([&] { policy->getData(image, read, read + 3, 0, 1, 0, 0, 0); }),
                  "Error in readRowAt implementation, return value is false");
        image.fails = false;
    }
    EXPECT_THROW(DirectionalMirrorBorderCondition<float>::New(std::nan("")), InvalidCall);
    EXPECT_EQ(policies.back(), NoBorderCondition<float>::New());
}

TEST(Border, OfAnEmptyImageCanOnlyBeFixed) {
    const io::MemoryImage image = test::imageOf(RIX_FLOAT32, {4, 0, 1, 1, 1});
    for (const auto& policy : extendingPolicies()) {
        float read[2] = {0, 0};
        const auto readIt = [&] { policy->getData(image, read, read + 2, 1, 0, 0, 0, 0); };
        if (dynamic_cast<FixedBorderCondition<float>*>(policy.get()) != nullptr) {
            readIt();
            EXPECT_EQ(read[1], 1.5F);
        } else {
            EXPECT_THROW(readIt(), InvalidCall);
        }
    }
}

TEST(NoBorder, ReadsInsideAndNowhereElse) {
    const io::MemoryImage image = test::makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {6, 4, 2, 2, 2}}, 2);
    const auto border = NoBorderCondition<float>::New();
    std::vector<float> read(6);
    border->getData(image, read.data(), read.data() + 6, 0, 3, 1, 1, 1);
    const float* const last = reinterpret_cast<const float*>(image.getImageBuffer()) + 6 * 4 * 2 * 2 * 2 - 6;
    EXPECT_EQ(read, std::vector<float>(last, last + 6));
    for (const auto& [axis, place] : {std::pair{0U, 1}, {0U, -1}, {1U, 4}, {1U, -1}, {2U, 2}, {3U, -1}, {4U, 2}}) {
        AnyPosition p{};
        p[axis] = place;
        const auto readIt = [&] { border->getData(image, read.data(), read.data() + 6, p[0], p[1], p[2], p[3], p[4]); };
#ifdef NDEBUG
        EXPECT_THROW(readIt(), BadIndex);
#else
        EXPECT_DEATH(readIt(), "Assertion 'isInsideTheImage' failed");
#endif
    }
}

}  // namespace
}  // namespace rix::access
