#include "PlanImages.h"

#include <rix/exceptions/Exception.h>
#include <rix/image/RowRefusals.h>
#include <rix/io/ChunkedFile.h>

#include "../Failure.h"
#include "../ImageFiles.h"
#include "../ImageRows.h"

namespace rix::cli {

std::unique_ptr<ImageModel> openObject(const Plan& plan, const std::string& object) {
    const auto input = plan.inputs.find(object);
    if (input != plan.inputs.end()) {
        return openForParts(input->second.name);
    }
    try {
        return io::openImage(plan.imageOf(object));
    } catch (const Exception& exception) {
        throw Failure(UNREADABLE_INPUT, exception);
    }
}

std::unique_ptr<io::MemoryImage> copyOf(const ImageModel& image, const Box& box) {
    ImageHeader header = helper::headerOf(image);
    const std::size_t channels = header.extents[SPECTRAL_SERIES];
    header.extents = box.count;
    header.extents[SPECTRAL_SERIES] = channels;
    auto copy = std::make_unique<io::MemoryImage>();
    if (!helper::applyHeader(header, *copy)) {
        throw Failure(RUN_FAILED, "there is not enough memory for the block's images");
    }
    const std::size_t rowBytes =
        box.count[COLUMNS] * helper::getSizeOf(header.voxelType) * helper::getElementNumber(header.elementType);
    RawData row = copy->getInternalBuffer();
    const auto& first = box.first;
    forEachRow(header.extents, [&](std::size_t y, std::size_t z, std::size_t t, std::size_t c) {
        if (!image.readRowAt(box.count[COLUMNS], row, first[COLUMNS], first[ROWS] + y, first[PLANS] + z,
                             first[SEQUENCE] + t, c)) {
            throw Failure(UNREADABLE_INPUT,
                          "a row of " + image.getImageId() + " can't be read. " + helper::takeRowRefusal());
        }
        row += rowBytes;
    });
    return copy;
}

}  // namespace rix::cli
