#include <rix/geometry/SplitChannels.h>

#include "Mapped.h"
#include "WithinImage.h"

namespace rix::geometry {

namespace {

AxisMaps mapsOf(const SplitChannels& split) {
    AxisMaps maps = identityMaps(*split.getInputImage());
    maps[SPECTRAL_SERIES] = cutMap(*split.getInputImage(), SPECTRAL_SERIES, split.getChannel(), 1);
    return maps;
}

using Image = Mapped<SplitChannels, &mapsOf>;

void declare(SplitChannels& split, algorithms::Properties& properties) {
    Image::declareInput(split, properties, "The image with the channels.");
    properties.input(split.channel, "The channel that is taken, from 0 on.",
                     AddRuleIndexWithin(&split.inputImage, SPECTRAL_SERIES));
    Image::declareOutput(split, properties, "The channel.");
}

constexpr algorithms::Definition<SplitChannels> definition{
    .summary = "Takes one channel out of an image.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &Image::process,
};

}  // namespace

RIX_DEFINE_ALGORITHM(SplitChannels, definition)

}  // namespace rix::geometry
