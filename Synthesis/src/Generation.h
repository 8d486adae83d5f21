#pragma once

#include <algorithm>
#include <cstddef>

#include <rix/access/PositionedRows.h>
#include <rix/access/RoundedCast.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/Passes.h>
#include <rix/image/ImageHeader.h>
#include <rix/synthesis/ImageGenerator.h>

/// What the sources of all generators share: how they declare the image, and how rows are computed.
namespace rix::synthesis {

/// The header that the properties ask for, of values; inputs hold.
ImageHeader headerOf(const ImageGenerator& generator);

/// Names extents, spacing and type of a generator, before its own inputs.
void declareShape(ImageGenerator& generator, algorithms::Properties& properties);
/// Names the image, behind its inputs.
void declareImage(ImageGenerator& generator, algorithms::Properties& properties, const char* description);

/// Values of a row are computed as doubles in pieces of this many.
inline constexpr std::size_t pieceVoxels = 512;

/// Calls `piece(position, offset, count)` for the pieces of a row from a position on. Frames and channels of positions
/// count from those of `first`, where the pass begins.
template <class Piece>
void forEachPieceOfRow(access::Position at, const access::Position& first, std::size_t count, const Piece& piece) {
    at.sequence += first.sequence;
    at.spectral += first.spectral;
    for (std::size_t done = 0; done < count; done += pieceVoxels) {
        const std::size_t n = std::min(pieceVoxels, count - done);
        piece(at, done, n);
        at.column += n;
    }
}

/// Computes an image from positions: `values(position, row, count)` gives `count` values from a position on. Frames and
/// channels of positions count from the whole image also where a run is iterated over them.
template <class Values>
void generate(BaseAlgorithm& algorithm, ImageModel& output, double nanosecondsPerVoxel, const Values& values) {
    const access::Position first = algorithms::firstOfPass(algorithm);
    access::dispatch(access::Reals{}, output.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        access::generateRowsAt<T>(algorithm.executionContext(), output, nanosecondsPerVoxel,
                                  [&](const access::Position& row, T* out, std::size_t count) {
                                      double piece[pieceVoxels];
                                      forEachPieceOfRow(row, first, count, [&](const auto& at, auto done, auto n) {
                                          values(at, piece, n);
                                          access::roundSamples(piece, out + done, n);
                                      });
                                  });
    });
}

}  // namespace rix::synthesis
