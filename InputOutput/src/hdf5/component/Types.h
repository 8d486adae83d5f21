#pragma once

#include <optional>

#include "../Hdf5Component.h"
#include "Handle.h"

namespace rix::io::hdf5 {

/// A type of elements in a file: what it is, and as what it is read here.
struct ElementType {
    StoredKind kind = StoredKind::Unsigned;
    std::size_t bytes = 1;
    bool isBoolean = false;
    Handle inMemory;
};

/// Numbers, booleans as h5py writes them, and complex numbers: pairs of reals r and i. Nothing for all others.
std::optional<ElementType> elementTypeOf(::hid_t inFile);
/// The type in which elements are written, in the byte order of this machine, which the file tells.
Handle typeFor(StoredKind kind, std::size_t bytes);
/// "uint16", or a word for what images do not have: "texts", "records".
std::string nameOf(::hid_t inFile);

}  // namespace rix::io::hdf5
