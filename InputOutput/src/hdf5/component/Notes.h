#pragma once

#include "../Hdf5Component.h"
#include "Handle.h"

namespace rix::io::hdf5 {

/// The texts and numbers that are noted of a data set; what is neither, or is longer than notes are, is passed over.
Notes readNotes(::hid_t dataSet);
void writeNotes(::hid_t dataSet, const Notes& notes);

}  // namespace rix::io::hdf5
