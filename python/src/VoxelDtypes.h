#pragma once

#include <pybind11/numpy.h>

#include <rix/image/ImageTypes.h>

namespace rix::python {

/// A NumPy type as the library knows it: bool is `uint8` with the meaning binary.
struct VoxelDtype {
    VoxelTypes type;
    bool isBool;
};

/// @throws WrongTypeError for types that images don't have, naming what to convert to
VoxelDtype voxelTypeOf(const pybind11::array& array);

/// Whether samples have the byte order of the machine.
bool isNative(const pybind11::array& array);

pybind11::dtype dtypeOf(VoxelTypes type, bool isBool);

}  // namespace rix::python
