#include <rix/measurement/TableOfImage.h>

namespace rix::measurement {

namespace {

/// Calls `use` for the columns of numbers, of which tables are made.
template <class Use>
void forEachNumeric(const std::vector<BaseMeasurementArray*>& columns, const Use& use) {
    for (BaseMeasurementArray* const column : columns) {
        if (auto* const reals = dynamic_cast<MeasurementArray<double>*>(column)) {
            use(*reals);
        } else if (auto* const integers = dynamic_cast<MeasurementArray<std::int64_t>*>(column)) {
            use(*integers);
        }
    }
}

}  // namespace

TableOfImage::TableOfImage()
    : frame("Frame", "The frame that it is of."), channel("Channel", "The channel that it is of.") {}

void TableOfImage::reset(const ImageModel& image, std::size_t rows) {
    hasFrames = image.getNumOf(SEQUENCE) > 1;
    hasChannels = image.getNumOf(SPECTRAL_SERIES) > 1;
    forEachNumeric(allFilled(), [rows](auto& column) { column.reset(rows); });
    setUnits(image.getSpatialUnitName());
}

void TableOfImage::resize(std::size_t rows) {
    forEachNumeric(allFilled(), [rows](auto& column) { column.resize(rows); });
}

TableOfImage::Arrays TableOfImage::filled() {
    return columns();
}

TableOfImage::Arrays TableOfImage::allFilled() {
    Arrays all = filled();
    all.insert(all.end(), {&frame, &channel});
    return all;
}

std::vector<const BaseMeasurementArray*> TableOfImage::arrays() const {
    std::vector<const BaseMeasurementArray*> all;
    if (hasFrames) {
        all.push_back(&frame);
    }
    if (hasChannels) {
        all.push_back(&channel);
    }
    // The list is of a table that its owner may change; here it is only read.
    const Arrays others = const_cast<TableOfImage*>(this)->columns();
    all.insert(all.end(), others.begin(), others.end());
    return all;
}

TableOfPlaces::TableOfPlaces()
    : positionX("PositionX", "Column coordinate in the world."),
      positionY("PositionY", "Row coordinate in the world."),
      positionZ("PositionZ", "Plane coordinate in the world.") {}

void TableOfPlaces::reset(const ImageModel& image, std::size_t axes, std::size_t rows) {
    hasPlanes = axes == 3 || image.getNumOf(PLANS) > 1;
    TableOfImage::reset(image, rows);
}

TableOfImage::Arrays TableOfPlaces::columns() {
    Arrays all{&positionX, &positionY};
    if (hasPlanes) {
        all.push_back(&positionZ);
    }
    return all;
}

TableOfImage::Arrays TableOfPlaces::filled() {
    Arrays all = columns();
    if (!hasPlanes) {
        all.push_back(&positionZ);
    }
    return all;
}

void TableOfPlaces::setUnits(const String& unit) {
    for (auto* const array : {&positionX, &positionY, &positionZ}) {
        array->setUnit(unit);
    }
}

}  // namespace rix::measurement
