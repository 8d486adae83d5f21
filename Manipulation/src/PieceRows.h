#pragma once

#include <cstddef>
#include <span>

#include <rix/access/ExecutionContext.h>
#include <rix/access/FunctionRef.h>
#include <rix/access/Pieces.h>

namespace rix::manipulation {

/// A piece of the rows of a pass, whose samples stay in the first-level cache.
struct Piece {
    const ConstRawData* in;  ///< the samples of each input, of the type that it is read as
    RawData out;             ///< where results go; may be the samples of an input
    RawData working;         ///< working memory, `capacity` times the bytes a sample that were asked for
    std::size_t count;
    std::size_t capacity;  ///< the most samples of a piece, always the same within a block
};

/// What a pass computes.
struct PieceWork {
    std::span<const access::PieceInput> inputs;  ///< one to four, of the extents of the output
    VoxelTypes computedAs;                       ///< the type of `out`: the output's, or a real one
    std::size_t workingBytesPerSample = 0;
    double nanosecondsPerVoxel = 0.1;
    bool streamsItself = false;  ///< what is computed of the output's type goes past the caches where the output does
};

/// Calls `compute(piece)` for all pieces of the rows of images, in parallel blocks. Results of another type than the
/// output's are converted to it: rounded to the nearest integer, ties to even, and clamped to the type; NaN becomes 0.
void computePieces(access::ExecutionContext& context, const PieceWork& work, ImageModel& output, OptimLevelType level,
                   access::FunctionRef<void(const Piece&)> compute);

/// Peak bytes of working memory of a pass.
std::size_t piecesMemory(std::size_t inputs, std::size_t workingBytesPerSample, std::size_t threads);

}  // namespace rix::manipulation
