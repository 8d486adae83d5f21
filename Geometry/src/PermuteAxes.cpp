#include <rix/geometry/PermuteAxes.h>

#include <algorithm>
#include <memory>

#include "Mapped.h"
#include "PlaneLabels.h"

namespace rix::geometry {

namespace {

constexpr std::string_view axisLetters = "xyztc";

class RuleOrderOfAxes : public Rules<Property<String>> {
public:
    bool isIndividual() const override { return true; }
    void apply(Property<String>& property) override {
        const String& order = property.get();
        if (!std::is_permutation(order.begin(), order.end(), axisLetters.begin(), axisLetters.end())) {
            rules::refuse(rules::parameterText(property) +
                              " must name each of the axes x, y, z, t and c once, the new columns first.",
                          "It is \"" + order + "\".");
        }
    }
    String describe() const override { return "must name each of the axes x, y, z, t and c once"; }
};

AxisMaps mapsOf(const PermuteAxes& permutation) {
    const AxisMaps old = identityMaps(*permutation.getInputImage());
    const String order = permutation.getOrder();
    AxisMaps maps;
    std::transform(order.begin(), order.end(), maps.begin(),
                   [&](char letter) { return old[axisLetters.find(letter)]; });
    return maps;
}

using Image = Mapped<PermuteAxes, &mapsOf>;

void declare(PermuteAxes& permutation, algorithms::Properties& properties) {
    Image::declareInput(permutation, properties, "The image whose axes are exchanged.");
    permutation.order = String("yxztc");
    properties.input(permutation.order,
                     "Which old axis becomes the new columns, rows, planes, sequence and spectral series: five letters "
                     "out of x, y, z, t and c.");
    permutation.order.getImpl()->addRule(std::make_shared<RuleOrderOfAxes>());
    keepLabelsOfPlanes<PermuteAxes, &mapsOf>(permutation, permutation.order);
    Image::declareOutput(permutation, properties, "The image with its axes in that order.");
}

constexpr algorithms::Definition<PermuteAxes> definition{
    .summary = "Exchanges the axes of an image.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &Image::process,
};

}  // namespace

RIX_DEFINE_ALGORITHM(PermuteAxes, definition)

}  // namespace rix::geometry
