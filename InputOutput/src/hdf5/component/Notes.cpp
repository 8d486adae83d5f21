#include "Notes.h"

#include <algorithm>

namespace rix::io::hdf5 {
namespace {

constexpr const char* AxisNames = "DIMENSION_LABELS";  // of HDF5's own conventions for axes
constexpr std::size_t MostBytes = std::size_t{1} << 20U;

std::vector<std::string> readTexts(::hid_t attribute, ::hid_t type, std::size_t count) {
    std::vector<std::string> texts;
    if (::H5Tis_variable_str(type) > 0) {
        const Handle inMemory(::H5Tcopy(type), &::H5Tclose);
        const Handle space(::H5Aget_space(attribute), &::H5Sclose);
        std::vector<char*> pointers(count, nullptr);
        if (::H5Aread(attribute, inMemory, pointers.data()) >= 0) {
            for (const char* text : pointers) {
                texts.emplace_back(text != nullptr ? text : "");
            }
            ::H5Dvlen_reclaim(inMemory, space, H5P_DEFAULT, pointers.data());
        }
        return texts;
    }
    const std::size_t length = ::H5Tget_size(type);
    if (length == 0 || length > MostBytes / count) {
        return texts;
    }
    std::vector<char> bytes(length * count);
    if (::H5Aread(attribute, type, bytes.data()) >= 0) {
        for (std::size_t i = 0; i < count; ++i) {
            const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(i * length);
            const auto last = begin + static_cast<std::ptrdiff_t>(length);
            texts.emplace_back(begin, std::find(begin, last, '\0'));
        }
    }
    return texts;
}

::herr_t readNote(::hid_t dataSet, const char* name, const ::H5A_info_t* info, void* into) {
    auto& notes = *static_cast<Notes*>(into);
    const Handle attribute(::H5Aopen(dataSet, name, H5P_DEFAULT), &::H5Aclose);
    const Handle type(attribute ? ::H5Aget_type(attribute) : -1, &::H5Tclose);
    const Handle space(attribute ? ::H5Aget_space(attribute) : -1, &::H5Sclose);
    const ::hssize_t count = space ? ::H5Sget_simple_extent_npoints(space) : 0;
    if (!type || count <= 0 || count > 64 || info->data_size > MostBytes) {
        return 0;
    }
    const auto elements = static_cast<std::size_t>(count);
    if (::H5Tget_class(type) == H5T_STRING) {
        std::vector<std::string> texts = readTexts(attribute, type, elements);
        if (std::string(name) == AxisNames) {
            notes.axes = std::move(texts);
        } else if (texts.size() == 1) {
            notes.texts[name] = std::move(texts.front());
        }
    } else if (::H5Tget_class(type) == H5T_INTEGER || ::H5Tget_class(type) == H5T_FLOAT) {
        std::vector<double> numbers(elements);
        if (::H5Aread(attribute, H5T_NATIVE_DOUBLE, numbers.data()) >= 0) {
            notes.numbers[name] = std::move(numbers);
        }
    }
    return 0;
}

void writeNote(::hid_t dataSet, const char* name, ::hid_t type, ::hid_t space, const void* value) {
    const Handle attribute(::H5Acreate2(dataSet, name, type, space, H5P_DEFAULT, H5P_DEFAULT), &::H5Aclose);
    check(attribute && ::H5Awrite(attribute, type, value) >= 0, "What is known of the image cannot be noted");
}

Handle listOf(std::size_t count) {
    const ::hsize_t extent = count;
    return {::H5Screate_simple(1, &extent, nullptr), &::H5Sclose};
}

}  // namespace

Notes readNotes(::hid_t dataSet) {
    Notes notes;
    ::hsize_t index = 0;
    ::H5Aiterate2(dataSet, H5_INDEX_NAME, H5_ITER_NATIVE, &index, &readNote, &notes);
    const auto isUnnamed = [](const std::string& name) { return name.empty(); };
    if (std::any_of(notes.axes.begin(), notes.axes.end(), isUnnamed)) {
        notes.axes.clear();
    }
    return notes;
}

void writeNotes(::hid_t dataSet, const Notes& notes) {
    const Handle text(::H5Tcopy(H5T_C_S1), &::H5Tclose);
    check(text && ::H5Tset_size(text, H5T_VARIABLE) >= 0 && ::H5Tset_cset(text, H5T_CSET_UTF8) >= 0,
          "The type of texts cannot be made");
    const Handle one(::H5Screate(H5S_SCALAR), &::H5Sclose);
    for (const auto& [name, value] : notes.texts) {
        const char* const pointer = value.c_str();
        writeNote(dataSet, name.c_str(), text, one, &pointer);
    }
    for (const auto& [name, values] : notes.numbers) {
        writeNote(dataSet, name.c_str(), H5T_NATIVE_DOUBLE, listOf(values.size()), values.data());
    }
    if (!notes.axes.empty()) {
        std::vector<const char*> pointers;
        for (const std::string& name : notes.axes) {
            pointers.push_back(name.c_str());
        }
        writeNote(dataSet, AxisNames, text, listOf(pointers.size()), pointers.data());
    }
}

}  // namespace rix::io::hdf5
