#pragma once

#include "RawSamples.h"

namespace rix::io {

/// What the header of a NRRD file says. @throws LoadingError
RawLayout readNrrdHeader(InputFile& file, const ReadOptions& options);

}  // namespace rix::io
