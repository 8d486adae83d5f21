#pragma once

// Rows of planes and volumes, one after another, of images of any real type.

#include <cstddef>
#include <cstdint>

#include <rix/access/BlockSize.h>
#include <rix/access/Looks.h>
#include <rix/access/PaddedGrid.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/image/ImageModel.h>

namespace rix::segmentation {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// Which voxels are neighbours.
struct Neighbors {
    std::size_t axes = 2;
    int farthest = 2;  ///< see `PaddedGrid`
};
inline Neighbors neighborsOf(algorithms::Neighborhood2DType neighborhood) {
    return {2, neighborhood == algorithms::Neighborhood2DType::CONNECTIVITY_8 ? 2 : 1};
}
inline Neighbors neighborsOf(algorithms::Neighborhood3DType neighborhood) {
    return {3, static_cast<int>(neighborhood) + 1};
}
/// Objects have all neighbours if nothing else is said.
template <class Filter>
void takeAllNeighbors(Filter& filter) {
    if constexpr (requires { Filter::CONNECTIVITY_26; }) {
        filter.setNeighborhood(Filter::CONNECTIVITY_26);
    } else {
        filter.setNeighborhood(Filter::CONNECTIVITY_8);
    }
}

/// How many planes, or volumes, there are by themselves.
inline std::size_t partCount(const Extents& n, std::size_t axes) {
    return n[SPECTRAL_SERIES] * n[SEQUENCE] * (axes == 3 ? 1 : n[PLANS]);
}

/// A row of such a part.
inline access::RowSegment rowOfPart(const Extents& n, std::size_t axes, std::size_t part, std::size_t row) {
    const std::size_t plane = axes == 3 ? row / n[ROWS] : part % n[PLANS];
    const std::size_t frame = axes == 3 ? part : part / n[PLANS];
    access::RowSegment segment;
    segment.row = row % n[ROWS];
    segment.plane = plane;
    segment.sequence = frame % n[SEQUENCE];
    segment.spectral = frame / n[SEQUENCE];
    segment.count = n[COLUMNS];
    return segment;
}

template <class T>
constexpr bool isNotANumber(T value) {
    return value != value;
}

/// Calls `take(samples)` with a row of an image in its own type.
template <class Types, class Take>
void withRow(Types types, const ImageModel& image, const access::RowSegment& segment, const Take& take) {
    access::dispatch(types, image.getVoxelType(), [&](auto tag) {
        access::RowReader<typename decltype(tag)::type> reader(image);
        take(reader.read(segment));
    });
}

/// A row of labels of any integers, with their low bits.
void readLabels(const ImageModel& image, const access::RowSegment& segment, std::uint32_t* labels);
void writeLabels(ImageModel& image, const access::RowSegment& segment, const std::uint32_t* labels);

/// Calls `clear(x)` for the voxels of a row where a mask, if there is one, is 0 or NaN.
template <class Clear>
void forEachMasked(const ImageModel* mask, const access::RowSegment& segment, const Clear& clear) {
    if (mask == nullptr) {
        return;
    }
    withRow(access::Reals{}, *mask, segment, [&](const auto* samples) {
        for (std::size_t x = 0; x < segment.count; ++x) {
            if (samples[x] == 0 || isNotANumber(samples[x])) {
                clear(x);
            }
        }
    });
}

/// The bytes that a row of an image takes on its way, where it is converted.
inline std::size_t rowBytes(const ImageModel* image) {
    return image != nullptr && image->getInterpretation() == RIX_BINARY
               ? access::Scratch::held(image->getNumOf(COLUMNS) * helper::getSizeOf(image->getVoxelType()))
               : 0;
}

/// Rows of a part: all at once on the threads of the run, as a step of it, or one after another in a block of it.
class PartRows {
public:
    PartRows(access::ExecutionContext& context, const access::PaddedGrid& grid, bool isAlone)
        : m_context(context), m_grid(grid), m_isAlone(isAlone) {}

    /// Calls `use(row)`.
    template <class Use>
    void forEach(const Use& use) const {
        if (m_isAlone) {
            const access::Plan plan =
                access::cutBands({m_grid.columns(), m_grid.rows(), 1, 1, 1}, {.nanosecondsPerVoxel = 1.0});
            access::run(m_context, plan, [&](const access::Block& block) {
                for (std::size_t row = block.rows().begin; row < block.rows().end; ++row) {
                    use(row);
                }
            });
            return;
        }
        access::Looks looks;
        for (std::size_t row = 0; row < m_grid.rows(); ++row) {
            looks.add(m_grid.columns() / 32 + 1);
            use(row);
        }
    }

private:
    access::ExecutionContext& m_context;
    const access::PaddedGrid& m_grid;
    bool m_isAlone;
};

/// Calls `work(part, rows, inBlock)` for all planes or volumes: for a single one with rows that are shared by all
/// threads, else for several at the same time. What is one thread's work is given to `inBlock`, as a function of the
/// progress. With a single part each use of the rows is a step of the run, and so is what `inBlock` is given; there are
/// to be three, of which the one in the middle takes longest.
template <class Work>
void forEachPartAlone(access::ExecutionContext& context, const access::PaddedGrid& grid, std::size_t parts,
                      double nanosecondsPerVoxel, const Work& work) {
    if (parts == 1) {
        const access::Steps steps(context, {0.05, 0.9, 0.05});
        const access::Plan whole({grid.voxels(), 1, 1, 1, 1}, access::JoinedAxes::None);
        work(0, PartRows(context, grid, true), [&](const auto& alone) {
            access::run(context, whole,
                        [&](const access::Block&, access::BlockProgress& progress) { alone(progress); });
        });
        return;
    }
    // The parts as rows.
    const access::Plan plan =
        access::cutBands({grid.voxels(), parts, 1, 1, 1}, {.nanosecondsPerVoxel = nanosecondsPerVoxel});
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        for (std::size_t part = block.rows().begin; part < block.rows().end; ++part) {
            work(part, PartRows(context, grid, false), [&](const auto& alone) { alone(progress); });
        }
    });
}

}  // namespace rix::segmentation
