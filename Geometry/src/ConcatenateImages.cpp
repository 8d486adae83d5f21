#include <rix/geometry/ConcatenateImages.h>

#include <rix/properties/EnumInfo.h>

#include "Joined.h"

namespace rix::geometry {

namespace {

Components axisOf(const ConcatenateImages& concatenation) {
    return static_cast<Components>(concatenation.getAxis());
}

class RuleJoinsImages : public Rules<Property<int>> {
public:
    explicit RuleJoinsImages(const ConcatenateImages& concatenation) : m_concatenation(concatenation) {}
    void apply(Property<int>& /*property*/) override {
        assertJoinable(imagesOf(m_concatenation), axisOf(m_concatenation));
    }
    String describe() const override { return "must be the only axis on which the extents of the images differ"; }

private:
    const ConcatenateImages& m_concatenation;
};

void declare(ConcatenateImages& concatenation, algorithms::Properties& properties) {
    declareImages(concatenation, properties);
    properties.input(concatenation.axis, "The axis along which the images follow each other.");
    concatenation.axis.getImpl()->addRule(std::make_shared<RuleJoinsImages>(concatenation));
    declareJoined(concatenation, properties, "The images behind each other.", &axisOf);
}

void process(ConcatenateImages& concatenation, OptimLevelType level) {
    join(concatenation.executionContext(), imagesOf(concatenation), axisOf(concatenation),
         *concatenation.getOutputImage(), level);
}

constexpr algorithms::Definition<ConcatenateImages> definition{
    .summary = "Puts images one behind the other along an axis.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &process,
};

}  // namespace

const EnumInfo& ConcatenateImages::getInfoAxis() {
    static const EnumInfo info("Axis", "COLUMNS = 0, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES");
    return info;
}

RIX_DEFINE_ALGORITHM(ConcatenateImages, definition)

}  // namespace rix::geometry
