#include "FourierGeometry.h"

#include <rix/rules/SpacingRules.h>

namespace rix::filtering::frequency {

namespace {

/// Between neighbouring coefficients of so many samples, or back. An image without spacings has them at distance 1.
double reciprocalSpacing(std::size_t count, double spacing) {
    return 1.0 / (static_cast<double>(count) * (rules::isDivisor(spacing) ? spacing : 1.0));
}

bool isCompound(const String& unit) {
    return unit.find_first_of("/* ") != String::npos;
}

/// "mm" and "1/mm", "m/s" and "1/(m/s)"; none stays none.
String reciprocalUnit(const String& unit) {
    if (unit.empty()) {
        return unit;
    }
    if (unit.starts_with("1/(") && unit.ends_with(')')) {
        return unit.substr(3, unit.size() - 4);
    }
    if (unit.starts_with("1/") && !isCompound(unit.substr(2))) {
        return unit.substr(2);
    }
    return isCompound(unit) ? "1/(" + unit + ')' : "1/" + unit;
}

}  // namespace

VoxelTypes spectrumTypeOf(VoxelTypes samples) {
    return samples == RIX_FLOAT64 || samples == RIX_COMPLEX_FLOAT64 ? RIX_COMPLEX_FLOAT64 : RIX_COMPLEX_FLOAT32;
}

VoxelTypes resultTypeOf(VoxelTypes coefficients, InverseResult result) {
    const VoxelTypes type = spectrumTypeOf(coefficients);
    if (result == InverseResult::COMPLEX) {
        return type;
    }
    return type == RIX_COMPLEX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

ImageHeader headerOfSpectrum(const ImageModel& samples, std::size_t axes, SpectrumLayout layout,
                             SpectrumOrigin origin) {
    ImageHeader header = helper::headerOf(samples);
    const bool half = layout == SpectrumLayout::HALF;
    SpatialFrame frame{.columns = header.extents[COLUMNS]};
    for (std::size_t axis = 0; axis < frame.origin.size(); ++axis) {
        frame.origin[axis] = header.origin[axis];
        frame.spacing[axis] = header.spacing[axis];
    }
    for (std::size_t axis = 0; axis < axes; ++axis) {
        const std::size_t count = header.extents[axis];
        const bool centered = origin == SpectrumOrigin::CENTER && !(half && axis == COLUMNS);
        header.spacing[axis] = reciprocalSpacing(count, header.spacing[axis]);
        // Adding makes 0 of -0.
        header.origin[axis] = 0.0 - (centered ? static_cast<double>(count / 2) : 0.0) * header.spacing[axis];
    }
    if (half) {
        header.extents[COLUMNS] = header.extents[COLUMNS] / 2 + 1;
    }
    header.voxelType = spectrumTypeOf(header.voxelType);
    header.interpretation = RIX_VALUE;
    header.spatialUnitName = reciprocalUnit(header.spatialUnitName);
    header.spatialFrame = frame;
    return header;
}

std::size_t columnsOfSamples(const ImageModel& coefficients, SpectrumLayout layout, std::size_t asked) {
    const std::size_t columns = coefficients.getNumOf(COLUMNS);
    if (layout == SpectrumLayout::FULL) {
        return columns;
    }
    if (asked != 0) {
        return asked;
    }
    const auto frame = helper::getSpatialFrame(coefficients);
    if (frame && frame->columns / 2 + 1 == columns) {
        return frame->columns;
    }
    return columns == 1 ? 1 : 2 * (columns - 1);
}

ImageHeader headerOfSamples(const ImageModel& coefficients, std::size_t axes, std::size_t columns,
                            InverseResult result) {
    ImageHeader header = helper::headerOf(coefficients);
    header.extents[COLUMNS] = columns;
    for (std::size_t axis = 0; axis < axes; ++axis) {
        const std::size_t count = header.extents[axis];
        const double spacing = header.spacing[axis];
        header.spacing[axis] = reciprocalSpacing(count, spacing);
        header.origin[axis] = 0.0;
        if (header.spatialFrame) {
            header.origin[axis] = header.spatialFrame->origin[axis];
            // What was kept is free of rounding; but who changed the frequencies changed the samples, too.
            if (reciprocalSpacing(count, header.spatialFrame->spacing[axis]) == spacing) {
                header.spacing[axis] = header.spatialFrame->spacing[axis];
            }
        }
    }
    header.voxelType = resultTypeOf(header.voxelType, result);
    header.interpretation = RIX_VALUE;
    header.spatialUnitName = reciprocalUnit(header.spatialUnitName);
    header.spatialFrame.reset();
    return header;
}

}  // namespace rix::filtering::frequency
