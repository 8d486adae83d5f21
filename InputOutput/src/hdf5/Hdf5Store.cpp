#include "Hdf5Store.h"

#include <cstring>
#include <utility>

#include <rix/access/SampleCast.h>
#include <rix/exceptions/Exception.h>

#include "../Component.h"

namespace rix::io {
const hdf5::Component& hdf5Component() {
    using Function = const hdf5::Component* (*)();
    static const Function function =
        reinterpret_cast<Function>(componentFunction("hdf5", "rix_io_hdf5_component", "HDF5"));
    return *function();
}

StoredType storedTypeOf(const hdf5::Array& array) {
    return storedTypeOf(array.kind, array.bytes).value();
}

Hdf5Layout::Hdf5Layout(const std::vector<std::size_t>& shape, std::vector<std::size_t> chunk,
                       std::vector<Components> axes, StoredType stored)
    : m_chunk(std::move(chunk)),
      m_axes(std::move(axes)),
      m_grid(extentsOf(shape, m_axes), extentsOf(m_chunk, m_axes)),
      m_order(m_chunk, m_axes),
      m_stored(stored) {}

hdf5::Region Hdf5Layout::regionOf(const ChunkGrid::Box& box) const {
    return {shapeOf(box.first, m_axes), shapeOf(box.count, m_axes)};
}

void Hdf5Layout::read(hdf5::Elements& elements, std::size_t chunk, RawData samples) const {
    const ChunkGrid::Box box = m_grid.boxOf(chunk);
    const std::size_t count = m_grid.elements();
    const std::size_t sampleBytes = helper::getSizeOf(voxelTypeOf(m_stored));
    if (box.count != m_grid.chunk()) {  // what lies beyond the image is 0
        std::memset(samples, 0, count * sampleBytes);
    }
    const bool converts = isConverted(m_stored);
    const bool reorders = !m_order.isOfImages();
    std::vector<std::uint8_t> stored(converts ? count * bytesOf(m_stored) : 0);
    std::vector<std::uint8_t> unordered(reorders ? count * sampleBytes : 0);
    std::uint8_t* const inFileOrder = reorders ? unordered.data() : samples;
    asking<LoadingError>([&] { elements.read(regionOf(box), m_chunk, converts ? stored.data() : inFileOrder); });
    if (converts) {
        convertSamples(m_stored, stored.data(), inFileOrder, count);
    }
    if (reorders) {
        m_order.toImage(inFileOrder, samples, box.count, sampleBytes);
    }
}

void Hdf5Layout::write(hdf5::Target& target, std::size_t chunk, ConstRawData samples) const {
    const ChunkGrid::Box box = m_grid.boxOf(chunk);
    std::vector<std::uint8_t> ordered;
    if (!m_order.isOfImages()) {
        ordered.resize(m_grid.elements() * bytesOf(m_stored));
        m_order.toFile(samples, ordered.data(), box.count, bytesOf(m_stored));
        samples = ordered.data();
    }
    asking<WritingError>([&] { target.write(regionOf(box), m_chunk, samples); });
}

bool Hdf5Chunks::read(std::size_t chunk, RawData samples) {
    m_layout.read(*m_source, chunk, samples);
    if (m_makesBinary) {
        access::makeZeroOrOne(m_type, samples, m_layout.elements());
    }
    return true;
}

}  // namespace rix::io
