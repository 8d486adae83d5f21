#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/Export.h>
#include <rix/image/ImageModel.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::measurement {

/// A table whose rows are of the frames and channels of an image: where there are several, they are its first columns.
class RIX_EXPORT TableOfImage : public MeasurementObject {
public:
    MeasurementArray<std::int64_t> frame;    ///< a column where there are several, else 0
    MeasurementArray<std::int64_t> channel;  ///< a column where there are several, else 0

    bool hasFrames = false;
    bool hasChannels = false;

    /// Empties the table and gives it the columns for an image, and so many rows.
    void reset(const ImageModel& image, std::size_t rows);
    /// Keeps the rows that remain.
    void resize(std::size_t rows);
    void setFrame(std::size_t row, std::size_t ofFrame, std::size_t ofChannel) {
        frame[row] = static_cast<std::int64_t>(ofFrame);
        channel[row] = static_cast<std::int64_t>(ofChannel);
    }

protected:
    TableOfImage();
    using Arrays = std::vector<BaseMeasurementArray*>;
    /// The other columns.
    virtual Arrays columns() = 0;
    /// What has rows beside frames and channels: the columns, and what is told without being one.
    virtual Arrays filled();
    /// What is a length gets the unit of the image.
    virtual void setUnits(const String& unit) = 0;
    std::vector<const BaseMeasurementArray*> arrays() const override;

private:
    Arrays allFilled();
};

/// A table of places in the world of an image: positions along the image's own axes, in the unit of its spacings, in
/// voxels where all spacings are 0.
class RIX_EXPORT TableOfPlaces : public TableOfImage {
public:
    MeasurementArray<double> positionX;
    MeasurementArray<double> positionY;
    MeasurementArray<double> positionZ;  ///< a column of volumes and of several planes

    bool hasPlanes = false;

    /// Empties the table and gives it the columns for places in planes or volumes of an image, and so many rows.
    /// @param axes 2 or 3
    void reset(const ImageModel& image, std::size_t axes, std::size_t rows);
    void setPosition(std::size_t row, const std::array<double, 3>& world) {
        positionX[row] = world[0];
        positionY[row] = world[1];
        positionZ[row] = world[2];
    }

protected:
    TableOfPlaces();
    /// The positions; other tables append theirs.
    Arrays columns() override;
    Arrays filled() override;
    void setUnits(const String& unit) override;
};

}  // namespace rix::measurement
