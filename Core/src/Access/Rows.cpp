#include <rix/access/Rows.h>

#include <algorithm>
#include <sstream>

#include <rix/exceptions/Exception.h>

namespace rix::access {

void throwRowError(const char* operation, const ImageModel& image, const RowSegment& segment) {
    UnexpectedError error(String("Error in ") + operation + " implementation, return value is false");
    std::ostringstream where;
    where << segment.count << " elements at column " << segment.column << ", row " << segment.row << ", plane "
          << segment.plane << ", sequence " << segment.sequence << ", spectral " << segment.spectral << " of "
          << image.getImageId() << ' ' << helper::describeImage(image);
    error.addInfoLevel(where.str());
    throw error;
}

void writeSegment(ImageModel& image, const RowSegment& segment, ConstRawData elements, RowKind kind) {
    const std::array<std::size_t, 5> extents = helper::getExtents(image);
    const std::size_t elementSize = helper::getElementSize(image);
    RowSegment part = segment;
    for (std::size_t done = 0; done < segment.count; done += part.count) {
        if (kind == RowKind::Joined) {
            std::size_t line = (segment.column + done) / extents[COLUMNS];
            part.column = (segment.column + done) % extents[COLUMNS];
            part.count = std::min(extents[COLUMNS] - part.column, segment.count - done);
            std::size_t* const coordinates[] = {&part.row, &part.plane, &part.sequence, &part.spectral};
            for (std::size_t axis = ROWS; axis <= SPECTRAL_SERIES; ++axis) {
                *coordinates[axis - 1] = line % extents[axis];
                line /= extents[axis];
            }
        }
        if (!image.writeRowAt(part.count, elements + done * elementSize, part.column, part.row, part.plane,
                              part.sequence, part.spectral)) {
            throwRowError("writeRowAt", image, part);
        }
    }
}

detail::RowLayout detail::rowLayoutOf(const ImageModel& image) {
    const RowLayout layout{image.getVoxelType(), helper::getElementNumber(image.getElementType()),
                           helper::getElementSize(image)};
    if (layout.elementSize == 0) {
        throw InvalidCall("The rows of image " + helper::describeImage(image) +
                          " cannot be accessed: its elements have no known type.");
    }
    return layout;
}

}  // namespace rix::access
