#include <rix/geometry/TableOfImage.h>

namespace rix::geometry {

TableOfImage::TableOfImage()
    : frame("Frame", "The frame that it is of."), channel("Channel", "The channel that it is of.") {}

void TableOfImage::reset(const ImageModel& image, std::size_t rows) {
    hasFrames = image.getNumOf(SEQUENCE) > 1;
    hasChannels = image.getNumOf(SPECTRAL_SERIES) > 1;
    frame.reset(hasFrames ? rows : 0);
    channel.reset(hasChannels ? rows : 0);
    for (measurement::BaseMeasurementArray* const array : columns()) {
        if (auto* const reals = dynamic_cast<measurement::MeasurementArray<double>*>(array)) {
            reals->reset(rows);
        } else if (auto* const integers = dynamic_cast<measurement::MeasurementArray<std::int64_t>*>(array)) {
            integers->reset(rows);
        }
    }
    setUnits(image.getSpatialUnitName());
}

std::vector<const measurement::BaseMeasurementArray*> TableOfImage::arrays() const {
    std::vector<const measurement::BaseMeasurementArray*> all;
    if (hasFrames) {
        all.push_back(&frame);
    }
    if (hasChannels) {
        all.push_back(&channel);
    }
    // The list is of a table that its owner may change; here it is only read.
    for (const measurement::BaseMeasurementArray* const array : const_cast<TableOfImage*>(this)->columns()) {
        all.push_back(array);
    }
    return all;
}

}  // namespace rix::geometry
