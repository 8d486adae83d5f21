#include <rix/rules/OverlapRules.h>

#include <rix/access/ImageModelProxy.h>
#include <rix/image/ImageModel3dWithFull2d.h>
#include <rix/image/ImageModelFull2d.h>
#include <rix/image/ImageModelFull3d.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/image/StridedImage.h>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

enum class Overlap { None, Some, All };

TEST(OverlapRules, TellPartsOfImagesApart) {
    io::MemoryImage real;
    io::MemoryImage other;
    io::MemoryImage fresh;
    shape(real, {.extents = {6, 5, 4, 2, 2}, .voxelType = RIX_UINT16});
    shape(other, {.extents = {6, 5, 4, 2, 2}, .voxelType = RIX_UINT16});
    ImageModelFull3d frame(&real, 1, 0);
    ImageModelFull3d sameFrame(&real, 1, 0);
    ImageModelFull3d otherFrame(&real, 0, 0);
    ImageModelFull3d otherChannel(&real, 1, 1);
    ImageModel3dWithFull2d lower(&real, 0, 3, 1, 0);
    ImageModel3dWithFull2d upper(&real, 1, 3, 1, 0);
    ImageModel3dWithFull2d onlyLast(&real, 3, 1, 1, 0);
    ImageModelFull2d plane(&real, 2, 1, 0);
    ImageModelFull2d nested(&frame, 2, 0, 0);
    ImageModelSizeProxy left(&plane, {0, 0, 0, 0, 0}, {3, 5, 1, 1, 1});
    ImageModelSizeProxy right(&plane, {3, 0, 0, 0, 0}, {3, 5, 1, 1, 1});
    ImageModelSizeProxy middle(&nested, {2, 0, 0, 0, 0}, {3, 5, 1, 1, 1});
    ImageModelProxy converted(&frame, RIX_FLOAT32);
    // Buffers of an application: every other row of one, and the same rows from the last to the first.
    std::vector<std::uint8_t> pixels(100);
    const ImageHeader header{.extents = {10, 5, 1, 1, 1}};
    StridedImage even(pixels.data(), header, {1, 20, 0, 0, 0});
    StridedImage sameEven(pixels.data(), header, {1, 20, 0, 0, 0});
    StridedImage odd(pixels.data() + 10, header, {1, 20, 0, 0, 0});
    StridedImage flipped(pixels.data() + 80, header, {1, -20, 0, 0, 0});
    const struct {
        const char* name;
        const ImageModel* input;
        ImageModel* output;
        Overlap overlap;
    } cases[] = {
        {"the same object", &real, &real, Overlap::All},
        {"another image", &real, &other, Overlap::None},
        {"an image without a shape", &real, &fresh, Overlap::None},
        {"the image behind a view", &frame, &real, Overlap::Some},
        {"a view of the image", &real, &frame, Overlap::Some},
        {"two views of one frame", &frame, &sameFrame, Overlap::All},
        {"two frames", &frame, &otherFrame, Overlap::None},
        {"two channels", &frame, &otherChannel, Overlap::None},
        {"slabs that overlap", &lower, &upper, Overlap::Some},
        {"slabs that don't", &lower, &onlyLast, Overlap::None},
        {"a plane of the slab", &upper, &plane, Overlap::Some},
        {"a view of a view", &plane, &nested, Overlap::All},
        {"columns beside each other", &left, &right, Overlap::None},
        {"columns that overlap", &left, &middle, Overlap::Some},
        {"a crop of the input", &real, &left, Overlap::Some},
        {"the frame as another type", &converted, &frame, Overlap::All},
        {"one buffer twice", &even, &sameEven, Overlap::All},
        {"rows between rows", &even, &odd, Overlap::None},
        {"the buffer upside down", &even, &flipped, Overlap::Some},
        {"another frame as another type", &converted, &otherFrame, Overlap::None},
    };
    NamedProperty<const ImageModel*> input("inputImage", nullptr);
    NamedProperty<ImageModel*> disjoint("p", nullptr);
    NamedProperty<ImageModel*> inPlace("p", nullptr);
    addRules(disjoint, AddRuleDisjointFrom(input));
    addRules(inPlace, AddRuleInPlaceOrDisjoint(input));
    EXPECT_EQ(disjoint.getImpl()->describeRules(), Levels{"must not share samples with inputImage"});
    EXPECT_EQ(inPlace.getImpl()->describeRules(), Levels{"must be inputImage itself or share no samples with it"});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        input.set(c.input);
        disjoint.set(c.output);
        inPlace.set(c.output);
        const String images = "\"p\" is " + helper::describeImage(*c.output) + "; \"inputImage\" is " +
                              helper::describeImage(*c.input) + ".";
        const String shared = "The parameters \"p\" and \"inputImage\" share samples: \"p\" must be ";
        EXPECT_EQ(
            applyRules(disjoint),
            c.overlap == Overlap::None
                ? Levels{}
                : refused({shared + "another image, or a part of the same image that does not overlap.", images}));
        EXPECT_EQ(
            applyRules(inPlace),
            c.overlap != Overlap::Some
                ? Levels{}
                : refused({shared + "exactly the same part of the image, or one that does not overlap.", images}));
    }
}

}  // namespace
}  // namespace rix::test
