#include "DataSet.h"
#include "Notes.h"

namespace rix::io::hdf5 {
namespace {

std::string nameOfFilter(::H5Z_filter_t filter, const char* told) {
    switch (filter) {
        case H5Z_FILTER_DEFLATE: return "deflate";
        case H5Z_FILTER_SHUFFLE: return "shuffle";
        case H5Z_FILTER_FLETCHER32: return "checksums";
        case H5Z_FILTER_SZIP: return "szip";
        case H5Z_FILTER_NBIT: return "n-bit";
        case H5Z_FILTER_SCALEOFFSET: return "scale and offset";
        default: return "filter " + std::to_string(filter) + (told[0] != '\0' ? " " + std::string(told) : "");
    }
}

/// Refuses what lies outside of the file, and what no filter is there for.
void readStorage(::hid_t dataSet, Array& array) {
    const Handle made(::H5Dget_create_plist(dataSet), &::H5Pclose);
    check(static_cast<bool>(made), "The storage of the data set is not told");
    const ::H5D_layout_t layout = ::H5Pget_layout(made);
    if (layout == H5D_VIRTUAL || ::H5Pget_external_count(made) != 0) {
        throw std::runtime_error(
            "The samples lie in other files, which are not opened: a file must not lead to others of this machine.");
    }
    if (layout != H5D_CHUNKED) {
        array.storage = "no compression";
        return;
    }
    std::vector<::hsize_t> chunk(array.shape.size());
    check(::H5Pget_chunk(made, static_cast<int>(chunk.size()), chunk.data()) == static_cast<int>(chunk.size()),
          "The chunks of the data set are damaged");
    array.chunks.assign(chunk.begin(), chunk.end());
    const int filters = ::H5Pget_nfilters(made);
    for (int i = 0; i < filters; ++i) {
        char told[64]{};
        unsigned flags = 0;
        unsigned config = 0;
        std::size_t values = 0;
        const ::H5Z_filter_t filter =
            ::H5Pget_filter2(made, static_cast<unsigned>(i), &flags, &values, nullptr, sizeof(told), told, &config);
        const std::string name = nameOfFilter(filter, told);
        if (::H5Zfilter_avail(filter) <= 0) {
            throw std::runtime_error("The chunks are packed with " + name + ", which this libhdf5 does not have.");
        }
        array.storage += (array.storage.empty() ? "" : ", ") + name;
    }
    if (array.storage.empty()) {
        array.storage = "no compression";
    }
}

class Reader final : public Source {
public:
    Reader(DataSet dataSet, Array array, Notes notes)
        : m_dataSet(std::move(dataSet)), m_array(std::move(array)), m_notes(std::move(notes)) {}
    ~Reader() override { static_cast<void>(m_dataSet.close()); }

    const Array& array() const override { return m_array; }
    const Notes& notes() const override { return m_notes; }
    void read(const Region& region, const std::vector<std::size_t>& shape, void* elements) override {
        m_dataSet.read(region, shape, elements);
    }

private:
    DataSet m_dataSet;
    Array m_array;
    Notes m_notes;
};

struct Listing {
    std::vector<Listed> found;
    std::size_t most;
};

::herr_t listOne(::hid_t root, const char* name, const ::H5O_info_t* info, void* into) {
    auto& listing = *static_cast<Listing*>(into);
    if (info->type != H5O_TYPE_DATASET) {
        return 0;
    }
    const Handle dataSet(::H5Dopen2(root, name, H5P_DEFAULT), &::H5Dclose);
    const Handle type(dataSet ? ::H5Dget_type(dataSet) : -1, &::H5Tclose);
    if (!type) {
        return 0;
    }
    Listed one;
    one.name = std::string("/") + name;
    one.description = nameOf(type);
    const std::vector<std::size_t> shape = shapeOf(dataSet);
    for (std::size_t i = 0; i < shape.size(); ++i) {
        one.description += (i == 0 ? " of " : " x ") + std::to_string(shape[i]);
    }
    one.isImage = elementTypeOf(type).has_value() && shape.size() >= 2 && shape.size() <= 5;
    listing.found.push_back(std::move(one));
    return listing.found.size() == listing.most ? 1 : 0;
}

}  // namespace

std::vector<Listed> listDataSets(const std::string& path, std::size_t most) {
    const auto lock = enter();
    const Handle file = openFile(path);
    Listing listing{{}, most};
    check(::H5Ovisit2(file, H5_INDEX_NAME, H5_ITER_NATIVE, &listOne, &listing, H5O_INFO_BASIC) >= 0,
          "The data sets of the file cannot be listed");
    return std::move(listing.found);
}

std::unique_ptr<Source> openSource(const std::string& path, const std::string& name) {
    const auto lock = enter();
    Handle file = openFile(path);
    Handle dataSet = checked(::H5Dopen2(file, name.c_str(), accessToDataSets()), &::H5Dclose,
                             ("There is no data set '" + name + "' in the file").c_str());
    const Handle inFile(::H5Dget_type(dataSet), &::H5Tclose);
    Array array;
    array.shape = shapeOf(dataSet);
    auto type = elementTypeOf(inFile);
    if (!type) {
        throw std::runtime_error(
            "The data set '" + name + "' holds " + nameOf(inFile) +
            "; supported are bool, integers, and real and complex numbers of up to 64 bits a part.");
    }
    array.kind = type->kind;
    array.bytes = type->bytes;
    array.isBoolean = type->isBoolean;
    readStorage(dataSet, array);
    Notes notes = readNotes(dataSet);
    return std::make_unique<Reader>(DataSet(std::move(file), std::move(dataSet), std::move(*type)), std::move(array),
                                    std::move(notes));
}

}  // namespace rix::io::hdf5
