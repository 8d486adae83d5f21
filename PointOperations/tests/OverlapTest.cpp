#include <rix/algorithms/AlgoInfo.h>
#include <rix/image/ImageModel3dWithFull2d.h>
#include <rix/properties/Property.h>

#include "PointTestSupport.h"

namespace rix::point_operations::test {
namespace {

using testing::HasSubstr;

/// Each image input in turn is a part of the output, shifted by a plane: the run would read what it has written.
TEST(PointOperations, RefuseAnInputThatTheOutputOverlaps) {
    const io::MemoryImage good = makeRandomImage({.extents = {9, 7, 3, 1, 1}}, 1);
    io::MemoryImage target = makeRandomImage({.extents = {9, 7, 4, 1, 1}}, 2);
    const io::MemoryImage before = target;
    const ImageModel3dWithFull2d lower(static_cast<const ImageModel*>(&target), 0, 3, 0, 0);
    ImageModel3dWithFull2d upper(&target, 1, 3, 0, 0);
    for (const char* name :
         {"ArithmeticOperationWithImage", "ArithmeticOperationWithValue", "LogicalOperationWithImage",
          "LogicalOperationWithValue", "ConvertImage", "MaskImage", "ThresholdingByCriterion"}) {
        const auto algorithm = AlgoInfo::fromName(name).createInstance(nullptr);
        std::vector<Property<const ImageModel*>*> inputs;
        for (std::size_t i = 0; i < algorithm->getNumOfInputProperties(); ++i) {
            if (auto* const input = dynamic_cast<Property<const ImageModel*>*>(algorithm->getInputProperty(i))) {
                input->set(&good);
                inputs.push_back(input);
            }
        }
        dynamic_cast<Property<ImageModel*>&>(*algorithm->getOutputProperty(0)).set(&upper);
        ASSERT_FALSE(inputs.empty());
        for (Property<const ImageModel*>* const input : inputs) {
            SCOPED_TRACE(String(name) + ", " + input->getName());
            input->set(&lower);
            try {
                algorithm->run();
                ADD_FAILURE() << "accepted";
            } catch (const RuleException& exception) {
                EXPECT_THAT(exception.getInfo(), HasSubstr("and \"" + input->getName() + "\" share samples"));
            }
            input->set(&good);
        }
    }
    EXPECT_TRUE(imagesEqual(before, target));
}

}  // namespace
}  // namespace rix::point_operations::test
