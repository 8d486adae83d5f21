#pragma once

#include "../Hdf5Component.h"
#include "Types.h"

namespace rix::io::hdf5 {

/// An open data set: its chunks, and boxes of its elements.
class DataSet {
public:
    DataSet(Handle file, Handle dataSet, ElementType type)
        : m_file(std::move(file)), m_dataSet(std::move(dataSet)), m_type(std::move(type)) {}

    ::hid_t id() const { return m_dataSet; }
    ::hid_t file() const { return m_file; }
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
/// The file that `open` gives with the usual access, with which another user of libhdf5 in the process may have it
/// open; or else with one that takes no locks, which network file systems refuse.
template <class Open>
Handle fileOf(const Open& open, const char* sentence) {
    if (const ::hid_t usual = open(H5P_DEFAULT); usual >= 0) {
        return {usual, &::H5Fclose};
    }
    const Handle access(::H5Pcreate(H5P_FILE_ACCESS), &::H5Pclose);
    check(access && ::H5Pset_file_locking(access, false, true) >= 0, "libhdf5 cannot be set up");
    return checked(open(access), &::H5Fclose, sentence);
}
std::vector<std::size_t> shapeOf(::hid_t dataSet);

std::unique_ptr<Source> openSource(const std::string& path, const std::string& name);
std::unique_ptr<Target> createTarget(const std::string& path, const std::string& name, const Array& array);
std::vector<Listed> listDataSets(const std::string& path, std::size_t most);

}  // namespace rix::io::hdf5
