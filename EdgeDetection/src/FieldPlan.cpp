#include "FieldPlan.h"

#include <algorithm>

namespace rix::edge_detection {

namespace {

/// Up to this reach along z sums are taken anew for each row of a window.
constexpr std::size_t shortReach = 1;

/// The place of an element for which `isLike` holds; a new one at the end where there is none.
template <class Element, class IsLike>
std::size_t placeOf(std::vector<Element>& list, const Element& element, const IsLike& isLike) {
    const auto found = std::find_if(list.begin(), list.end(), isLike);
    if (found != list.end()) {
        return static_cast<std::size_t>(found - list.begin());
    }
    list.push_back(element);
    return list.size() - 1;
}

}  // namespace

template <class T>
T FieldPlan<T>::Kernel::ofConstant(T value) const {
    if (isOdd) {
        return T{0};
    }
    T sum = 0;
    for (std::size_t k = half.size() - 1; k > 0; --k) {
        sum += half[k] * (value + value);
    }
    return half.size() == 1 ? half[0] * value : sum + half[0] * value;
}

template <class T>
FieldPlan<T>::FieldPlan(const FieldJob& job) : margin(job.margin) {
    std::vector<LineTaps> taps;
    const auto kernelOf = [&](const LineTaps& each) {
        const std::size_t place = placeOf(taps, each, [&](const LineTaps& other) { return other == each; });
        if (place == kernels.size()) {
            Kernel kernel{{}, each.isOdd, each.isIdentity()};
            std::transform(each.half.begin(), each.half.end(), std::back_inserter(kernel.half),
                           [](double tap) { return static_cast<T>(tap); });
            while (kernel.half.size() > 1 && kernel.half.back() == T(0)) {
                kernel.half.pop_back();
            }
            kernels.push_back(kernel);
        }
        return place;
    };
    for (const FieldComponent& component : job.components) {
        const std::size_t x = kernelOf(component.taps[0]);
        const std::size_t y = kernelOf(component.taps[1]);
        const std::size_t z = kernelOf(component.taps[2]);
        const bool isShort = kernels[z].reach() <= shortReach;
        const std::size_t ofWindow = isShort ? none : z;
        const std::size_t window = placeOf(windows, Window{component.source, ofWindow}, [&](const Window& other) {
            return other.source == component.source && other.kernel == ofWindow;
        });
        const std::size_t inWindow = isShort && !kernels[z].isIdentity ? z : none;
        const std::size_t plane =
            placeOf(planes, Plane{window, inWindow, component.source, z},
                    [&](const Plane& other) { return other.window == window && other.alongZ == z; });
        const std::size_t line = placeOf(lines, Line{plane, y},
                                         [&](const Line& other) { return other.plane == plane && other.kernel == y; });
        components.push_back({line, x});
        planes[plane].reachY = std::max(planes[plane].reachY, kernels[y].reach());
        windows[window].reachY = std::max(windows[window].reachY, kernels[y].reach() + margin[1]);
        windows[window].reachZ =
            std::max(windows[window].reachZ, (inWindow == none ? 0 : kernels[z].reach()) + margin[2]);
        reachX = std::max(reachX, kernels[x].reach() + margin[0]);
    }
    for (const Kernel& kernel : kernels) {
        mostRows = std::max(mostRows, 2 * kernel.reach() + 1);
    }
}

template <class T>
std::size_t FieldPlan<T>::temporaries() const {
    return static_cast<std::size_t>(
        std::count_if(windows.begin(), windows.end(), [](const Window& window) { return window.kernel != none; }));
}

template <class T>
double FieldPlan<T>::products() const {
    std::size_t sum = 0;
    for (const Plane& plane : planes) {
        sum += plane.kernel == none ? 0 : (2 * plane.reachY + 1) * kernels[plane.kernel].half.size();
    }
    for (const Line& line : lines) {
        sum += kernels[line.kernel].half.size();
    }
    for (const Component& component : components) {
        sum += kernels[component.kernel].half.size();
    }
    return static_cast<double>(sum);
}

template struct FieldPlan<float>;
template struct FieldPlan<double>;

}  // namespace rix::edge_detection
