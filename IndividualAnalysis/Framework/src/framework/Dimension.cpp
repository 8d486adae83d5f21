#include <rix/individual_analysis/Dimension.h>

#include <cmath>
#include <sstream>

namespace rix::individual_analysis {

namespace {

/// Powers come from a few roots and powers of small numbers: anything closer is rounding.
constexpr double sameExponent = 1e-9;

bool isZero(double exponent) {
    return std::abs(exponent) < sameExponent;
}

String power(const String& base, double exponent) {
    if (isZero(exponent - 1.0)) {
        return base;
    }
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << base << '^' << exponent;
    return text.str();
}

}  // namespace

bool Dimension::isPlainNumber() const {
    return isZero(length) && isZero(intensity);
}

bool Dimension::isSameAs(const Dimension& other) const {
    return isZero(length - other.length) && isZero(intensity - other.intensity);
}

Dimension Dimension::times(const Dimension& other) const {
    return {length + other.length, intensity + other.intensity};
}

Dimension Dimension::over(const Dimension& other) const {
    return {length - other.length, intensity - other.intensity};
}

Dimension Dimension::toThePower(double exponent) const {
    return {length * exponent, intensity * exponent};
}

String Dimension::describe() const {
    if (isPlainNumber()) {
        return "a plain number";
    }
    String text = isZero(length) ? String() : power("length", length);
    if (!isZero(intensity)) {
        text += (text.empty() ? "" : " * ") + power("intensity", intensity);
    }
    return text;
}

String Dimension::unit(const String& spatialUnitName) const {
    return isZero(length) || spatialUnitName.empty() ? String() : power(spatialUnitName, length);
}

}  // namespace rix::individual_analysis
