#pragma once

#include <rix/synthesis/ImageGenerator.h>

#include "Testing.h"

namespace rix::test {

/// Makes the image of a generator of that size.
inline io::MemoryImage madeBy(synthesis::ImageGenerator& generator, const std::array<std::int64_t, 5>& extents) {
    io::MemoryImage image;
    generator.setSizeX(extents[0]);
    generator.setSizeY(extents[1]);
    generator.setSizeZ(extents[2]);
    generator.setSizeT(extents[3]);
    generator.setSizeC(extents[4]);
    generator.setOutputImage(&image);
    generator.run();
    return image;
}

/// The samples of an image as doubles, in storage order.
inline std::vector<double> valuesOf(const io::MemoryImage& image) {
    std::size_t count = 0;
    if (!helper::getElementCount(image, count)) {
        return {};
    }
    std::vector<double> values(count);
    access::castRowFrom(image.getVoxelType(), image.getInternalBuffer(), values.data(), count);
    return values;
}

}  // namespace rix::test
