#include <rix/geometry/ContourLines2d.h>

#include <Eigen/LU>

#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>

#include "PlaceProperties.h"
#include "World.h"
#include "WorldTransform.h"
#include "level/Contours.h"
#include "level/LevelRows.h"

namespace rix::geometry {

namespace {

void declare(ContourLines2d& contours, algorithms::Properties& properties) {
    properties.input(contours.inputImage, "The image whose lines are wanted.", AddRulesForRealImage(),
                     AddRuleAssertPlaced());
    contours.inputImage.getImpl()->addRule(std::make_shared<RuleHasLevels>(2));
    contours.level = 0.5;
    properties.input(contours.level, "The value that the image has on the lines.", AddRuleAssertFinite());
    properties.output(contours.outputMeasurement, "A row for each point of the lines.", AddRuleCreateMeasurement());
}

void process(ContourLines2d& algorithm, OptimLevelType /*level*/) {
    const ImageModel& input = *algorithm.getInputImage();
    const auto extents = helper::getExtents(input);
    const ImageHeader header = placedHeader(input);
    const access::Steps steps(algorithm.executionContext(), {1.0, 1.0});
    Contours contours(input, algorithm.getLevel(), elementsPerWorld(header, 2).determinant() < 0.0);
    contours.find(algorithm.executionContext());
    ContoursMsr& table = *algorithm.getOutputMeasurement();
    table.reset(input, contours.forEachPoint([](std::size_t, std::size_t, const Contours::Point&) {}));
    const ElementGrid grid = elementGridOf(header);
    std::size_t row = 0;
    contours.forEachPoint([&](std::size_t plane, std::size_t line, const Contours::Point& point) {
        const std::size_t image = plane / extents[PLANS];
        table.setFrame(row, image % extents[SEQUENCE], image / extents[SEQUENCE]);
        table.line[row] = static_cast<std::int64_t>(line);
        const Eigen::Vector3d at = grid.worldOf({point.x, point.y, static_cast<double>(plane % extents[PLANS])});
        table.x[row] = at.x();
        table.y[row] = at.y();
        table.z[row] = at.z();
        ++row;
    });
}

std::size_t memoryOf(const ContourLines2d& contours) {
    return Contours::bytes(*contours.getInputImage(), contours.getMaximumThreads());
}

constexpr algorithms::Definition<ContourLines2d> definition{
    .summary = "Finds the lines on which planes have a level.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
    .memoryIsExact = false,
};

}  // namespace

RIX_DEFINE_ALGORITHM(ContourLines2d, definition)

}  // namespace rix::geometry
