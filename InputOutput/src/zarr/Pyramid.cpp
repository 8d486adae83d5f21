#include "Pyramid.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <rix/access/SampleCast.h>
#include <rix/access/VoxelTypeLists.h>

#include "../SampleRows.h"

namespace rix::io {
namespace {

constexpr std::size_t SmallEnough = 256;  // a picture that a program shows at once

ImageHeader reducedHeader(const ImageModel& image, const Extents& factors, bool takesFirst) {
    ImageHeader header = helper::headerOf(image);
    for (std::size_t axis = 0; axis < factors.size(); ++axis) {
        const auto factor = static_cast<double>(factors[axis]);
        // The middle of the first group; along the axes of the image, as the format counts.
        header.origin[axis] += takesFirst ? 0.0 : (factor - 1.0) / 2.0 * header.spacing[axis];
        header.spacing[axis] *= factor;
        header.extents[axis] = (header.extents[axis] + factors[axis] - 1) / factors[axis];
    }
    return header;
}

bool takesFirstOf(const ImageModel& image) {
    return image.getInterpretation() != RIX_VALUE || !access::contains(access::Reals{}, image.getVoxelType());
}

}  // namespace

Extents nextFactors(const ImageHeader& header) {
    Extents factors{1, 1, 1, 1, 1};
    for (const std::size_t axis : {std::size_t{COLUMNS}, std::size_t{ROWS}}) {
        factors[axis] = header.extents[axis] > 1 ? 2 : 1;
    }
    const bool areClose = header.spacing[PLANS] < 2.0 * header.spacing[COLUMNS];
    factors[PLANS] = header.extents[PLANS] > 1 && areClose ? 2 : 1;
    return factors;
}

bool needsLevel(const Extents& extents) {
    return std::max(extents[COLUMNS], extents[ROWS]) > SmallEnough;
}

ReducedImage::ReducedImage(const ImageModel& image, const Extents& factors)
    : HeaderImage(reducedHeader(image, factors, takesFirstOf(image))),
      m_image(image),
      m_factors(factors),
      m_takesFirst(takesFirstOf(image)) {}

bool ReducedImage::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                             std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const {
    const std::size_t factor = m_factors[COLUMNS];
    const std::size_t column = firstCols * factor;
    const std::size_t count = std::min(nbElement * factor, m_image.getNumOf(COLUMNS) - column);
    const std::size_t size = helper::getSizeOf(getVoxelType());
    std::vector<std::uint8_t> row(count * size);
    const auto read = [&](std::size_t y, std::size_t z) {
        return m_image.readRowAt(count, row.data(), column, y, z, firstSequence, firstSpectralSeries);
    };
    const std::size_t y = firstRows * m_factors[ROWS];
    const std::size_t z = firstPlans * m_factors[PLANS];
    if (m_takesFirst) {
        const bool isRead = read(y, z);
        copySamples(row.data(), factor, buffer, 1, isRead ? nbElement : 0, size);
        return isRead;
    }
    const std::size_t rows = std::min(m_factors[ROWS], m_image.getNumOf(ROWS) - y);
    const std::size_t planes = std::min(m_factors[PLANS], m_image.getNumOf(PLANS) - z);
    std::vector<double> sums(nbElement);
    std::vector<double> samples(count);
    for (std::size_t i = 0; i < rows * planes; ++i) {
        if (!read(y + i % rows, z + i / rows)) {
            return false;
        }
        access::castRowFrom<double>(getVoxelType(), row.data(), samples.data(), count);
        for (std::size_t j = 0; j < count; ++j) {
            sums[j / factor] += samples[j];
        }
    }
    const bool isInteger = access::contains(access::Integers{}, getVoxelType());
    for (std::size_t i = 0; i < nbElement; ++i) {
        const std::size_t columns = std::min(factor, count - i * factor);
        const double mean = sums[i] / static_cast<double>(columns * rows * planes);
        sums[i] = isInteger ? std::floor(mean + 0.5) : mean;
    }
    access::castSamples(RIX_FLOAT64, reinterpret_cast<ConstRawData>(sums.data()), getVoxelType(), buffer, nbElement);
    return true;
}

}  // namespace rix::io
