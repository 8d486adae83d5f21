#include <system_error>
#include <utility>

#include <rix/exceptions/Exception.h>

#include "../OutputFile.h"
#include "Hdf5Path.h"
#include "Hdf5Store.h"

namespace rix::io {
namespace {

namespace fs = std::filesystem;

/// Only a file gives way that has nothing else.
void refuseOthers(const Hdf5Path& path) {
    std::error_code error;
    if (!fs::is_regular_file(path.file, error) || fs::file_size(path.file, error) == 0) {
        return;
    }
    const auto others = asking<WritingError>([&] { return hdf5Component().list(path.file.string(), 2); });
    for (const hdf5::Listed& other : others) {
        if (other.name != path.dataSet) {
            throw WritingError("The file has another data set, '" + other.name +
                               "', which would be lost. Nothing in it was touched: a new file takes the image.");
        }
    }
}

class Hdf5Writer final : public ChunkStore {
public:
    Hdf5Writer(const Hdf5Path& path, const ImageHeader& header, const Extents& chunk, const WriteOptions& options)
        : m_path(path),
          m_layout(shapeOf(header.extents, axesFor(header.extents)), shapeOf(chunk, axesFor(header.extents)),
                   axesFor(header.extents), io::storedTypeOf(header.voxelType)),
          m_file(path.file) {
        refuseOthers(path);
        hdf5::Array array;
        array.kind = kindOf(io::storedTypeOf(header.voxelType));
        array.bytes = helper::getSizeOf(header.voxelType);
        array.shape = shapeOf(header.extents, m_layout.axes());
        array.chunks = shapeOf(chunk, m_layout.axes());
        array.deflate = options.compression == Compression::Deflate ? 1 : 0;
        m_target = asking<WritingError>([&] { return hdf5Component().create(m_file.openPath(), path.dataSet, array); });
    }

    bool read(std::size_t chunk, RawData samples) override {
        m_layout.read(*m_target, chunk, samples);
        return true;
    }
    void write(std::size_t chunk, ConstRawData samples) override { m_layout.write(*m_target, chunk, samples); }
    void finish(const ImageHeader& header) override {
        asking<WritingError>([&] { m_target->finish(notesOn(header, m_layout.axes())); });
        refuseOthers(m_path);  // what has this name may have changed since
        m_file.adoptSize();
        m_file.commit();
    }

private:
    Hdf5Path m_path;
    Hdf5Layout m_layout;
    OutputFile m_file;
    std::unique_ptr<hdf5::Target> m_target;  ///< ends before the file does
};

}  // namespace

std::unique_ptr<ChunkStore> createHdf5(const fs::path& path, const ImageHeader& header, const Extents& chunk,
                                       const WriteOptions& options) {
    return std::make_unique<Hdf5Writer>(splitHdf5Path(path).value_or(Hdf5Path{path, "/data"}), header, chunk, options);
}

}  // namespace rix::io
