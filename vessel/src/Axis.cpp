#include <vessel/Axis.h>

#include <algorithm>

namespace vessel {

std::optional<std::size_t> findAxis(const std::vector<Axis>& axes, AxisName name) noexcept {
    for (std::size_t i = 0; i < axes.size(); ++i) {
        if (axes[i].name == name) {
            return i;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> countElements(const std::vector<Axis>& axes) noexcept {
    // An empty axis makes the image empty, however large the others are.
    if (std::any_of(axes.begin(), axes.end(), [](const Axis& axis) { return axis.extent == 0; })) {
        return 0;
    }
    std::size_t count = 1;
    for (const Axis& axis : axes) {
        if (__builtin_mul_overflow(count, axis.extent, &count)) {
            return std::nullopt;
        }
    }
    return count;
}

}  // namespace vessel
