#include "FillHolesState.h"

#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WholeImage.h>
#include <rix/image/SampleMemory.h>
#include <rix/morphology/FillHoles2d.h>
#include <rix/morphology/FillHoles3d.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/ValueRules.h>

namespace rix::morphology {

void FillHolesState::addRules() {
    rix::addRules(inputImage, AddRuleAssertNotNull(), AddRuleAssertSingleElement(), AddRuleAssertIntegerOrFloating(),
                  AddRuleAssertImageNotEmpty());
    rix::addRules(neighborhood, AddRuleIsAnEnumOfType(*neighborhood.getEnumInfo()));
    rix::addRules(outputImage, AddRuleAssertNotNull());
}

void FillHolesState::shapeOutput() {
    const ImageModel& input = *inputImage.get();
    ApplyRuleEnforceImage(ImageCheck{input.getVoxelType(), inputImage, input.getInterpretation()})(outputImage);
}

void FillHolesState::fill(access::ExecutionContext& context, const FloodSpace& space) const {
    const ImageModel& input = *inputImage.get();
    ImageModel& output = *outputImage.get();
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const access::Steps steps(context, {0.05, 0.1, 0.8, 0.05});
        const bool isOverwritten = helper::mayShareSamples(input, output);
        access::WholeOutput<T> filled(output);
        // The first step, where there has to be a copy.
        const access::WholeInput<T> whole(context, input,
                                          isOverwritten ? access::Sharing::Never : access::Sharing::Allowed);
        floodHoles(context, whole.data(), filled.data(), helper::getExtents(input), space);
        filled.commit(context);
    });
}

AlgorithmDescription FillHolesState::describe(const FloodSpace& space, std::size_t threads) const {
    AlgorithmDescription description;
    description.kind = AlgorithmKind::Labeling;
    description.inPlace = true;
    const ImageModel* const input = inputImage.get();
    std::size_t elements = 0;
    if (input == nullptr || !helper::getElementCount(*input, elements) || elements == 0) {
        return description;
    }
    const VoxelTypes type = input->getVoxelType();
    description.outputs.push_back({"outputImage", type, helper::getExtents(*input)});
    description.extraMemory = floodWorkingBytes(helper::getExtents(*input), helper::getSizeOf(type), space, threads);
    const ImageModel* const output = outputImage.get();
    constexpr std::size_t page = 4096;  // of which working memory is a multiple
    const std::size_t bytes = elements * helper::getSizeOf(type) + page;
    if (helper::contiguousSamples(*input) == nullptr ||
        (output != nullptr && helper::mayShareSamples(*input, *output))) {
        description.extraMemory += bytes;
    }
    if (output != nullptr && helper::getExtents(*output) == helper::getExtents(*input) &&
        helper::contiguousSamples(*output) == nullptr) {
        description.extraMemory += bytes;
    }
    return description;
}

}  // namespace rix::morphology
