#include "BoxFilterState.h"

#include <algorithm>
#include <limits>

#include <rix/access/TemporaryImage.h>
#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/filtering/smoothing/BoxFilterWorkType.h>
#include <rix/image/SampleMemory.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/EnumRules.h>
#include <rix/rules/ImageEnforcements.h>
#include <rix/rules/ValueRules.h>

#include "BoxNeeds.h"

namespace rix::filtering::smoothing {

namespace {

/// The number of voxels of a window for the table of types, which ends below 2^64.
std::uint64_t saturate(WideInteger count) {
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    return count > static_cast<WideInteger>(largest) ? largest : static_cast<std::uint64_t>(count);
}

}  // namespace

const EnumInfo& infoAutoScaleType() {
    static const EnumInfo info("AutoScaleType", "NO = 0, YES");
    return info;
}

BoxFilterState::BoxFilterState() : autoScale(&infoAutoScaleType()) {}

void BoxFilterState::addRules(Window window) {
    AddRuleAssertNotNull()(inputImage);
    AddRuleAssertSingleElement()(inputImage);
    AddRuleAssertIntegerOrFloating()(inputImage);
    AddRuleAssertImageNotEmpty()(inputImage);
    AddRuleAssertPositiveOnly()(kernelSizeX);
    AddRuleAssertPositiveOnly()(kernelSizeY);
    if (window == Window::Box) {
        AddRuleAssertPositiveOnly()(kernelSizeZ);
    } else {
        kernelSizeZ = 1;
    }
    AddRuleIsAnEnumOfType{infoAutoScaleType()}(autoScale);
    AddRuleAssertNotNull()(outputImage);
}

void BoxFilterState::shapeOutput() {
    m_inputMeaning = inputImage.get()->getInterpretation();
    ApplyRuleEnforceImage(ImageCheck{outputType(), inputImage, RIX_VALUE})(outputImage);
}

bool BoxFilterState::isMean() const {
    return autoScale.get() == BoxFilter2d::YES;
}

VoxelTypes BoxFilterState::outputType() const {
    const VoxelTypes type = inputImage.get()->getVoxelType();
    return isMean() ? type : computeWorkType(type, saturate(jobFor(m_inputMeaning).voxels));
}

BoxJob BoxFilterState::jobFor(Interpretations interpretation) const {
    const BoxBorder border = !isMean() && interpretation == RIX_BINARY ? BoxBorder::Zero : BoxBorder::Mirror;
    const std::int32_t sizes[] = {kernelSizeX, kernelSizeY, kernelSizeZ};
    const auto extents = helper::getExtents(*inputImage.get());
    BoxJob job;
    job.mean = isMean();
    for (std::size_t axis = 0; axis < job.axes.size(); ++axis) {
        job.axes[axis] = BoxAxis(extents[axis], static_cast<std::size_t>(sizes[axis]), border);
        job.voxels *= sizes[axis];
    }
    return job;
}

BoxJob BoxFilterState::job() const {
    return jobFor(m_inputMeaning);
}

bool BoxFilterState::isInPlace() const {
    return helper::mayShareSamples(*inputImage.get(), *outputImage.get());
}

AlgorithmDescription BoxFilterState::describe(std::size_t threads) const {
    AlgorithmDescription description;
    description.kind = AlgorithmKind::Neighbourhood;
    const std::int32_t sizes[] = {kernelSizeX, kernelSizeY, kernelSizeZ};
    const bool sized = std::all_of(std::begin(sizes), std::end(sizes), [](std::int32_t size) { return size > 0; });
    if (!sized) {
        return description;
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto size = static_cast<std::size_t>(sizes[axis]);
        description.borderInfluence.lower[axis] = size / 2;
        description.borderInfluence.upper[axis] = size - 1 - size / 2;
    }
    const ImageModel* const input = inputImage.get();
    std::size_t elements = 0;
    if (input == nullptr || !helper::getElementCount(*input, elements) || elements == 0) {
        return description;
    }
    const VoxelTypes type = outputType();
    description.inPlace = type == input->getVoxelType();
    description.outputs.push_back({"outputImage", type, helper::getExtents(*input)});
    description.extraMemory = boxWorkingBytes(*input, jobFor(input->getInterpretation()), threads);
    if (outputImage.get() != nullptr && isInPlace()) {
        description.extraMemory += access::TemporaryImage::bytes(*input, type);
    }
    return description;
}

}  // namespace rix::filtering::smoothing
