#include "CountedExtrema.h"

#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>
#include <rix/image/FrameView.h>

#include "Extrema.h"

namespace rix::analysis {

namespace {

/// More bytes of tables than this are not worth the second reading of the image that they save.
constexpr std::size_t mostMemory = std::size_t{32} << 20;

// Counting has no vector form: every level runs the same code.
void process(CountedExtrema& algorithm, OptimLevelType /*level*/) {
    const ImageModel& input = *algorithm.getInputImage();
    access::ExecutionContext& context = algorithm.executionContext();
    const std::size_t frames = input.getNumOf(SEQUENCE);
    const access::Steps steps(context, frames);
    Extrema extrema;
    algorithm.frames.clear();
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const FrameView view(input, frame);
        algorithm.frames.push_back(countValues(context, view.image()));
        addExtrema(algorithm.frames.back(), extrema);
    }
    publish(extrema, *algorithm.getOutputMeasurement());
}

bool acceptsInput(const CountedExtrema& algorithm) {
    return CountedExtrema::accepts(*algorithm.getInputImage());
}

constexpr algorithms::Definition<CountedExtrema> definition{
    .summary = "Finds the extreme values of an image and counts all values.",
    .kind = AlgorithmKind::Reduction,
    .declare = [](CountedExtrema&, algorithms::Properties&) {},  // those of its base
    .process = &process,
    .accepts = &acceptsInput,
    .visibility = AlgoVisibilityType::HIDDEN_ALGORITHM,
};

}  // namespace

RIX_DEFINE_ALGORITHM_ON(IntensityExtrema, CountedExtrema, algorithms::NoState, definition)

bool CountedExtrema::accepts(const ImageModel& image) {
    return image.getNumOf(SPECTRAL_SERIES) == 1 && hasCountableRange(FrameView(image, 0).image()) &&
           image.getNumOf(SEQUENCE) <= mostMemory / tableBytes(image);
}

}  // namespace rix::analysis
