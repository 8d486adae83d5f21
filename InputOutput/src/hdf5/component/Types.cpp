#include "Types.h"

#include <cstring>

namespace rix::io::hdf5 {
namespace {

bool isMember(::hid_t type, unsigned index, const char* first, const char* second) {
    char* const name = ::H5Tget_member_name(type, index);
    const bool is = name != nullptr && (std::strcmp(name, first) == 0 || std::strcmp(name, second) == 0);
    ::H5free_memory(name);
    return is;
}

/// An enumeration of two members, FALSE and TRUE, in a byte.
bool isBoolean(::hid_t type) {
    return ::H5Tget_class(type) == H5T_ENUM && ::H5Tget_size(type) == 1 && ::H5Tget_nmembers(type) == 2 &&
           isMember(type, 0, "FALSE", "false") && isMember(type, 1, "TRUE", "true");
}

bool isComplex(::hid_t type) {
    if (::H5Tget_class(type) != H5T_COMPOUND || ::H5Tget_nmembers(type) != 2 || !isMember(type, 0, "r", "real") ||
        !isMember(type, 1, "i", "imag")) {
        return false;
    }
    const Handle real(::H5Tget_member_type(type, 0), &::H5Tclose);
    const Handle imaginary(::H5Tget_member_type(type, 1), &::H5Tclose);
    return ::H5Tget_class(real) == H5T_FLOAT && ::H5Tequal(real, imaginary) > 0;
}

/// A pair of reals, one behind the other.
Handle pairOf(::hid_t real) {
    const std::size_t bytes = ::H5Tget_size(real);
    Handle pair(::H5Tcreate(H5T_COMPOUND, 2 * bytes), &::H5Tclose);
    check(pair && ::H5Tinsert(pair, "r", 0, real) >= 0 && ::H5Tinsert(pair, "i", bytes, real) >= 0,
          "The type of complex numbers cannot be made");
    return pair;
}

}  // namespace

std::optional<ElementType> elementTypeOf(::hid_t inFile) {
    ElementType type;
    if (isBoolean(inFile)) {
        type.isBoolean = true;
        type.inMemory = checked(::H5Tcopy(inFile), &::H5Tclose, "The type of the elements is damaged");
        return type;
    }
    const bool complex = isComplex(inFile);
    const ::H5T_class_t family = ::H5Tget_class(inFile);
    if (!complex && family != H5T_INTEGER && family != H5T_FLOAT) {
        return std::nullopt;
    }
    const Handle part(complex ? ::H5Tget_member_type(inFile, 0) : ::H5Tcopy(inFile), &::H5Tclose);
    type.inMemory = checked(::H5Tget_native_type(part, H5T_DIR_ASCEND), &::H5Tclose,
                            "The type of the elements has no counterpart on this machine");
    type.bytes = ::H5Tget_size(type.inMemory);
    type.kind = complex                                 ? StoredKind::Complex
                : family == H5T_FLOAT                   ? StoredKind::Floating
                : ::H5Tget_sign(inFile) == H5T_SGN_NONE ? StoredKind::Unsigned
                                                        : StoredKind::Signed;
    if (complex) {
        type.inMemory = pairOf(type.inMemory);
        type.bytes *= 2;
    }
    const std::size_t partBytes = type.bytes / (complex ? 2 : 1);
    const bool isKnown = partBytes == 4 || partBytes == 8 || (family == H5T_INTEGER && partBytes <= 2);
    return isKnown ? std::optional(std::move(type)) : std::nullopt;
}

Handle typeFor(StoredKind kind, std::size_t bytes) {
    const auto copy = [](::hid_t type) {
        return checked(::H5Tcopy(type), &::H5Tclose, "The type of the elements cannot be made");
    };
    switch (kind) {
        case StoredKind::Complex: return pairOf(typeFor(StoredKind::Floating, bytes / 2));
        case StoredKind::Floating: return copy(bytes == 4 ? H5T_NATIVE_FLOAT : H5T_NATIVE_DOUBLE);
        case StoredKind::Signed:
            return copy(bytes == 1 ? H5T_NATIVE_INT8 : bytes == 2 ? H5T_NATIVE_INT16 : H5T_NATIVE_INT32);
        default: return copy(bytes == 1 ? H5T_NATIVE_UINT8 : bytes == 2 ? H5T_NATIVE_UINT16 : H5T_NATIVE_UINT32);
    }
}

std::string nameOf(::hid_t inFile) {
    if (const auto type = elementTypeOf(inFile)) {
        constexpr const char* names[] = {"uint", "int", "float", "complex"};
        return type->isBoolean ? "bool" : names[static_cast<std::size_t>(type->kind)] + std::to_string(8 * type->bytes);
    }
    switch (::H5Tget_class(inFile)) {
        case H5T_INTEGER:
        case H5T_FLOAT: return "numbers of " + std::to_string(8 * ::H5Tget_size(inFile)) + " bits";
        case H5T_STRING: return "texts";
        case H5T_COMPOUND: return "records";
        case H5T_ENUM: return "an enumeration";
        case H5T_ARRAY: return "arrays";
        case H5T_VLEN: return "lists";
        case H5T_REFERENCE: return "references";
        case H5T_BITFIELD: return "bit fields";
        default: return "opaque bytes";
    }
}

}  // namespace rix::io::hdf5
