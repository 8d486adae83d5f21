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

}  // namespace rix::access
