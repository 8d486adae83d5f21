#pragma once

#include <rix/Export.h>
#include <rix/String.h>

namespace rix::individual_analysis {

/// The physical dimension of a value: powers of a length and of a grey level. Angles are plain numbers (radians).
struct RIX_EXPORT Dimension {
    double length = 0.0;
    double intensity = 0.0;

    bool isPlainNumber() const;
    /// True when both powers agree; powers that differ by rounding only do.
    bool isSameAs(const Dimension& other) const;
    Dimension times(const Dimension& other) const;
    Dimension over(const Dimension& other) const;
    Dimension toThePower(double exponent) const;

    /// For messages: "a plain number", "length^2", "length * intensity^-1".
    String describe() const;
    /// The unit of a column: "mm^2". Grey levels have no unit of their own, and lengths of an image that names no
    /// spatial unit neither: their columns have an empty unit.
    String unit(const String& spatialUnitName) const;
};

}  // namespace rix::individual_analysis
