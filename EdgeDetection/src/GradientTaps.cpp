#include "GradientTaps.h"

namespace rix::edge_detection {

FieldComponent differenceComponent(GradientMethod method, std::size_t axis, std::size_t axes, bool isMean,
                                   const std::array<double, 3>& units) {
    const LineTaps across = method == GradientMethod::SOBEL     ? LineTaps{{2.0, 1.0}}
                            : method == GradientMethod::SCHARR  ? LineTaps{{10.0, 3.0}}
                            : method == GradientMethod::PREWITT ? LineTaps{{1.0, 1.0}}
                                                                : LineTaps{};
    const double sum = across.half.size() == 1 ? 1.0 : across.half[0] + 2.0 * across.half[1];
    const bool isCentral = method == GradientMethod::CENTRAL_DIFFERENCES;
    FieldComponent component;
    for (std::size_t each = 0; each < axes; ++each) {
        component.taps[each] = isMean ? scaled(across, 1.0 / sum) : across;
    }
    const LineTaps difference{{0.0, isMean || isCentral ? 0.5 : 1.0}, true};
    component.taps[axis] = isMean ? scaled(difference, 1.0 / units[axis]) : difference;
    return component;
}

}  // namespace rix::edge_detection
