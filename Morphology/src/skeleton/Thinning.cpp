#include "skeleton/Thinning.h"

#include <algorithm>
#include <array>

#include <rix/access/Looks.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Run.h>

#include "skeleton/SkeletonKernels.h"

namespace rix::morphology {

namespace {

/// A layer is what has background beside it when its turn comes, across faces only or also across edges and corners:
/// in turn, so that they are about as thick in all directions. One that is two or three voxels thick along a diagonal
/// is taken in as many rounds.
struct Layer {
    BorderKind border;
    unsigned rounds;
};
constexpr std::array layersOfPlanes{Layer{BorderKind::Faces, 1}, Layer{BorderKind::Edges, 2}};
constexpr std::array layersOfVolumes{Layer{BorderKind::Faces, 1}, Layer{BorderKind::Edges, 2},
                                     Layer{BorderKind::Faces, 1}, Layer{BorderKind::Corners, 3}};

/// Rows in bands, which are divided into chunks of columns. Within a layer what changes leads to further changes at
/// most 13 rows, 7 planes and 25 columns away: rounds have four turns of rows, in each of which it comes one row
/// further, and in every second of them one plane. So layers are only needed where a chunk of a band or one around it
/// changed in the layer before.
class Bands {
public:
    Bands(const Extents& extents, std::size_t axes)
        : m_rows(extents[ROWS]),
          m_planes(extents[PLANS]),
          m_height(axes == 3 ? 16 : 8),
          m_depth(axes == 3 ? 8 : 1),
          m_across((m_rows - 1) / m_height + 1),
          m_deep((m_planes - 1) / m_depth + 1),
          m_axes(axes),
          m_count(m_across * m_deep * extents[SEQUENCE] * extents[SPECTRAL_SERIES]) {}

    std::size_t count() const { return m_count; }
    /// Rows of a band.
    std::size_t rows() const { return m_height * m_depth; }

    /// Calls `use(row)` for the rows of a band whose places in their plane, and whose planes, have a parity.
    template <class Use>
    void forEachRow(std::size_t band, std::size_t rowParity, std::size_t planeParity, const Use& use) const {
        const std::size_t firstRow = band % m_across * m_height;
        const std::size_t firstPlane = band / m_across % m_deep * m_depth;
        const std::size_t volume = band / m_across / m_deep;
        for (std::size_t z = firstPlane; z < std::min(firstPlane + m_depth, m_planes); ++z) {
            if (m_axes == 3 && z % 2 != planeParity) {
                continue;
            }
            for (std::size_t y = firstRow + rowParity; y < std::min(firstRow + m_height, m_rows); y += 2) {
                use((volume * m_planes + z) * m_rows + y);
            }
        }
    }
    template <class Use>
    void forEachRow(std::size_t band, const Use& use) const {
        for (const std::size_t parity : {0U, 1U, 2U, 3U}) {
            if (parity < 2 || m_axes == 3) {
                forEachRow(band, parity % 2, parity / 2, use);
            }
        }
    }
    /// Calls `use(neighbour)` for a band and those that touch it.
    template <class Use>
    void forEachNeighbour(std::size_t band, const Use& use) const {
        const std::size_t y = band % m_across;
        const std::size_t z = band / m_across % m_deep;
        const std::size_t reach = m_axes == 3 ? 1 : 0;
        for (std::size_t otherZ = z - std::min(z, reach); otherZ < std::min(z + reach + 1, m_deep); ++otherZ) {
            for (std::size_t otherY = y - std::min<std::size_t>(y, 1); otherY < std::min(y + 2, m_across); ++otherY) {
                use(band + otherZ * m_across + otherY - z * m_across - y);
            }
        }
    }

private:
    std::size_t m_rows;
    std::size_t m_planes;
    std::size_t m_height;  ///< rows of a band
    std::size_t m_depth;   ///< planes of a band
    std::size_t m_across;
    std::size_t m_deep;
    std::size_t m_axes;
    std::size_t m_count;
};

class Thinning {
public:
    Thinning(access::ExecutionContext& context, const BitImage& objects, std::size_t axes, OptimLevelType level)
        : m_context(context),
          m_objects(objects),
          m_axes(axes),
          m_kernels(skeletonKernels(level, axes)),
          m_bands(objects.extents(), axes),
          m_border(objects.extents()),
          m_candidates(objects.extents()),
          m_active(m_bands.count() * objects.chunks()),
          m_changed(m_bands.count() * objects.chunks(), std::uint8_t{1}),
          m_hasCandidates(m_bands.count()) {
        m_visited.reserve(m_bands.count());
    }

    static std::size_t bytes(const Extents& extents, std::size_t axes) {
        const std::size_t bands = Bands(extents, axes).count();
        const std::size_t chunks = (extents[COLUMNS] - 1) / BitImage::columnsPerChunk + 1;
        return 2 * BitImage::bytes(extents) + bands * (2 * chunks + 1 + sizeof(std::size_t));
    }

    template <std::size_t count>
    void run(const std::array<Layer, count>& layers) {
        for (std::size_t i = 0; findActive(); ++i) {
            const Layer& layer = layers[i % count];
            forEachBand([&](std::size_t band) {
                m_bands.forEachRow(band, [&](std::size_t row) {
                    m_kernels.border(m_objects.around(row, m_axes), layer.border, active(band), m_border.row(row),
                                     m_objects.chunks());
                });
            });
            for (unsigned round = 0; round < layer.rounds; ++round) {
                takeRound();
            }
        }
    }

private:
    const std::uint8_t* active(std::size_t band) const { return m_active.data() + band * m_objects.chunks(); }

    /// Finds where the next layer may take anything. @return whether it may
    bool findActive() {
        const std::size_t chunks = m_objects.chunks();
        m_visited.clear();
        access::Looks looks;
        for (std::size_t band = 0; band < m_bands.count(); ++band) {
            std::uint8_t* const marks = m_active.data() + band * chunks;
            std::fill_n(marks, chunks, std::uint8_t{0});
            m_bands.forEachNeighbour(band, [&](std::size_t other) {
                const std::uint8_t* const changed = m_changed.data() + other * chunks;
                for (std::size_t chunk = 0; chunk < chunks; ++chunk) {
                    const bool before = chunk > 0 && changed[chunk - 1] != 0;
                    const bool behind = chunk + 1 < chunks && changed[chunk + 1] != 0;
                    marks[chunk] = marks[chunk] != 0 || before || behind || changed[chunk] != 0 ? 1 : 0;
                }
            });
            if (std::find(marks, marks + chunks, std::uint8_t{1}) != marks + chunks) {
                m_visited.push_back(band);
            }
            looks.add(chunks + 1);
        }
        std::fill(m_changed.begin(), m_changed.end(), std::uint8_t{0});
        return !m_visited.empty();
    }

    template <class Use>
    void forEachBand(const Use& use) {
        constexpr double nanosecondsPerChunk = 20.0;
        access::forEachPart(m_context, m_visited.size(),
                            static_cast<double>(m_bands.rows() * m_objects.chunks()) * nanosecondsPerChunk,
                            [&](std::size_t i) { use(m_visited[i]); });
    }

    /// What of the layer has two neighbours when the round begins is taken if it is simple when its turn comes.
    void takeRound() {
        forEachBand([&](std::size_t band) {
            bool found = false;
            m_bands.forEachRow(band, [&](std::size_t row) {
                found = m_kernels.candidates(m_objects.around(row, m_axes), active(band), m_border.row(row),
                                             m_candidates.row(row), m_objects.chunks()) ||
                        found;
            });
            m_hasCandidates[band] = found ? 1 : 0;
        });
        for (const std::size_t planeParity : {0U, 1U}) {
            for (const std::size_t rowParity : {0U, 1U}) {
                if (planeParity == 0 || m_axes == 3) {
                    takeTurn(rowParity, planeParity);
                }
            }
        }
    }

    /// Rows that no other rows of the turn touch.
    void takeTurn(std::size_t rowParity, std::size_t planeParity) {
        forEachBand([&](std::size_t band) {
            if (m_hasCandidates[band] == 0) {
                return;
            }
            m_bands.forEachRow(band, rowParity, planeParity, [&](std::size_t row) {
                m_kernels.thin(m_objects.row(row), m_objects.around(row, m_axes), active(band), m_candidates.row(row),
                               m_changed.data() + band * m_objects.chunks(), m_objects.chunks());
            });
        });
    }

    access::ExecutionContext& m_context;
    const BitImage& m_objects;
    std::size_t m_axes;
    SkeletonKernels m_kernels;
    Bands m_bands;
    BitImage m_border;
    BitImage m_candidates;
    access::CountedVector<std::uint8_t> m_active;
    access::CountedVector<std::uint8_t> m_changed;
    access::CountedVector<std::uint8_t> m_hasCandidates;
    access::CountedVector<std::size_t> m_visited;
};

}  // namespace

void thinObjects(access::ExecutionContext& context, const BitImage& objects, std::size_t axes, OptimLevelType level) {
    Thinning thinning(context, objects, axes, level);
    if (axes == 3) {
        thinning.run(layersOfVolumes);
    } else {
        thinning.run(layersOfPlanes);
    }
}

std::size_t thinningBytes(const Extents& extents, std::size_t axes) {
    return Thinning::bytes(extents, axes);
}

}  // namespace rix::morphology
