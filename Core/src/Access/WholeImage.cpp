#include <rix/access/WholeImage.h>

#include <rix/exceptions/Exception.h>

namespace rix::access {

bool needsCopy(const ImageModel& image, VoxelTypes voxelType) {
    const ConstRawData own = helper::contiguousSamples(image);
    return own == nullptr || image.getVoxelType() != voxelType || image.getInterpretation() == RIX_BINARY ||
           !isAligned(own, voxelType);
}

Scratch detail::wholeMemory(const ImageModel& image, std::size_t sampleBytes) {
    std::size_t bytes = 0;
    if (!helper::getElementCount(image, bytes) ||
        !helper::checkedMultiply(bytes, helper::getElementNumber(image.getElementType()), bytes) ||
        !helper::checkedMultiply(bytes, sampleBytes, bytes)) {
        throw MemoryError("The size of a copy of image " + helper::describeImage(image) + " does not fit 64 bits.");
    }
    return Scratch(bytes);
}

}  // namespace rix::access
