#include <rix/geometry/Crop.h>

#include "Mapped.h"
#include "WithinImage.h"

namespace rix::geometry {

namespace {

using Index = Property<std::int64_t>;

/// What is cut of an axis.
struct Cut {
    const char* firstText;
    const char* countText;
    algorithms::BoundProperty<Index> Crop::* first;
    algorithms::BoundProperty<Index> Crop::* count;
};

constexpr std::array<Cut, RIX_COMPONENTS_SIZE> cuts{{
    {"The first column of the box.", "Columns of the box; 0: to the end.", &Crop::firstColumn, &Crop::columns},
    {"The first row of the box.", "Rows of the box; 0: to the end.", &Crop::firstRow, &Crop::rows},
    {"The first plane of the box.", "Planes of the box; 0: to the end.", &Crop::firstPlane, &Crop::planes},
    {"The first frame of the box.", "Frames of the box; 0: to the end.", &Crop::firstFrame, &Crop::frames},
    {"The first channel of the box.", "Channels of the box; 0: to the end.", &Crop::firstChannel, &Crop::channels},
}};

AxisMaps mapsOf(const Crop& crop) {
    AxisMaps maps;
    for (std::size_t axis = 0; axis < maps.size(); ++axis) {
        maps[axis] = cutMap(*crop.getInputImage(), static_cast<Components>(axis), (crop.*cuts[axis].first).get(),
                            (crop.*cuts[axis].count).get());
    }
    return maps;
}

using Image = Mapped<Crop, &mapsOf>;

void declare(Crop& crop, algorithms::Properties& properties) {
    Image::declareInput(crop, properties, "The image that is cut.");
    for (std::size_t axis = 0; axis < cuts.size(); ++axis) {
        properties.input(crop.*cuts[axis].first, cuts[axis].firstText,
                         AddRuleIndexWithin(&crop.inputImage, static_cast<Components>(axis)));
    }
    for (std::size_t axis = 0; axis < cuts.size(); ++axis) {
        properties.input(
            crop.*cuts[axis].count, cuts[axis].countText,
            AddRuleCountWithin(&crop.inputImage, static_cast<Components>(axis), &(crop.*cuts[axis].first)));
    }
    Image::declareOutput(crop, properties, "The box.");
}

constexpr algorithms::Definition<Crop> definition{
    .summary = "Cuts a box out of an image.",
    .kind = AlgorithmKind::Geometry,
    .declare = &declare,
    .process = &Image::process,
};

}  // namespace

RIX_DEFINE_ALGORITHM(Crop, definition)

}  // namespace rix::geometry
