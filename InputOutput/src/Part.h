#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <rix/io/ImageFile.h>

namespace rix::io {

/// Indices on an axis of an image, one behind the other.
struct Indices {
    std::size_t first = 0;
    std::size_t count = 0;

    std::size_t end() const { return first + count; }
    bool holds(std::size_t index) const { return index >= first && index < end(); }
    /// Whether it has one of so many indices.
    bool meets(std::size_t from, std::size_t number) const { return from < end() && first < from + number; }
    bool holdsAll(std::size_t from, std::size_t number) const { return from >= first && from + number <= end(); }
};

/// The part of the image of a file that is kept, by `Components`.
using Part = std::array<Indices, RIX_COMPONENTS_SIZE>;

/// Finds what a selection means for an image, and makes `info` that of the part: extents, the origin of its first
/// element, and the meaning of its channels.
/// @throws LoadingError when it reaches beyond the image or is empty
Part takePart(const Selection& selection, ImageFileInfo& info);

/// A place in the image of a file.
struct Place {
    std::size_t column = 0;
    std::size_t row = 0;
    std::size_t plane = 0;
    std::size_t frame = 0;
    std::size_t channel = 0;
};

/// The image that a codec fills. The codec counts as the file does; kept is what was selected.
class PartialImage {
public:
    /// @param whole of the image in the file
    /// @throws LoadingError when the part is larger than the caller allows, MemoryError when it finds no memory
    PartialImage(ImageFileInfo whole, const ReadOptions& options);

    const Indices& kept(Components axis) const { return m_part[static_cast<std::size_t>(axis)]; }
    bool isWhole() const { return m_whole; }
    /// Whether elements from a place on, along the rows, are all kept.
    bool keepsAll(const Place& place, std::size_t count) const;

    /// Memory for elements of the file along a row: in the image if all of them are kept, else beside it.
    std::uint8_t* open(const Place& place, std::size_t count);
    /// Keeps what is selected of what was written there.
    void close();
    /// Keeps what is selected of samples that lie `step` samples apart.
    void put(const std::uint8_t* samples, std::size_t step, const Place& place, std::size_t count);

    MemoryImage& image() { return *m_image; }
    std::unique_ptr<MemoryImage> release() { return std::move(m_image); }

private:
    std::uint8_t* address(const Place& place);

    Part m_part;
    bool m_whole = true;
    std::unique_ptr<MemoryImage> m_image;
    std::size_t m_sampleBytes = 1;
    std::vector<std::uint8_t> m_beside;
    Place m_place;
    std::size_t m_open = 0;  ///< elements in `m_beside`
};

}  // namespace rix::io
