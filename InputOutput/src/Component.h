#pragma once

namespace rix::io {

// A component is a library of its own for a format whose library not everybody should have to have: it lies beside this
// one, is opened when a file of the format is, and stays open. Its name ends with the version of this library, so that
// one of another version is not even opened.

/// The function of a component that gives its interface.
/// @param component "hdf5" for liblumora_rix_io_hdf5-VERSION.so
/// @param format for messages
/// @throws LoadingError when the component is not there, or cannot be loaded
void* componentFunction(const char* component, const char* function, const char* format);

}  // namespace rix::io
