#pragma once

#include "TiffLayout.h"

namespace rix::io {

/// Gives the pages the axes of a selection, if it has some, whatever the file says: as many letters as it has axes of
/// pages rename these; with numbers of elements, or a single letter, the pages are counted anew in their order.
/// Calibration stays with the names of axes.
/// @throws LoadingError when the axes don't make up the pages
void renamePages(const Selection& selection, TiffLayout& layout);

}  // namespace rix::io
