// Both images of shapes: that of figures and that of bodies.

#include <rix/access/Steps.h>
#include <rix/rules/When.h>
#include <rix/synthesis/ShapesImage2d.h>
#include <rix/synthesis/ShapesImage3d.h>

#include "Generation.h"
#include "ShapeImages.h"

namespace rix::synthesis {

namespace {

class RuleShapes : public Rules<Property<String>> {
public:
    explicit RuleShapes(bool inSpace) : m_inSpace(inSpace) {}

    bool isIndividual() const override { return true; }
    void apply(Property<String>& property) override {
        std::optional<ShapeError> error;
        static_cast<void>(readShapes(property.get(), m_inSpace, error));
        if (error.has_value()) {
            rules::refuse(rules::parameterText(property) + " must list shapes, separated by semicolons.", error->text);
        }
    }
    String describe() const override { return "must list shapes: " + shapeForms(m_inSpace); }

private:
    bool m_inSpace;
};

template <class Generator>
constexpr bool isInSpace = std::is_same_v<Generator, ShapesImage3d>;

template <class Generator>
std::vector<Shape> shapesOf(const Generator& generator) {
    std::optional<ShapeError> error;
    return readShapes(generator.getShapes(), isInSpace<Generator>, error);
}

template <class Generator>
void declare(Generator& generator, algorithms::Properties& properties) {
    declareShape(generator, properties);
    generator.shapes = String(isInSpace<Generator> ? "BALL 16 10 2 8 200" : "DISK 16 10 8 200");
    properties.input(generator.shapes, "Shapes in world units, separated by semicolons.");
    generator.shapes.getImpl()->addRule(std::make_shared<RuleShapes>(isInSpace<Generator>));
    properties.input(generator.background, "The value where no shape is.", AddRuleAssertFinite());
    declareImage(generator, properties, "The shapes.");
    declareLabels(generator, properties, [&generator] { return shapesOf(generator).size(); });
}

template <class Generator>
void process(Generator& generator, OptimLevelType /*level*/) {
    const std::vector<Shape> shapes = shapesOf(generator);
    const ShapePainter painter(headerOf(generator), shapes);
    access::ExecutionContext& context = generator.executionContext();
    const access::Steps steps(context, generator.getOutputLabelImage() != nullptr ? 2 : 1);
    const double background = generator.getBackground();
    generate(generator, *generator.getOutputImage(), paintCost,
             [&](const access::Position& at, double* row, std::size_t count) {
                 std::fill_n(row, count, background);
                 painter.paint(at, row, count);
             });
    drawLabels(generator, painter);
    tellShapes(shapes, isInSpace<Generator>, *generator.getOutputMeasurement());
}

template <class Generator>
constexpr algorithms::Definition<Generator> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Composite,  // image, labels and table
        .declare = &declare<Generator>,
        .process = &process<Generator>,
        .memory =
            [](const Generator& generator) { return ShapePainter::bytes(headerOf(generator), shapesOf(generator)); },
    };
}

constexpr auto ofFigures =
    definitionOf<ShapesImage2d>("Draws discs, ellipses, boxes, tubes and rings between the voxels.");
constexpr auto ofBodies =
    definitionOf<ShapesImage3d>("Draws balls, ellipsoids, boxes, tubes and rings between the voxels.");

}  // namespace

RIX_DEFINE_ALGORITHM_ON(ImageGenerator, ShapesImage2d, algorithms::NoState, ofFigures)
RIX_DEFINE_ALGORITHM_ON(ImageGenerator, ShapesImage3d, algorithms::NoState, ofBodies)

}  // namespace rix::synthesis
