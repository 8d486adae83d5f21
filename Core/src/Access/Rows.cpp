#include <rix/access/Rows.h>

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
