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

VoxelTypes voxelTypeOf(ImageGenerator::OutputType type);

/// The header that the properties ask for, of values; inputs hold.
ImageHeader headerOf(const ImageGenerator& generator);

/// Names extents, spacing and type of a generator, before its own inputs.
void declareShape(ImageGenerator& generator, algorithms::Properties& properties);
/// Names the image, behind its inputs.
void declareImage(ImageGenerator& generator, algorithms::Properties& properties, const char* description);

/// Values of a row are computed as doubles in pieces of this many.
inline constexpr std::size_t pieceVoxels = 512;

/// Computes an image from positions: `values(position, row, count)` gives `count` values from a position on. Frames and
/// channels of positions count from the whole image also where a run is iterated over them.
template <class Values>
void generate(BaseAlgorithm& algorithm, ImageModel& output, double nanosecondsPerVoxel, const Values& values) {
    const access::Position first = algorithms::firstOfPass(algorithm);
    access::dispatch(access::Reals{}, output.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        access::generateRowsAt<T>(algorithm.executionContext(), output, nanosecondsPerVoxel,
                                  [&](access::Position at, T* out, std::size_t count) {
                                      at.sequence += first.sequence;
                                      at.spectral += first.spectral;
                                      double piece[pieceVoxels];
                                      for (std::size_t done = 0; done < count; done += pieceVoxels) {
                                          const std::size_t n = std::min(pieceVoxels, count - done);
                                          values(at, piece, n);
                                          access::roundSamples(piece, out + done, n);
                                          at.column += n;
                                      }
                                  });
    });
}

}  // namespace rix::synthesis
