#include "VoxelDtypes.h"

#include <array>
#include <string>

#include "Errors.h"

namespace py = pybind11;

namespace rix::python {
namespace {

using Api = py::detail::npy_api;

struct Entry {
    char kind;
    py::ssize_t size;
    VoxelTypes type;
    int number;  ///< NumPy's
};

constexpr std::array<Entry, 10> entries{{
    {'u', 1, RIX_UINT8, Api::NPY_UBYTE_},
    {'u', 2, RIX_UINT16, Api::NPY_USHORT_},
    {'u', 4, RIX_UINT32, Api::NPY_UINT_},
    {'i', 1, RIX_INT8, Api::NPY_BYTE_},
    {'i', 2, RIX_INT16, Api::NPY_SHORT_},
    {'i', 4, RIX_INT32, Api::NPY_INT_},
    {'f', 4, RIX_FLOAT32, Api::NPY_FLOAT_},
    {'f', 8, RIX_FLOAT64, Api::NPY_DOUBLE_},
    {'c', 8, RIX_COMPLEX_FLOAT32, Api::NPY_CFLOAT_},
    {'c', 16, RIX_COMPLEX_FLOAT64, Api::NPY_CDOUBLE_},
}};

/// What a user may convert to.
std::string advice(char kind, py::ssize_t size) {
    if (kind == 'u' && size == 8) {
        return "; if its values fit, .astype(numpy.uint32), else .astype(numpy.float64)";
    }
    if (kind == 'i' && size == 8) {
        return "; if its values fit, .astype(numpy.int32), else .astype(numpy.float64)";
    }
    if (kind == 'f') {
        return size == 2 ? "; .astype(numpy.float32) keeps all its values" : "; .astype(numpy.float64) is the nearest";
    }
    return {};
}

}  // namespace

VoxelDtype voxelTypeOf(const py::array& array) {
    const py::dtype dtype = array.dtype();
    const char kind = dtype.kind();
    if (kind == 'b') {
        return {RIX_UINT8, true};
    }
    for (const Entry& entry : entries) {
        if (entry.kind == kind && entry.size == dtype.itemsize()) {
            return {entry.type, false};
        }
    }
    throw WrongTypeError("a " + describeObject(array) +
                         " can't be an image: images hold bool, 8, 16 and 32-bit integers, 32 and 64-bit floats and "
                         "complex numbers of these, and nothing is converted unasked" +
                         advice(kind, dtype.itemsize()));
}

bool isNative(const py::array& array) {
    // NumPy writes the machine's own order as '=', and '|' where there is none.
    const char order = py::detail::array_descriptor_proxy(array.dtype().ptr())->byteorder;
    return order == '=' || order == '|';
}

py::dtype dtypeOf(VoxelTypes type, bool isBool) {
    if (isBool) {
        return py::dtype(Api::NPY_BOOL_);
    }
    for (const Entry& entry : entries) {
        if (entry.type == type) {
            return py::dtype(entry.number);
        }
    }
    throw WrongTypeError("there is no NumPy type for " + helper::voxelTypesToString(type));
}

}  // namespace rix::python
