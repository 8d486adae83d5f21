#include "DataSet.h"
#include "Notes.h"

namespace rix::io::hdf5 {
namespace {

class Writer final : public Target {
public:
    explicit Writer(DataSet dataSet) : m_dataSet(std::move(dataSet)) {}
    ~Writer() override { static_cast<void>(m_dataSet.close()); }

    void write(const Region& region, const std::vector<std::size_t>& shape, const void* elements) override {
        m_dataSet.write(region, shape, elements);
    }
    void read(const Region& region, const std::vector<std::size_t>& shape, void* elements) override {
        m_dataSet.read(region, shape, elements);
    }
    void finish(const Notes& notes) override {
        const auto lock = enter();
        writeNotes(m_dataSet.id(), notes);
        check(::H5Fflush(m_dataSet.file(), H5F_SCOPE_LOCAL) >= 0, "The file cannot be completed");
    }

private:
    DataSet m_dataSet;
};

Handle layoutOf(const Array& array) {
    Handle layout(::H5Pcreate(H5P_DATASET_CREATE), &::H5Pclose);
    const std::vector<::hsize_t> chunk(array.chunks.begin(), array.chunks.end());
    check(layout && ::H5Pset_chunk(layout, static_cast<int>(chunk.size()), chunk.data()) >= 0,
          "The data set cannot have these chunks");
    if (array.deflate > 0) {
        check(::H5Pset_shuffle(layout) >= 0 && ::H5Pset_deflate(layout, static_cast<unsigned>(array.deflate)) >= 0,
              "The data set cannot be compressed");
    }
    return layout;
}

}  // namespace

std::unique_ptr<Target> createTarget(const std::string& path, const std::string& name, const Array& array) {
    const auto lock = enter();
    const Handle links(::H5Pcreate(H5P_LINK_CREATE), &::H5Pclose);
    check(links && ::H5Pset_create_intermediate_group(links, 1) >= 0, "libhdf5 cannot be set up");
    Handle file = fileOf([&](::hid_t access) { return ::H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access); },
                         "The HDF5 file cannot be made");
    const std::vector<::hsize_t> shape(array.shape.begin(), array.shape.end());
    const Handle space(::H5Screate_simple(static_cast<int>(shape.size()), shape.data(), nullptr), &::H5Sclose);
    check(static_cast<bool>(space), "The data set cannot have this shape");
    ElementType type{array.kind, array.bytes, false, typeFor(array.kind, array.bytes)};
    Handle dataSet =
        checked(::H5Dcreate2(file, name.c_str(), type.inMemory, space, links, layoutOf(array), accessToDataSets()),
                &::H5Dclose, "The data set cannot be made");
    return std::make_unique<Writer>(DataSet(std::move(file), std::move(dataSet), std::move(type)));
}

}  // namespace rix::io::hdf5

/// What the library of files asks for.
extern "C" __attribute__((visibility("default"))) const rix::io::hdf5::Component* rix_io_hdf5_component() {
    using namespace rix::io::hdf5;
    static constexpr Component component{&listDataSets, &openSource, &createTarget};
    return &component;
}
