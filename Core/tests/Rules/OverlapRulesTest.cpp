#include <rix/rules/OverlapRules.h>

#include <rix/access/ImageModelProxy.h>
#include <rix/image/ImageModel3dWithFull2d.h>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

enum class Overlap { None, Some, All };

// Which parts of images overlap is tested with the addresses of samples; here, what the rules make of it.
TEST(OverlapRules, RefuseWhatOverlapsUnlessItIsTheSamePart) {
    io::MemoryImage real;
    shape(real, {.extents = {6, 5, 4, 1, 1}, .voxelType = RIX_UINT16});
    io::MemoryImage fresh;
    ImageModel3dWithFull2d lower(&real, 0, 3, 0, 0);
    ImageModel3dWithFull2d upper(&real, 1, 3, 0, 0);
    ImageModel3dWithFull2d onlyLast(&real, 3, 1, 0, 0);
    ImageModelProxy converted(&lower, RIX_FLOAT32);
    const struct {
        const char* name;
        const ImageModel* input;
        ImageModel* output;
        Overlap overlap;
    } cases[] = {
        {"the same object", &real, &real, Overlap::All},
        {"an image without a shape", &real, &fresh, Overlap::None},
        {"a view of the image", &real, &upper, Overlap::Some},
        {"slabs that overlap", &lower, &upper, Overlap::Some},
        {"slabs that don't", &lower, &onlyLast, Overlap::None},
        {"the slab as another type", &converted, &lower, Overlap::All},
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
