#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/Export.h>
#include <rix/image/ImageModel.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::geometry {

/// A table whose rows are of the frames and channels of an image: where there are several, they are its first columns.
class RIX_EXPORT TableOfImage : public measurement::MeasurementObject {
public:
    measurement::MeasurementArray<std::int64_t> frame;    ///< a column where there are several
    measurement::MeasurementArray<std::int64_t> channel;  ///< a column where there are several

    bool hasFrames = false;
    bool hasChannels = false;

    /// Empties the table and gives it the columns for an image, and so many rows.
    void reset(const ImageModel& image, std::size_t rows);

protected:
    TableOfImage();
    using Arrays = std::vector<measurement::BaseMeasurementArray*>;
    /// The other columns. Their units may be those of the image.
    virtual Arrays columns() = 0;
    virtual void setUnits(const String& unit) = 0;
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;
};

}  // namespace rix::geometry
