#include "PageAxes.h"

#include <algorithm>

#include <rix/image/ImageTypes.h>

namespace rix::io {

std::optional<std::size_t> PageAxes::pages() const {
    std::size_t product = 0;
    if (!helper::checkedMultiply(channels, slices, product) || !helper::checkedMultiply(product, frames, product)) {
        return std::nullopt;
    }
    return product;
}

std::size_t PageAxes::extentOf(PageAxis axis) const {
    return axis == PageAxis::Channel ? channels : axis == PageAxis::Slice ? slices : frames;
}

void PageAxes::setExtentOf(PageAxis axis, std::size_t extent) {
    (axis == PageAxis::Channel ? channels : axis == PageAxis::Slice ? slices : frames) = extent;
}

std::array<PageAxis, 3> orderFrom(std::span<const PageAxis> first) {
    std::array<PageAxis, 3> order{};
    auto end = std::copy(first.begin(), first.end(), order.begin());
    for (const PageAxis axis : PageAxes().order) {
        if (std::find(first.begin(), first.end(), axis) == first.end()) {
            *end++ = axis;
        }
    }
    return order;
}

PagePosition positionOfPage(std::size_t page, const PageAxes& axes) {
    PagePosition position;
    for (const PageAxis axis : axes.order) {
        position.of(axis) = page % axes.extentOf(axis);
        page /= axes.extentOf(axis);
    }
    return position;
}

}  // namespace rix::io
