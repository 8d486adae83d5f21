#include "BoxJob.h"

#include <algorithm>

namespace rix::filtering::smoothing {

BoxAxis::BoxAxis(std::size_t axisExtent, std::size_t kernelSize, BoxBorder axisBorder)
    : extent(axisExtent), border(axisBorder) {
    const std::size_t lower = kernelSize / 2;
    if (border == BoxBorder::Zero) {
        reach = std::min(lower, extent - 1);
        window = reach + 1 + std::min(kernelSize - 1 - lower, extent - 1);
        return;
    }
    if (border == BoxBorder::Continue) {
        reach = lower;
        window = kernelSize;
        return;
    }
    const std::size_t period = 2 * extent;
    periods = (kernelSize - 1) / period;
    window = kernelSize - periods * period;
    reach = lower % period;
}

std::size_t BoxAxis::source(std::size_t element) const {
    if (border == BoxBorder::Zero) {
        return element >= reach && element - reach < extent ? element - reach : outside;
    }
    if (border == BoxBorder::Continue) {
        return element < reach ? 0 : std::min(element - reach, extent - 1);
    }
    const std::size_t period = 2 * extent;
    const std::size_t position = (element + period - reach) % period;
    return position < extent ? position : period - 1 - position;
}

WideInteger BoxJob::summed() const {
    WideInteger product = 1;
    for (const BoxAxis& axis : axes) {
        product *= static_cast<WideInteger>(axis.summed());
    }
    return product;
}

}  // namespace rix::filtering::smoothing
