#pragma once

#include "../Hdf5Component.h"
#include "Types.h"

namespace rix::io::hdf5 {

/// An open data set: its chunks, and boxes of its elements.
class DataSet {
public:
    DataSet() = default;
    DataSet(Handle file, Handle dataSet, ElementType type)
        : m_file(std::move(file)), m_dataSet(std::move(dataSet)), m_type(std::move(type)) {}

    ::hid_t id() const { return m_dataSet; }
    ::hid_t file() const { return m_file; }
    const ElementType& type() const { return m_type; }
    void read(const Region& region, const std::vector<std::size_t>& shape, void* elements) const;
    void write(const Region& region, const std::vector<std::size_t>& shape, const void* elements) const;
    /// False when what was kept back cannot be written.
    bool close();

private:
    Handle m_file;
    Handle m_dataSet;
    ElementType m_type;
};

/// How a data set is opened: its chunks are kept by us, not twice, and links do not lead out of the file.
Handle accessToDataSets();
/// Opens a file for reading.
Handle openFile(const std::string& path);
/// What `open` gives with the usual access to files, which another user of libhdf5 in the process may have the file
/// open with; or else with one that takes no locks, which network file systems refuse.
template <class Open>
::hid_t withFileAccess(const Open& open) {
    const ::hid_t usual = open(H5P_DEFAULT);
    const Handle access(usual < 0 ? ::H5Pcreate(H5P_FILE_ACCESS) : -1, &::H5Pclose);
    return !access || ::H5Pset_file_locking(access, false, true) < 0 ? usual : open(access);
}
std::vector<std::size_t> shapeOf(::hid_t dataSet);

std::unique_ptr<Source> openSource(const std::string& path, const std::string& name);
std::unique_ptr<Target> createTarget(const std::string& path, const std::string& name, const Array& array);
std::vector<Listed> listDataSets(const std::string& path, std::size_t most);

}  // namespace rix::io::hdf5
