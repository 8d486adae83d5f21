#include "Hdf5Store.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <rix/access/SampleCast.h>
#include <rix/exceptions/Exception.h>

#include "../Component.h"

namespace rix::io {
namespace {

/// The part of a data set that a box of the image is.
hdf5::Region regionOf(const ChunkGrid::Box& box, const std::vector<Components>& axes) {
    return {shapeOf(box.first, axes), shapeOf(box.count, axes)};
}

}  // namespace

const hdf5::Component& hdf5Component() {
    using Function = const hdf5::Component* (*)();
    static const Function function =
        reinterpret_cast<Function>(componentFunction("hdf5", "rix_io_hdf5_component", "HDF5"));
    return *function();
}

StoredType storedTypeOf(const hdf5::Array& array) {
    return storedTypeOf(array.kind, array.bytes).value();
}

Hdf5Chunks::Hdf5Chunks(std::unique_ptr<hdf5::Source> source, const std::vector<std::size_t>& chunk,
                       std::vector<Components> axes, bool makesBinary)
    : m_source(std::move(source)),
      m_chunk(chunk),
      m_axes(std::move(axes)),
      m_grid(extentsOf(m_source->array().shape, m_axes), extentsOf(chunk, m_axes)),
      m_order(chunk, m_axes),
      m_stored(storedTypeOf(m_source->array())),
      m_makesBinary(makesBinary) {}

bool Hdf5Chunks::read(std::size_t chunk, RawData samples) {
    const ChunkGrid::Box box = m_grid.boxOf(chunk);
    const std::size_t elements = m_grid.elements();
    const std::size_t sampleBytes = helper::getSizeOf(voxelTypeOf(m_stored));
    const bool isWhole = box.count == m_grid.chunk();
    const bool isDirect = m_order.isOfImages() && !isConverted(m_stored);
    if (!isWhole) {  // what lies beyond the image is 0
        std::memset(samples, 0, elements * sampleBytes);
    }
    std::vector<std::uint8_t> stored(isDirect ? 0 : elements * bytesOf(m_stored));
    std::uint8_t* target = isDirect ? samples : stored.data();
    asking<LoadingError>([&] { m_source->read(regionOf(box, m_axes), m_chunk, target); });
    if (!isDirect && isConverted(m_stored)) {
        std::vector<std::uint8_t> converted(m_order.isOfImages() ? 0 : elements * sampleBytes);
        std::uint8_t* const narrow = m_order.isOfImages() ? samples : converted.data();
        convertSamples(m_stored, stored.data(), narrow, elements);
        stored.swap(converted);
    }
    if (!m_order.isOfImages()) {
        m_order.toImage(stored.data(), samples, box.count, sampleBytes);
    }
    if (m_makesBinary) {
        access::makeZeroOrOne(voxelTypeOf(m_stored), samples, elements);
    }
    return true;
}

void Hdf5Chunks::write(std::size_t, ConstRawData) {
    throw WritingError("The image is for reading.");
}

void Hdf5Chunks::finish(const ImageHeader&) {}

}  // namespace rix::io
