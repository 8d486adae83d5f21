#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Scratch.h>
#include <rix/image/ImageTypes.h>

namespace rix::edge_detection {

/// Voxels that may be edges, and those that are: a bit each, an image after the other.
class EdgeMap {
public:
    using Word = std::uint64_t;
    static constexpr std::size_t bits = 64;  ///< of a word, the first voxel the lowest

    /// Of none. @param axes of one image, 2 or 3
    EdgeMap(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes);
    static std::size_t bytes(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes);

    std::size_t images() const { return m_images; }
    /// Which image a place belongs to, and the plane in it.
    std::array<std::size_t, 2> imageOf(std::size_t plane, std::size_t sequence, std::size_t spectral) const;

    /// Enters voxels of a row from a column on, once each; different threads may enter different ones.
    /// @param weak those that may be edges, the strong ones among them, as bits of whole words that end with zeros
    void enter(std::size_t image, std::size_t row, std::size_t plane, std::size_t column, const Word* weak,
               const Word* strong, std::size_t count);

    /// Makes edges of the weak ones that are connected with a strong one, across corners as well: in no memory but that
    /// of the map, at a cost that grows with the words that have edges.
    void connect(access::ExecutionContext& context);

    /// The words of a row's edges: at first the strong ones.
    const Word* edges(std::size_t image, std::size_t row, std::size_t plane) const {
        return edgeWords() + rowAt(image, row, plane);
    }

private:
    Word* weakWords() const { return m_memory.as<Word>(); }
    Word* edgeWords() const { return weakWords() + m_words; }
    std::size_t* links() const { return m_memory.as<std::size_t>() + 2 * m_words; }
    std::size_t rowAt(std::size_t image, std::size_t row, std::size_t plane) const;
    void connectImage(std::size_t image) const;

    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    std::size_t m_axes;
    std::size_t m_images;
    std::size_t m_lead;  ///< words before the first row
    std::size_t m_rowStride;
    std::size_t m_planeStride;
    std::size_t m_imageStride;
    std::size_t m_words;
    access::Scratch m_memory;  ///< of all voxels: whether weak, whether an edge; of all words: links of a list
};

inline bool isSet(const EdgeMap::Word* words, std::size_t x) {
    return (words[x / EdgeMap::bits] >> x % EdgeMap::bits & 1U) != 0;
}

/// How many of the voxels before one are set.
inline std::size_t countBefore(const EdgeMap::Word* words, std::size_t x) {
    const std::size_t whole = x / EdgeMap::bits;
    std::size_t count = 0;
    for (std::size_t i = 0; i < whole; ++i) {
        count += static_cast<std::size_t>(std::popcount(words[i]));
    }
    const EdgeMap::Word before = (EdgeMap::Word{1} << x % EdgeMap::bits) - 1;
    return count + static_cast<std::size_t>(std::popcount(words[whole] & before));
}

}  // namespace rix::edge_detection
