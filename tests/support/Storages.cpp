#include "Storages.h"

#include <cstring>
#include <stdexcept>

#include <rix/access/ImageModelProxy.h>
#include <rix/image/DiskImage.h>
#include <rix/image/ImageModelFull2d.h>
#include <rix/image/ImageModelFull3d.h>
#include <rix/image/ImageModelSizeProxy.h>

#include "ImageFactories.h"

namespace rix::test {

using Position = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

void copySamples(const ImageModel& from, ImageModel& to) {
    std::vector<std::uint8_t> row(from.getNumOf(COLUMNS) * helper::getElementSize(from));
    const std::size_t count = from.getNumOf(COLUMNS);
    const bool done = forEachRow(from, [&](std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
        return from.readRowAt(count, row.data(), 0, y, z, t, s) && to.writeRowAt(count, row.data(), 0, y, z, t, s);
    });
    if (!done) {
        throw std::runtime_error("an image of a test cannot be copied");
    }
}

void copyMeaning(const ImageModel& from, ImageModel& to) {
    to.enforceSameCharacteristics(&from, CALIBRATION | INTERPRETATION);
    to.setColorInterpretation(from.getColorInterpretation());
}

std::unique_ptr<io::MemoryImage> makeGround(const io::MemoryImage& content, const Position& margins) {
    Position n = helper::getExtents(content);
    for (std::size_t axis = 0; axis < n.size(); ++axis) {
        n[axis] += margins[axis];
    }
    auto ground = std::make_unique<io::MemoryImage>();
    if (!ground->reserve(content.getElementType(), content.getVoxelType(), n[0], n[1], n[2], n[3], n[4])) {
        throw std::runtime_error("no memory for the image of a test");
    }
    std::size_t count = 0;
    if (helper::getElementCount(*ground, count) && count > 0) {
        std::memset(ground->getInternalBuffer(), 0x5b, count * helper::getElementSize(*ground));
    }
    copyMeaning(content, *ground);
    return ground;
}

bool OpaqueImage::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                            std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const {
    return (!m_gate.mayRead || m_gate.mayRead(nbElement)) &&
           m_realImage->readRowAt(nbElement, buffer, firstCols, firstRows, firstPlans, firstSequence,
                                  firstSpectralSeries);
}

bool OpaqueImage::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols, std::size_t firstRows,
                             std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) {
    return (!m_gate.mayWrite || m_gate.mayWrite(nbElement)) &&
           m_realImage->writeRowAt(nbElement, buffer, firstCols, firstRows, firstPlans, firstSequence,
                                   firstSpectralSeries);
}

const char* nameOf(Storage storage) {
    switch (storage) {
        case Storage::Memory: return "memory";
        case Storage::FullView: return "full view";
        case Storage::SizeProxy: return "size proxy";
        case Storage::Opaque: return "opaque";
        case Storage::Disk: return "disk";
        case Storage::Cast: return "cast";
    }
    return "?";
}

std::optional<StoredImage> StoredImage::make(const io::MemoryImage& content, Storage storage) {
    const Position n = helper::getExtents(content);
    StoredImage stored;
    switch (storage) {
        case Storage::Memory:
            stored.m_ground = std::make_unique<io::MemoryImage>(content);
            stored.m_view = stored.m_ground.get();
            return stored;
        case Storage::FullView:
            if (n[SEQUENCE] != 1 || n[SPECTRAL_SERIES] != 1) {
                return std::nullopt;
            }
            stored.m_ground = makeGround(content, {0, 0, 0, 1, 2});
            if (n[PLANS] == 1) {
                stored.m_holder = std::make_unique<ImageModelFull2d>(stored.m_ground.get(), 0, 1, 1);
            } else {
                stored.m_holder = std::make_unique<ImageModelFull3d>(stored.m_ground.get(), 1, 1);
            }
            break;
        case Storage::SizeProxy:
            stored.m_ground = makeGround(content, {4, 2, 1, 1, 1});
            stored.m_holder =
                std::make_unique<ImageModelSizeProxy>(stored.m_ground.get(), std::vector<std::size_t>{3, 1, 1, 0, 1},
                                                      std::vector<std::size_t>(n.begin(), n.end()));
            break;
        case Storage::Opaque:
            stored.m_ground = std::make_unique<io::MemoryImage>(content);
            stored.m_holder = std::make_unique<OpaqueImage>(stored.m_ground.get());
            stored.m_view = stored.m_holder.get();
            return stored;
        case Storage::Disk: {
            auto image = std::make_unique<io::DiskImage>(io::DiskImage::StoreMaker{}, Position{16, 6, 2, 1, 1});
            if (!image->reserve(content.getElementType(), content.getVoxelType(), n[0], n[1], n[2], n[3], n[4])) {
                throw std::runtime_error("no disk for the image of a test");
            }
            copyMeaning(content, *image);
            copySamples(content, *image);
            stored.m_holder = std::move(image);
            stored.m_view = stored.m_holder.get();
            return stored;
        }
        case Storage::Cast: {
            const VoxelTypes type = content.getVoxelType();
            const bool complex = type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64;
            stored.m_ground = std::make_unique<io::MemoryImage>();
            if (!stored.m_ground->reserve(content.getElementType(), complex ? RIX_COMPLEX_FLOAT64 : RIX_FLOAT64, n[0],
                                          n[1], n[2], n[3], n[4])) {
                throw std::runtime_error("no memory for the image of a test");
            }
            copyMeaning(content, *stored.m_ground);
            stored.m_holder = std::make_unique<ImageModelProxy>(stored.m_ground.get(), type);
            stored.m_view = stored.m_holder.get();
            copySamples(content, *stored.m_view);
            return stored;
        }
    }
    stored.m_view = stored.m_holder.get();
    stored.m_before.emplace(*stored.m_ground);
    copySamples(content, *stored.m_view);
    return stored;
}

bool StoredImage::surroundingsAreUntouched() const {
    if (!m_before.has_value()) {
        return true;
    }
    // With the box painted over in the same way, nothing else may differ.
    io::MemoryImage now(*m_ground);
    std::vector<std::uint8_t> paint(m_view->getNumOf(COLUMNS) * helper::getElementSize(*m_view), 0x5b);
    const auto offset = static_cast<const ImageModelSizeProxyBase&>(*m_view).firstElement();
    const bool painted = forEachRow(*m_view, [&](std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
        return now.writeRowAt(m_view->getNumOf(COLUMNS), paint.data(), offset[COLUMNS], offset[ROWS] + y,
                              offset[PLANS] + z, offset[SEQUENCE] + t, offset[SPECTRAL_SERIES] + s);
    });
    std::size_t count = 0;
    return painted && helper::getElementCount(now, count) &&
           std::memcmp(now.getInternalBuffer(), m_before->getInternalBuffer(), count * helper::getElementSize(now)) ==
               0;
}

void spoil(ImageModel& image, std::uint8_t value) {
    const std::size_t count = image.getNumOf(COLUMNS);
    const std::vector<std::uint8_t> row(count * helper::getElementSize(image), value);
    const bool done = forEachRow(image, [&](std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
        return image.writeRowAt(count, row.data(), 0, y, z, t, s);
    });
    if (!done) {
        throw std::runtime_error("an image of a test refuses a row");
    }
}

bool isReadable(const ImageModel& image) {
    std::vector<std::uint8_t> row(image.getNumOf(COLUMNS) * helper::getElementSize(image) + 1);
    return forEachRow(image, [&](std::size_t y, std::size_t z, std::size_t t, std::size_t s) {
        return image.readRowAt(image.getNumOf(COLUMNS), row.data(), 0, y, z, t, s);
    });
}

io::MemoryImage copyOf(const ImageModel& image) {
    const Position n = helper::getExtents(image);
    io::MemoryImage copy;
    if (!copy.reserve(image.getElementType(), image.getVoxelType(), n[0], n[1], n[2], n[3], n[4])) {
        throw std::runtime_error("no memory for the image of a test");
    }
    copySamples(image, copy);
    copyMeaning(image, copy);
    return copy;
}

}  // namespace rix::test
