#include <rix/synthesis/ZonePlateImage.h>

#include "Generation.h"
#include "PortableMath.h"

namespace rix::synthesis {

namespace {

void declare(ZonePlateImage& generator, algorithms::Properties& properties) {
    declareShape(generator, properties);
    generator.frequency = 0.5;
    properties.input(generator.frequency, "Cycles a voxel at the middle of the longest sides.",
                     AddRuleInRange<double>(0.0, 1e3, Bound::Included, Bound::Included));
    properties.input(generator.firstValue, "The value of troughs.", AddRuleAssertFinite());
    generator.lastValue = 255.0;
    properties.input(generator.lastValue, "The value of crests.", AddRuleAssertFinite());
    declareImage(generator, properties, "The zone plate.");
}

void process(ZonePlateImage& generator, OptimLevelType /*level*/) {
    ImageModel& output = *generator.getOutputImage();
    std::array<double, 3> centre{};
    double greatest = 1.0;
    for (std::size_t axis = 0; axis < centre.size(); ++axis) {
        const auto extent = static_cast<double>(output.getNumOf(static_cast<Components>(axis)));
        centre[axis] = (extent - 1.0) / 2.0;
        greatest = std::max(greatest, extent);
    }
    // In turns of the circle: half a turn is pi.
    const double turns = 0.5 * generator.getFrequency() / (greatest / 2.0);
    const double middle = 0.5 * generator.getFirstValue() + 0.5 * generator.getLastValue();
    const double amplitude = 0.5 * generator.getLastValue() - 0.5 * generator.getFirstValue();
    generate(generator, output, 5.0, [=](const access::Position& at, double* row, std::size_t count) {
        const double y = static_cast<double>(at.row) - centre[ROWS];
        const double z = static_cast<double>(at.plane) - centre[PLANS];
        for (std::size_t i = 0; i < count; ++i) {
            const double x = static_cast<double>(at.column + i) - centre[COLUMNS];
            row[i] = middle + amplitude * cosineOfTurns(turns * (x * x + (y * y + z * z)));
        }
    });
}

constexpr algorithms::Definition<ZonePlateImage> definition{
    .summary = "Makes rings that get finer outwards: every frequency in every direction.",
    .kind = AlgorithmKind::Point,
    .declare = &declare,
    .process = &process,
};

}  // namespace

RIX_DEFINE_ALGORITHM_ON(ImageGenerator, ZonePlateImage, algorithms::NoState, definition)

}  // namespace rix::synthesis
