#pragma once

#include <stdexcept>
#include <utility>

#include "../ArrayAxes.h"
#include "Hdf5Component.h"

namespace rix::io {

/// The interface of the component. @throws LoadingError when it is not there
const hdf5::Component& hdf5Component();

/// Runs what the component does, whose failures become `Error`.
template <class Error, class Action>
auto asking(Action&& action) {
    try {
        return action();
    } catch (const std::runtime_error& error) {
        throw Error(error.what());
    }
}

/// The chunks of an image as regions of a data set.
class Hdf5Layout {
public:
    /// @param shape of the data set
    /// @param axes those of the data set, the slowest first
    Hdf5Layout(const std::vector<std::size_t>& shape, std::vector<std::size_t> chunk, std::vector<Components> axes,
               StoredType stored);

    const std::vector<Components>& axes() const { return m_axes; }
    /// @throws LoadingError
    void read(hdf5::Elements& elements, std::size_t chunk, RawData samples) const;
    /// Writes samples that have the type of the data set. @throws WritingError
    void write(hdf5::Target& target, std::size_t chunk, ConstRawData samples) const;
    /// Elements of a chunk, those beyond the image too.
    std::size_t elements() const { return m_grid.elements(); }

private:
    hdf5::Region regionOf(const ChunkGrid::Box& box) const;

    std::vector<std::size_t> m_chunk;
    std::vector<Components> m_axes;
    ChunkGrid m_grid;
    ChunkOrder m_order;
    StoredType m_stored;
};

/// The chunks of an image in a data set that is there.
class Hdf5Chunks final : public ReadOnlyStore {
public:
    Hdf5Chunks(std::unique_ptr<hdf5::Source> source, Hdf5Layout layout, VoxelTypes type, bool makesBinary)
        : m_source(std::move(source)), m_layout(std::move(layout)), m_type(type), m_makesBinary(makesBinary) {}

    bool read(std::size_t chunk, RawData samples) override;

private:
    std::unique_ptr<hdf5::Source> m_source;
    Hdf5Layout m_layout;
    VoxelTypes m_type;
    bool m_makesBinary;
};

/// The type of an array's elements.
StoredType storedTypeOf(const hdf5::Array& array);

/// A file of one data set, which takes its name when it is finished.
/// @throws WritingError
std::unique_ptr<ChunkStore> createHdf5(const std::filesystem::path& path, const ImageHeader& header,
                                       const Extents& chunk, const WriteOptions& options);

/// Notes of spacing and meaning, for others and for us.
hdf5::Notes notesOn(const ImageHeader& header, const std::vector<Components>& axes);
/// Gives an image what is noted of it.
void applyNotes(const hdf5::Notes& notes, const std::vector<Components>& axes, ImageFileInfo& info);
/// The names of a data set's axes that notes tell; empty for none.
std::vector<String> axisNames(const hdf5::Notes& notes);

}  // namespace rix::io
