#pragma once

#include <vector>

#include "Chunks.h"

namespace rix::io {

// Formats of arrays number axes from the slowest to the fastest and give them names, or none.

/// The extents of an array, or of its chunks, as those of an image.
Extents extentsOf(const std::vector<std::size_t>& shape, const std::vector<Components>& axes);
/// The reverse.
std::vector<std::size_t> shapeOf(const Extents& extents, const std::vector<Components>& axes);

/// The axes that an image is written with: rows and columns, and those along which it has several.
std::vector<Components> axesFor(const Extents& extents);
/// Puts the axis of a name, or else of a kind ("time", "channel"), behind others.
/// @throws LoadingError for another name, and for one that is there
void addAxis(std::vector<Components>& axes, const String& name, const String& type);
/// The axes that a selection names, or those given. @throws LoadingError when it names another number of them
std::vector<Components> namedAxes(const std::vector<Components>& axes, const Selection& selection);
/// The axes of an array of so many, of which a file perhaps tells names. Others end with planes, rows and columns.
std::vector<Components> axesOfArray(const std::vector<String>& names, std::size_t count, const ReadOptions& options);

/// Where the samples of a chunk lie in a file, whose axes may have another order than those of images.
class ChunkOrder {
public:
    /// @param chunk its shape in the file
    /// @param axes those of the file, the slowest first
    ChunkOrder(const std::vector<std::size_t>& chunk, const std::vector<Components>& axes);

    /// Whether they lie as in images.
    bool isOfImages() const { return m_isOfImages; }
    /// Copy a box of samples, which begins where the chunk does.
    void toImage(const std::uint8_t* from, std::uint8_t* to, const Extents& box, std::size_t sampleBytes) const;
    void toFile(const std::uint8_t* from, std::uint8_t* to, const Extents& box, std::size_t sampleBytes) const;

private:
    template <class Copy>
    void forEachRowOf(const Extents& box, const Copy& copy) const;

    Extents m_chunk;
    Extents m_steps{};  ///< in the file, of neighbours on each axis of the image
    bool m_isOfImages = true;
};

}  // namespace rix::io
