#include "LaidKernel.h"

#include <algorithm>
#include <utility>

#include <rix/access/Rows.h>

namespace rix::filtering::linear {

LaidKernel::LaidKernel(const KernelExtents& kernelExtents, std::vector<double> kernelWeights, ConvolutionMode mode)
    : extents(kernelExtents), weights(std::move(kernelWeights)) {
    const bool turned = mode == ConvolutionMode::CONVOLUTION;
    for (std::size_t axis = 0; axis < extents.size(); ++axis) {
        before[axis] = turned ? extents[axis] - 1 - extents[axis] / 2 : extents[axis] / 2;
    }
    if (turned) {
        std::reverse(weights.begin(), weights.end());
    }
}

access::Reach LaidKernel::reach() const {
    const auto axis = [this](std::size_t i) { return access::Reach::Axis{before[i], extents[i] - 1 - before[i]}; };
    return {axis(0), axis(1), axis(2)};
}

std::vector<double> weightsOf(const ImageModel& image) {
    const auto extents = helper::getExtents(image);
    std::vector<double> weights;
    weights.reserve(extents[COLUMNS] * extents[ROWS] * extents[PLANS]);
    access::RowReader<double> reader(image);
    for (std::size_t plane = 0; plane < extents[PLANS]; ++plane) {
        for (std::size_t row = 0; row < extents[ROWS]; ++row) {
            const double* const samples = reader.read({{0, row, plane, 0, 0}, extents[COLUMNS]});
            weights.insert(weights.end(), samples, samples + extents[COLUMNS]);
        }
    }
    return weights;
}

}  // namespace rix::filtering::linear
