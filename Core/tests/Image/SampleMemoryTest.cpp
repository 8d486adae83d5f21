#include <rix/image/SampleMemory.h>

#include <rix/access/ImageModelProxy.h>
#include <rix/image/ImageModel3dWithFull2d.h>
#include <rix/image/ImageModelFull2d.h>
#include <rix/image/ImageModelFull3d.h>
#include <rix/image/StridedImage.h>

#include "ImageTestTools.h"

namespace rix {
namespace {

using helper::contiguousSamples;
using helper::mayShareSamples;
using helper::sharesLayout;
using test::Extents;
using test::makeCounted;
using test::OpaqueImage;

std::vector<std::size_t> list(const Extents& values) {
    return {values.begin(), values.end()};
}

/// The address of every element, in storage order of the image.
std::vector<ConstRawData> addressesOf(const ImageModel& image) {
    std::vector<ConstRawData> found;
    test::forEachRow(image, [&](std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
        ConstRawData row = nullptr;
        EXPECT_TRUE(image.getConstRowAt(image.getNumOf(COLUMNS), row, 0, y, z, t, s));
        for (std::size_t x = 0; x < image.getNumOf(COLUMNS); ++x) {
            found.push_back(row + x * helper::getElementSize(image));
        }
        return true;
    });
    return found;
}

/// The three answers as their definitions say, one element after the other.
struct Answers {
    bool contiguous = true;
    bool meet = false;
    bool sameLayout = false;
};

Answers lookUp(const ImageModel& a, const ImageModel& b) {
    Answers answers;
    const std::vector<ConstRawData> ofA = addressesOf(a);
    const std::vector<ConstRawData> ofB = addressesOf(b);
    const std::size_t sizeOfA = helper::getElementSize(a);
    const std::size_t sizeOfB = helper::getElementSize(b);
    for (std::size_t i = 1; i < ofA.size(); ++i) {
        answers.contiguous = answers.contiguous && ofA[i] == ofA[i - 1] + sizeOfA;
    }
    std::set<ConstRawData> bytes;
    for (const ConstRawData address : ofA) {
        for (std::size_t i = 0; i < sizeOfA; ++i) {
            bytes.insert(address + i);
        }
    }
    for (const ConstRawData address : ofB) {
        const auto next = bytes.lower_bound(address);
        answers.meet = answers.meet || (next != bytes.end() && *next < address + sizeOfB);
    }
    answers.sameLayout = helper::getExtents(a) == helper::getExtents(b) && ofA == ofB && sizeOfA == sizeOfB;
    return answers;
}

void checkPair(ImageModel& a, ImageModel& b) {
    const Answers expected = lookUp(a, b);
    const ImageModel& readOnly = a;
    const ConstRawData first = expected.contiguous ? addressesOf(a).front() : nullptr;
    EXPECT_EQ(contiguousSamples(readOnly), first);
    EXPECT_EQ(contiguousSamples(a), first);
    EXPECT_EQ(mayShareSamples(a, b), expected.meet);
    EXPECT_EQ(mayShareSamples(b, a), expected.meet);
    EXPECT_EQ(sharesLayout(a, b), expected.sameLayout);
}

/// Boxes of boxes of an image, so that every kind of contact of two parts occurs.
class RandomBoxes {
public:
    explicit RandomBoxes(unsigned seed) : m_random(seed) {}

    ImageModel& next(ImageModel& image) {
        ImageModel* part = &image;
        for (int depth = pick(2); depth >= 0; --depth) {
            Extents first{};
            Extents count = helper::getExtents(*part);
            for (std::size_t axis = 0; axis < first.size(); ++axis) {
                if (pick(2) == 0) {
                    const std::size_t extent = count[axis];
                    first[axis] = static_cast<std::size_t>(pick(static_cast<int>(extent) - 1));
                    count[axis] = 1 + static_cast<std::size_t>(pick(static_cast<int>(extent - first[axis]) - 1));
                }
            }
            m_views.push_back(std::make_unique<ImageModelSizeProxy>(part, list(first), list(count)));
            part = m_views.back().get();
        }
        return *part;
    }

private:
    int pick(int largest) { return std::uniform_int_distribution<>(0, largest)(m_random); }

    std::mt19937 m_random;
    std::vector<std::unique_ptr<ImageModel>> m_views;
};

/// An image anywhere in a buffer: axes in any order and direction, with gaps that others may fill.
std::unique_ptr<StridedImage> makeStrided(std::vector<std::uint8_t>& buffer, std::mt19937& random) {
    const auto pick = [&](std::size_t largest) {
        return std::uniform_int_distribution<std::size_t>(0, largest)(random);
    };
    ImageHeader header;
    header.voxelType = pick(1) == 0 ? RIX_UINT8 : RIX_INT16;
    header.elementType = pick(3) == 0 ? VECTOR_3 : SINGLE;
    const std::size_t size = helper::getSizeOf(header.voxelType) * helper::getElementNumber(header.elementType);
    StridedImage::Pitches pitches{static_cast<std::ptrdiff_t>(size)};
    header.extents[COLUMNS] = 1 + pick(2);
    std::size_t span = size * header.extents[COLUMNS];
    std::size_t below = 0;
    std::vector<std::size_t> axes{ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES};
    std::shuffle(axes.begin(), axes.end(), random);
    for (const std::size_t axis : axes) {
        header.extents[axis] = 1 + pick(2);
        const std::size_t pitch = span + pick(2) * pick(2) * size;
        const std::size_t reach = pitch * (header.extents[axis] - 1);
        const bool backwards = pick(2) == 0;
        pitches[axis] = backwards ? -static_cast<std::ptrdiff_t>(pitch) : static_cast<std::ptrdiff_t>(pitch);
        below += backwards ? reach : 0;
        span += reach;
    }
    return std::make_unique<StridedImage>(buffer.data() + below + pick(std::min(buffer.size() - span, span / 2)),
                                          header, pitches);
}

TEST(SampleMemory, TellsWhereStridedImagesMeet) {
    std::vector<std::uint8_t> buffer(16384);
    std::mt19937 random(7);
    int met = 0;
    int apart = 0;
    for (int i = 0; i < 600; ++i) {
        SCOPED_TRACE(i);
        const auto a = makeStrided(buffer, random);
        const auto b = makeStrided(buffer, random);
        checkPair(*a, *b);
        (mayShareSamples(*a, *b) ? met : apart) += 1;
        RandomBoxes boxes(static_cast<unsigned>(i));
        checkPair(boxes.next(*a), boxes.next(i % 2 == 0 ? *a : *b));
    }
    EXPECT_GT(met, 100);
    EXPECT_GT(apart, 20);
}

TEST(SampleMemory, LooksThroughEveryKindOfView) {
    io::MemoryImage image = makeCounted({5, 4, 3, 2, 3});
    ImageModelFull3d frame(&image, 1, 2);
    ImageModelFull3d sameFrame(&image, 1, 2);
    ImageModelFull3d otherFrame(&image, 0, 2);
    ImageModel3dWithFull2d slab(&image, 1, 2, 1, 2);
    ImageModel3dWithFull2d lower(&image, 0, 2, 1, 2);
    ImageModelFull2d plane(&slab, 1, 0, 0);
    ImageModelSizeProxy rows(&plane, {0, 1, 0, 0, 0}, {5, 2, 1, 1, 1});
    ImageModelSizeProxy columns(&plane, {0, 1, 0, 0, 0}, {4, 2, 1, 1, 1});
    ImageModelProxy transparent(&plane, RIX_UINT16);
    ImageModel* const images[] = {&image, &frame, &sameFrame, &otherFrame, &slab,
                                  &lower, &plane, &rows,      &columns,    &transparent};
    for (ImageModel* const a : images) {
        for (ImageModel* const b : images) {
            SCOPED_TRACE(helper::describeImage(*a) + helper::describeImage(*b));
            checkPair(*a, *b);
        }
    }
    EXPECT_EQ(frame.getImageBuffer(), nullptr);

    // Beyond the image, or moved there.
    ImageModel3dWithFull2d tooThick(&image, 2, 2, 1, 2);
    ImageModelFull2d behind(&image, 3, 0, 0);
    for (ImageModel* const view : std::initializer_list<ImageModel*>{&tooThick, &behind}) {
        EXPECT_EQ(contiguousSamples(*view), nullptr);
        EXPECT_FALSE(sharesLayout(*view, image));
    }
    EXPECT_TRUE(mayShareSamples(tooThick, slab));
    EXPECT_FALSE(mayShareSamples(tooThick, lower));
    EXPECT_FALSE(mayShareSamples(behind, image));
}

TEST(SampleMemory, KnowsImagesWithoutAddressesByWhatIsBehindThem) {
    io::MemoryImage image = makeCounted({5, 4, 3, 1, 1});
    io::MemoryImage other = image;
    class NoAddresses : public io::MemoryImage {
    public:
        using MemoryImage::MemoryImage;
        bool getRowAt(std::size_t, RawData&, std::size_t, std::size_t, std::size_t, std::size_t,
                      std::size_t) const override {
            return false;
        }
        ConstRawData getImageBuffer() const override { return nullptr; }
        RawData getImageBuffer() override { return nullptr; }
    };
    NoAddresses stored;
    ASSERT_TRUE(stored.reserve(RIX_UINT16, 5, 4, 3, 1, 1));
    ImageModelFull2d plane(&stored, 1, 0, 0);
    ImageModelFull2d samePlane(&stored, 1, 0, 0);
    ImageModelFull2d otherPlane(&stored, 2, 0, 0);
    EXPECT_EQ(contiguousSamples(plane), nullptr);
    EXPECT_TRUE(mayShareSamples(plane, stored));
    EXPECT_TRUE(mayShareSamples(plane, samePlane));
    EXPECT_TRUE(sharesLayout(plane, samePlane));
    EXPECT_FALSE(mayShareSamples(plane, otherPlane));
    EXPECT_FALSE(mayShareSamples(otherPlane, plane));
    EXPECT_FALSE(mayShareSamples(stored, image));

    // Views that convert or hide samples are where the image behind them is.
    ImageModelProxy converted(&image, RIX_FLOAT64);
    OpaqueImage hidden(&image);
    EXPECT_EQ(contiguousSamples(converted), nullptr);
    EXPECT_EQ(contiguousSamples(hidden), nullptr);
    for (ImageModel* const view : std::initializer_list<ImageModel*>{&converted, &hidden}) {
        EXPECT_TRUE(mayShareSamples(*view, image));
        EXPECT_TRUE(sharesLayout(*view, image));
        EXPECT_FALSE(mayShareSamples(*view, other));
        EXPECT_FALSE(sharesLayout(*view, other));
    }

    io::MemoryImage empty;
    io::MemoryImage alsoEmpty;
    EXPECT_FALSE(mayShareSamples(empty, alsoEmpty));
    EXPECT_FALSE(mayShareSamples(empty, image));
    EXPECT_TRUE(mayShareSamples(empty, empty));
}

}  // namespace
}  // namespace rix
