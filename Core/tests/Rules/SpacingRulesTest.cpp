#include <rix/rules/SpacingRules.h>

#include <limits>

#include "RuleTestSupport.h"

namespace rix::test {
namespace {

TEST(SpacingRules, RefuseWhatNothingCanBeDividedBy) {
    io::MemoryImage image;
    shape(image, {.extents = {4, 3, 1, 1, 1}});
    NamedProperty<const ImageModel*> planes("plane", nullptr);
    addRules(planes, AddRuleAssertSpacing(2));
    NamedProperty<const ImageModel*> volumes("volume", nullptr);
    addRules(volumes, AddRuleAssertSpacing(3));
    planes.set(&image);
    volumes.set(&image);
    image.setSpacingOf(COLUMNS, -0.5);
    image.setSpacingOf(ROWS, 1.0);
    image.setSpacingOf(PLANS, 0.0);
    EXPECT_NO_THROW(planes.applyRules(true));
    EXPECT_NO_THROW(volumes.applyRules(true)) << "one plane has no neighbours along z";
    for (const double spacing : {0.0, std::numeric_limits<double>::infinity(), std::nan("")}) {
        image.setSpacingOf(ROWS, spacing);
        EXPECT_THROW(planes.applyRules(true), RuleException) << spacing;
    }
    shape(image, {.extents = {4, 3, 2, 1, 1}});
    image.setSpacingOf(COLUMNS, 2.0);
    image.setSpacingOf(ROWS, 1.0);
    image.setSpacingOf(PLANS, 0.0);
    EXPECT_NO_THROW(planes.applyRules(true));
    EXPECT_THROW(volumes.applyRules(true), RuleException);
}

}  // namespace
}  // namespace rix::test
