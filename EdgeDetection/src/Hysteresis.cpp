#include "Hysteresis.h"

#include <atomic>
#include <cstring>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModel.h>

namespace rix::edge_detection {

namespace {

using Word = EdgeMap::Word;

/// The strides of a map, as words. Between rows lies a word of none, between planes a row, between volumes a plane, so
/// that neighbours need no test for the edges of the image.
struct Strides {
    std::size_t row = 0;
    std::size_t plane = 0;
    std::size_t image = 0;
    std::size_t images = 0;
    std::size_t lead = 0;  ///< before the first row, and behind the last one
    std::size_t all = 0;
};

Strides stridesOf(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes) {
    const auto checked = [](bool fits) {
        if (!fits) {
            throw MemoryError("The classes of the voxels do not fit 64 bits.");
        }
    };
    const auto times = [&](std::size_t a, std::size_t b) {
        std::size_t product = 0;
        checked(helper::checkedMultiply(a, b, product));
        return product;
    };
    Strides strides;
    strides.row = extents[COLUMNS] / EdgeMap::bits + 2;
    strides.plane = times(strides.row, extents[ROWS] + 1);
    strides.image = axes == 3 ? times(strides.plane, extents[PLANS] + 1) : strides.plane;
    strides.images = times(times(extents[SEQUENCE], extents[SPECTRAL_SERIES]), axes == 3 ? 1 : extents[PLANS]);
    strides.lead = strides.row + 1 + (axes == 3 ? strides.plane : 0);
    strides.all = times(strides.image, strides.images);
    checked(!__builtin_add_overflow(strides.all, 2 * strides.lead, &strides.all));
    return strides;
}

std::size_t bytesOf(const Strides& strides) {
    std::size_t bytes = 0;
    if (!helper::checkedMultiply(strides.all, 2 * sizeof(Word) + sizeof(std::size_t), bytes)) {
        throw MemoryError("The classes of the voxels do not fit 64 bits.");
    }
    return bytes;
}

/// The runs of a mask's bits that hold a seed.
Word filled(Word seeds, Word mask) {
    Word down = seeds;
    Word runs = mask;
    for (unsigned step = 1; step < EdgeMap::bits; step *= 2) {
        down |= runs & down >> step;
        runs &= runs >> step;
    }
    return down | (((mask + seeds) ^ mask) & mask);  // a carry runs up to the end of its run
}

}  // namespace

EdgeMap::EdgeMap(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes)
    : m_extents(extents), m_axes(axes) {
    const Strides strides = stridesOf(extents, axes);
    m_images = strides.images;
    m_lead = strides.lead;
    m_rowStride = strides.row;
    m_planeStride = strides.plane;
    m_imageStride = strides.image;
    m_words = strides.all;
    const std::size_t size = bytesOf(strides);
    m_memory = access::Scratch(size);
    constexpr std::size_t piece = std::size_t{1} << 24;
    for (std::size_t begin = 0; begin < size; begin += piece) {
        access::throwIfRunCancelled();
        std::memset(m_memory.data() + begin, 0, std::min(piece, size - begin));
    }
}

std::size_t EdgeMap::bytes(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t axes) {
    return access::Scratch::held(bytesOf(stridesOf(extents, axes)));
}

std::size_t EdgeMap::rowAt(std::size_t image, std::size_t row, std::size_t plane) const {
    return m_lead + image * m_imageStride + plane * m_planeStride + row * m_rowStride;
}

std::array<std::size_t, 2> EdgeMap::imageOf(std::size_t plane, std::size_t sequence, std::size_t spectral) const {
    const std::size_t volume = spectral * m_extents[SEQUENCE] + sequence;
    return m_axes == 3 ? std::array{volume, plane} : std::array{volume * m_extents[PLANS] + plane, std::size_t{0}};
}

void EdgeMap::enter(std::size_t image, std::size_t row, std::size_t plane, std::size_t column, const Word* weak,
                    const Word* strong, std::size_t count) {
    const std::size_t first = rowAt(image, row, plane) + column / bits;
    const std::size_t shift = column % bits;
    // Others may enter what lies beside in the same words.
    const auto add = [](Word& word, Word more) {
        if (more != 0) {
            std::atomic_ref<Word>(word).fetch_or(more, std::memory_order_relaxed);
        }
    };
    for (std::size_t i = 0; i * bits < count; ++i) {
        add(weakWords()[first + i], weak[i] << shift);
        add(edgeWords()[first + i], strong[i] << shift);
        if (shift > 0) {
            add(weakWords()[first + i + 1], weak[i] >> (bits - shift));
            add(edgeWords()[first + i + 1], strong[i] >> (bits - shift));
        }
    }
}

void EdgeMap::connect(access::ExecutionContext& context) {
    const double nanoseconds = 10.0 * static_cast<double>(m_imageStride);
    access::forEachPart(context, m_images, nanoseconds, [&](std::size_t image) { connectImage(image); });
}

void EdgeMap::connectImage(std::size_t image) const {
    const Word* const weak = weakWords();
    Word* const edges = edgeWords();
    std::size_t* const next = links();  // 0: not in the list; words before the first row are never
    constexpr std::size_t end = 1;
    std::size_t list = end;
    access::Looks looks;
    // Takes up words that have gained edges: those up to `last`, the others are passed through yet.
    const auto grow = [&](std::size_t word, Word seeds, std::size_t last) {
        const Word gained = seeds & weak[word] & ~edges[word];
        if (gained != 0) {
            edges[word] = filled(edges[word] | gained, weak[word]);
            if (word <= last && next[word] == 0) {
                next[word] = list;
                list = word;
            }
        }
    };
    const auto spread = [&](std::size_t word, std::size_t last) {
        const Word from = edges[word];
        const Word around = from | from << 1 | from >> 1;
        const Word toLast = from << (bits - 1);
        const Word toNext = from >> (bits - 1);
        for (std::size_t z = m_axes == 3 ? 0 : 1; z < (m_axes == 3 ? 3U : 2U); ++z) {
            for (std::size_t y = 0; y < 3; ++y) {
                const std::size_t at = word + z * m_planeStride + y * m_rowStride - m_planeStride - m_rowStride;
                grow(at, around, last);
                grow(at - 1, toLast, last);
                grow(at + 1, toNext, last);
            }
        }
        looks.add(8);
    };
    const std::size_t first = rowAt(image, 0, 0);
    for (std::size_t word = first; word < first + m_imageStride; ++word) {
        if (edges[word] != 0) {
            edges[word] = filled(edges[word], weak[word]);
            spread(word, word);
        }
        if (word % 4096 == 0) {
            looks.add(1 << 6);
        }
    }
    while (list != end) {
        const std::size_t word = list;
        list = next[word];
        next[word] = 0;
        spread(word, first + m_imageStride);
    }
}

}  // namespace rix::edge_detection
