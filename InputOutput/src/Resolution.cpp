#include "Resolution.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Metadata.h"
#include "Units.h"

namespace rix::io {
namespace {

constexpr double MetresInInch = 0.0254;

/// Dots an inch that programs note unless told otherwise, and those of printing. Formats count whole pixels a metre
/// or a centimetre, so that they are met within half of one.
bool isForPrint(double x, double y) {
    constexpr std::array<double, 12> usual{72, 75, 90, 96, 100, 120, 144, 150, 200, 300, 600, 1200};
    const double perInch = x * MetresInInch;
    return x == y && std::any_of(usual.begin(), usual.end(),
                                 [&](double dots) { return std::abs(perInch - dots) <= std::max(0.02, dots * 2e-3); });
}

}  // namespace

void applyResolution(double x, double y, const ReadOptions& options, ImageFileInfo& info) {
    const double spacingX = 1000.0 / x;
    const double spacingY = 1000.0 / y;
    if (!isSpacing(x) || !isSpacing(y) || !isSpacing(spacingX) || !isSpacing(spacingY) ||
        (options.calibration != Calibration::All && isForPrint(x, y))) {
        return;
    }
    info.spacing[COLUMNS] = spacingX;
    info.spacing[ROWS] = spacingY;
    info.spatialUnitName = "mm";
}

std::optional<PixelsPerMetre> pixelsPerMetre(const ImageFileInfo& info) {
    constexpr double largest = 2147483647.0;
    const auto metres = metresOf(info.spatialUnitName);
    if (!metres) {
        return std::nullopt;
    }
    const double x = std::round(1.0 / (info.spacing[COLUMNS] * *metres));
    const double y = std::round(1.0 / (info.spacing[ROWS] * *metres));
    if (!(x >= 1.0 && x <= largest && y >= 1.0 && y <= largest)) {
        return std::nullopt;
    }
    return PixelsPerMetre{static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
}

}  // namespace rix::io
