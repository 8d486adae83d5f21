#pragma once

#include <array>
#include <cstddef>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/image/ImageModel.h>

namespace rix {

/// One extent an axis, indexed by `Components`.
using ComponentsSizes = std::array<std::size_t, RIX_COMPONENTS_SIZE>;
/// One value an axis, indexed by `Components`.
using ComponentsValues = std::array<double, RIX_COMPONENTS_SIZE>;
/// Three angles in radians: R = Rz(first) Rx(second) Rz(third).
using EulerAngles = std::array<double, 3>;

/// Where an image lies in the world, apart from the image: a value type.
class RIX_EXPORT ImageCalibration {
public:
    /// Everything 0 and empty.
    ImageCalibration();
    explicit ImageCalibration(const ImageModel& image);

    /// Takes extents, origins, spacings, unit names and orientation from the image.
    void init(const ImageModel& image);
    void clear();

    bool operator==(const ImageCalibration&) const = default;

    ComponentsSizes m_numOf;
    ComponentsValues m_originOf;
    ComponentsValues m_spacingOf;
    EulerAngles m_orientation;  ///< angles of the rotation that takes the image axes to their spatial directions
    String m_spatialUnitName;
    String m_sequenceUnitName;
};

/// The angles of the rotation whose columns are the column, row and slice direction: the inverse of the convention of
/// `fromImageToWorldMatrix`.
///
/// The second angle is in [0, pi], the others in [-pi, pi]. Where the second angle is 0 or pi, only the sum or the
/// difference of the others is defined: the third is then 0. Directions need not have length 1 nor be quite
/// perpendicular: the column direction counts, then the row direction's part perpendicular to it; the slice direction
/// does not count, because a rotation keeps the axes right-handed. Directions that span no plane give three times 0.
RIX_EXPORT EulerAngles getEulerAngles(const vessel::SpatialDirections& directions);

}  // namespace rix
