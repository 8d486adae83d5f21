#include <rix/synthesis/ConstantImage.h>

#include "Generation.h"

namespace rix::synthesis {

namespace {

void declare(ConstantImage& generator, algorithms::Properties& properties) {
    declareShape(generator, properties);
    properties.input(generator.value, "The value of all voxels.");
    declareImage(generator, properties, "The image of one value.");
}

void process(ConstantImage& generator, OptimLevelType /*level*/) {
    ImageModel& output = *generator.getOutputImage();
    access::dispatch(access::Reals{}, output.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const T sample = access::roundedSample<T>(generator.getValue());
        access::generateRows<T>(generator.executionContext(), output, 0.1,
                                [sample](T* out, std::size_t count) { std::fill_n(out, count, sample); });
    });
}

constexpr algorithms::Definition<ConstantImage> definition{
    .summary = "Makes an image of one value.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
};

}  // namespace

RIX_DEFINE_ALGORITHM_ON(ImageGenerator, ConstantImage, algorithms::NoState, definition)

}  // namespace rix::synthesis
