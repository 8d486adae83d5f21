#include "DataSet.h"

namespace rix::io::hdf5 {
namespace {

std::vector<::hsize_t> toSizes(const std::vector<std::size_t>& numbers) {
    return {numbers.begin(), numbers.end()};
}

Handle selected(Handle space, const std::vector<std::size_t>& first, const std::vector<std::size_t>& count) {
    check(space && (first.empty() || ::H5Sselect_hyperslab(space, H5S_SELECT_SET, toSizes(first).data(), nullptr,
                                                           toSizes(count).data(), nullptr) >= 0),
          "The region of the data set cannot be selected");
    return space;
}

struct Transfer {
    Transfer(::hid_t dataSet, const Region& region, const std::vector<std::size_t>& shape)
        : inFile(selected({::H5Dget_space(dataSet), &::H5Sclose}, region.first, region.count)),
          inMemory(selected(
              {::H5Screate_simple(static_cast<int>(shape.size()), toSizes(shape).data(), nullptr), &::H5Sclose},
              std::vector<std::size_t>(shape.size(), 0), region.count)) {}

    Handle inFile;
    Handle inMemory;
};

::herr_t refuseLink(const char*, const char*, const char*, const char*, unsigned*, ::hid_t, void*) {
    return -1;
}

}  // namespace

void DataSet::read(const Region& region, const std::vector<std::size_t>& shape, void* elements) const {
    const auto lock = enter();
    const Transfer transfer(m_dataSet, region, shape);
    check(::H5Dread(m_dataSet, m_type.inMemory, transfer.inMemory, transfer.inFile, H5P_DEFAULT, elements) >= 0,
          "The data set cannot be read");
}

void DataSet::write(const Region& region, const std::vector<std::size_t>& shape, const void* elements) const {
    const auto lock = enter();
    const Transfer transfer(m_dataSet, region, shape);
    check(::H5Dwrite(m_dataSet, m_type.inMemory, transfer.inMemory, transfer.inFile, H5P_DEFAULT, elements) >= 0,
          "The data set cannot be written");
}

bool DataSet::close() {
    const auto lock = enter();
    m_type.inMemory.close();
    const bool isSafe = m_dataSet.close();
    return m_file.close() && isSafe;
}

Handle accessToDataSets() {
    Handle access(::H5Pcreate(H5P_DATASET_ACCESS), &::H5Pclose);
    check(
        access && ::H5Pset_chunk_cache(access, 0, 0, 1.0) >= 0 && ::H5Pset_elink_cb(access, &refuseLink, nullptr) >= 0,
        "libhdf5 cannot be set up");
    return access;
}

Handle openFile(const std::string& path) {
    return fileOf([&](::hid_t access) { return ::H5Fopen(path.c_str(), H5F_ACC_RDONLY, access); },
                  "The HDF5 file cannot be opened");
}

std::vector<std::size_t> shapeOf(::hid_t dataSet) {
    const Handle space(::H5Dget_space(dataSet), &::H5Sclose);
    const int axes = space ? ::H5Sget_simple_extent_ndims(space) : -1;
    std::vector<::hsize_t> extents(axes > 0 ? static_cast<std::size_t>(axes) : 0);
    if (axes > 0) {
        ::H5Sget_simple_extent_dims(space, extents.data(), nullptr);
    }
    return {extents.begin(), extents.end()};
}

}  // namespace rix::io::hdf5
