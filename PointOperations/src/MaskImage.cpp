#include <rix/point_operations/MaskImage.h>

#include <rix/algorithms/Definition.h>
#include <rix/rules/CompareRules.h>
#include <rix/rules/When.h>

#include "ImagePairToImageFilter3d.h"
#include "MaskKernels.h"
#include "PointRows.h"
#include "PointWork.h"

namespace rix::point_operations {

namespace {

void declare(MaskImage& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image whose voxels are kept or cleared.", AddRulesForRealImage());
    properties.input(algorithm.inputBinaryImage, "The mask: a voxel is kept where it is not 0.", AddRuleAssertNotNull(),
                     AddRuleAssertSingleElement(), AddRuleAssertType({RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT16}),
                     AddRuleAssertSameSize(algorithm.inputImage));
    const auto differ = [&algorithm] {
        return algorithm.getInputBinaryImage()->getVoxelType() != algorithm.getInputImage()->getVoxelType();
    };
    properties.output(algorithm.outputImage, "The image, 0 outside the mask.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(algorithm.inputImage),
                      AddRuleInPlaceOrDisjoint(algorithm.inputBinaryImage),
                      AddRuleWhen("when image and mask differ in type", differ,
                                  AddRuleCompare(CompareRelation::NotEqual, algorithm.inputBinaryImage)),
                      AddRuleEnforceLike(algorithm.inputImage));
}

void process(MaskImage& algorithm, OptimLevelType level) {
    const ImageModel& image = *algorithm.getInputImage();
    const ImageModel& mask = *algorithm.getInputBinaryImage();
    const std::size_t sampleBytes = helper::getElementSize(image);
    const std::size_t maskBytes = helper::getElementSize(mask);
    const bool binary = image.getInterpretation() == RIX_BINARY;
    const access::Stores stores = access::storesFor(*algorithm.getOutputImage());
    const PairRow row = maskRow(sampleBytes, maskBytes, stores, level);
    const ImagePairToImageFilter3d filter({image, image.getVoxelType(), binary}, {mask, mask.getVoxelType()},
                                          *algorithm.getOutputImage(), level);
    filter.run(algorithm.executionContext(), nanosecondsPerByte * static_cast<double>(2 * sampleBytes + maskBytes),
               stores, row);
}

constexpr algorithms::Definition<MaskImage> definition{
    .summary = "Keeps the voxels of an image inside a mask and clears the others.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
    .memory = &passMemory,
};

}  // namespace

RIX_DEFINE_ALGORITHM(MaskImage, definition)

}  // namespace rix::point_operations
