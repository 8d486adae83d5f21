#include "FieldPlan.h"

#include <algorithm>

namespace rix::edge_detection {

namespace {

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
FieldPlan<T>::FieldPlan(const FieldJob& job) : margin(job.margin), border(job.border), borderValue(job.borderValue) {
    std::vector<LineTaps> taps;
    const auto kernelOf = [&](const FieldComponent& component, std::size_t axis) {
        const LineTaps& each = component.taps[axis];
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
        reach[axis] = std::max(reach[axis], kernels[place].reach());
        return place;
    };
    std::vector<std::size_t> alongZ;  // of each field of a sum
    for (const FieldComponent& component : job.components) {
        const std::size_t x = kernelOf(component, 0);
        const std::size_t y = kernelOf(component, 1);
        const std::size_t z = kernelOf(component, 2);
        isFlat = isFlat && kernels[z].isIdentity;
        sources = std::max(sources, component.source + 1);
        const std::size_t line = placeOf(lines, Line{component.source, x}, [&](const Line& other) {
            return other.source == component.source && other.kernel == x;
        });
        if (job.isSum) {
            const std::size_t field = placeOf(alongZ, z, [&](std::size_t other) { return other == z; });
            fields.resize(alongZ.size());
            fields[field].push_back({line, y});
            continue;
        }
        const std::size_t field = placeOf(
            fields, Sum{{line, y}}, [&](const Sum& other) { return other[0].of == line && other[0].kernel == y; });
        components.push_back({{field, z}});
    }
    if (job.isSum) {
        components.resize(1);
        for (std::size_t field = 0; field < fields.size(); ++field) {
            components[0].push_back({field, alongZ[field]});
        }
    }
}

template <class T>
T FieldPlan<T>::beyond(const Sum& field) const {
    T sum = 0;
    for (const Term& term : field) {
        const T line = kernels[lines[term.of].kernel].ofConstant(static_cast<T>(borderValue));
        sum += kernels[term.kernel].ofConstant(line);
    }
    return sum;
}

template <class T>
double FieldPlan<T>::products() const {
    std::size_t count = 0;
    for (const Line& line : lines) {
        count += kernels[line.kernel].half.size();
    }
    for (const std::vector<Sum>* const sums : {&fields, &components}) {
        for (const Sum& sum : *sums) {
            for (const Term& term : sum) {
                count += kernels[term.kernel].half.size();
            }
        }
    }
    return static_cast<double>(count);
}

template struct FieldPlan<float>;
template struct FieldPlan<double>;

}  // namespace rix::edge_detection
