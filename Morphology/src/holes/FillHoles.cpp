// Both classes: that of planes knows two axes.

#include <algorithm>
#include <cstddef>

#include <rix/access/BlockSize.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WholeImage.h>
#include <rix/algorithms/Definition.h>
#include <rix/image/SampleMemory.h>
#include <rix/morphology/FillHoles2d.h>
#include <rix/morphology/FillHoles3d.h>

#include "HoleFlood.h"

namespace rix::morphology {

namespace {

void takeMostNeighbours(FillHoles2d& filler) {
    filler.setNeighborhood(FillHoles2d::CONNECTIVITY_8);
}

void takeMostNeighbours(FillHoles3d& filler) {
    filler.setNeighborhood(FillHoles3d::CONNECTIVITY_26);
}

template <class Filler>
void declare(Filler& filler, algorithms::Properties& properties) {
    properties.input(filler.inputImage, "The image whose holes are filled.", AddRulesForRealImage());
    takeMostNeighbours(filler);
    properties.input(filler.neighborhood, "Which voxels of an object touch; holes are connected the other way.");
    properties.output(filler.outputImage, "The image without holes.", AddRuleAssertNotNull(),
                      AddRuleEnforceLike(filler.inputImage));
}

/// The background is connected as the objects are not.
FloodSpace spaceOf(const FillHoles2d& filler) {
    return {2, filler.getNeighborhood() == FillHoles2d::CONNECTIVITY_4};
}

FloodSpace spaceOf(const FillHoles3d& filler) {
    return {3, filler.getNeighborhood() == FillHoles3d::CONNECTIVITY_6};
}

template <class Filler>
void process(Filler& filler, OptimLevelType /*level*/) {
    access::ExecutionContext& context = filler.executionContext();
    const ImageModel& input = *filler.getInputImage();
    ImageModel& output = *filler.getOutputImage();
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const access::Steps steps(context, {0.05, 0.1, 0.8, 0.05});
        const bool isOverwritten = access::isOverwritten(input, &output);
        access::WholeOutput<T> filled(output);
        // The first step, where there has to be a copy.
        const access::WholeInput<T> whole(context, input,
                                          isOverwritten ? access::Sharing::Never : access::Sharing::Allowed);
        floodHoles(context, whole.data(), filled.data(), helper::getExtents(input), spaceOf(filler));
        filled.commit(context);
    });
}

template <class Filler>
std::size_t memoryOf(const Filler& filler) {
    const ImageModel& input = *filler.getInputImage();
    const ImageModel* const output = filler.getOutputImage();
    const auto extents = helper::getExtents(input);
    std::size_t bytes = floodWorkingBytes(extents, helper::getSizeOf(input.getVoxelType()), spaceOf(filler),
                                          filler.getMaximumThreads());
    const std::size_t copy = access::Scratch::held(access::TemporaryImage::bytes(input, input.getVoxelType()));
    if (access::needsCopy(input, input.getVoxelType()) || access::isOverwritten(input, output)) {
        bytes += copy;
    }
    if (input.getInterpretation() == RIX_BINARY) {  // the rows that are made 0 and 1 on their way into the copy
        bytes += filler.getMaximumThreads() * access::Scratch::held(std::min(copy, access::blockBytes()));
    }
    if (output != nullptr && helper::getExtents(*output) == extents && helper::contiguousSamples(*output) == nullptr) {
        bytes += copy;
    }
    return bytes;
}

template <class Filler>
constexpr algorithms::Definition<Filler> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filler>,
        .process = &process<Filler>,
        .memory = &memoryOf<Filler>,
    };
}

constexpr auto ofPlanes = definitionOf<FillHoles2d>("Fills the holes of the objects of each plane.");
constexpr auto ofVolumes = definitionOf<FillHoles3d>("Fills the holes of the objects of each volume.");

}  // namespace

RIX_DEFINE_ALGORITHM(FillHoles2d, ofPlanes)
RIX_DEFINE_ALGORITHM(FillHoles3d, ofVolumes)

}  // namespace rix::morphology
