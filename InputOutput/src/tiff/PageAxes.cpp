#include "PageAxes.h"

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

PagePosition positionOfPage(std::size_t page, const PageAxes& axes) {
    PagePosition position;
    for (const PageAxis axis : axes.order) {
        (axis == PageAxis::Channel ? position.channel
         : axis == PageAxis::Slice ? position.slice
                                   : position.frame) = page % axes.extentOf(axis);
        page /= axes.extentOf(axis);
    }
    return position;
}

}  // namespace rix::io
