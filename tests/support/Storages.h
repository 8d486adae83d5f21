#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <rix/image/ImageModel.h>
#include <rix/image/ImageModelSizeProxyBase.h>
#include <rix/image/MemoryImage.h>

/// The same samples, kept in every way in which an image can keep them.
namespace rix::test {

/// Asked before each copying row access of an `OpaqueImage`, with the number of elements; false makes the access fail.
struct RowGate {
    std::function<bool(std::size_t)> mayRead;
    std::function<bool(std::size_t)> mayWrite;
};

/// An image that gives no addresses: rows can only be copied, as from a disk.
class OpaqueImage : public ImageModelSizeProxyBase {
public:
    explicit OpaqueImage(ImageModel* real, RowGate gate = {})
        : ImageModelSizeProxyBase(real), m_gate(std::move(gate)) {}

    std::size_t getNumOf(const Components& component) const override { return m_realImage->getNumOf(component); }
    bool readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                   std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const override;
    bool writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols, std::size_t firstRows,
                    std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) override;
    bool getRowAt(std::size_t, RawData&, std::size_t, std::size_t, std::size_t, std::size_t,
                  std::size_t) const override {
        return false;
    }
    bool getConstRowAt(std::size_t, ConstRawData&, std::size_t, std::size_t, std::size_t, std::size_t,
                       std::size_t) const override {
        return false;
    }
    bool reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows, std::size_t planes,
                 std::size_t sequence, std::size_t spectral) override {
        return m_realImage->reserve(voxelType, columns, rows, planes, sequence, spectral);
    }
    bool reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns, std::size_t rows,
                 std::size_t planes, std::size_t sequence, std::size_t spectral) override {
        return m_realImage->reserve(elementType, voxelType, columns, rows, planes, sequence, spectral);
    }
    std::vector<std::size_t> firstElement() const override { return {0, 0, 0, 0, 0}; }

private:
    RowGate m_gate;
};

enum class Storage {
    Memory,
    FullView,   ///< a whole plane or volume of a larger image; not for images with more axes
    SizeProxy,  ///< a box inside a larger image
    Opaque,
    Disk,  ///< in small chunks, of which a few are in memory
    Cast,  ///< another sample type that holds every value, converted at each access
};
/// What holds for images on disk holds for opaque ones.
inline constexpr Storage allStorages[] = {Storage::Memory, Storage::FullView, Storage::SizeProxy, Storage::Disk,
                                          Storage::Cast};
const char* nameOf(Storage storage);

/// An image kept in one of the ways, with everything that it stands on.
class StoredImage {
public:
    /// A copy of `content` with all its characteristics; none where the storage cannot keep such an image.
    static std::optional<StoredImage> make(const io::MemoryImage& content, Storage storage);

    ImageModel& image() const { return *m_view; }
    /// Whether everything around a view has stayed as it was.
    bool surroundingsAreUntouched() const;

private:
    StoredImage() = default;

    std::unique_ptr<io::MemoryImage> m_ground;  ///< null on disk
    std::unique_ptr<ImageModel> m_holder;       ///< null when the ground itself is the view
    ImageModel* m_view = nullptr;
    std::optional<io::MemoryImage> m_before;  ///< the ground when it was made, where a view leaves parts of it out
};

/// An image of the kind of `content`, larger by margins, whose every byte is the same odd value.
std::unique_ptr<io::MemoryImage> makeGround(const io::MemoryImage& content,
                                            const std::array<std::size_t, RIX_COMPONENTS_SIZE>& margins);

/// Copies all samples between images of the same extents and types, row by row.
void copySamples(const ImageModel& from, ImageModel& to);

/// Copies what the samples mean: calibration and interpretations.
void copyMeaning(const ImageModel& from, ImageModel& to);

/// Overwrites every byte of every sample.
void spoil(ImageModel& image, std::uint8_t value);

/// Whether every row of an image that claims to have elements can be read.
bool isReadable(const ImageModel& image);

/// A copy in memory, of whatever storage.
io::MemoryImage copyOf(const ImageModel& image);

}  // namespace rix::test
