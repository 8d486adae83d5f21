#pragma once

#include <array>
#include <cstddef>

#include <rix/Export.h>
#include <rix/image/ImageHeader.h>

namespace rix::io {

/// Where the chunks of an image on disk are kept: a file, a folder of files, another machine.
///
/// Chunks are boxes of the same extents that begin at multiples of them on every axis, numbered in storage order
/// (columns fastest). All have as many samples, in storage order within the chunk, those at the image's end too: what
/// lies beyond it is 0. Different chunks are read and written by several threads at once, one chunk by one at a time.
class RIX_EXPORT ChunkStore {
public:
    virtual ~ChunkStore();

    /// Copies a chunk into `samples`; false, with `samples` as they were, when it was never written: all of it is 0.
    /// @throws LoadingError when it is there and cannot be read
    virtual bool read(std::size_t chunk, RawData samples) = 0;
    /// Keeps a chunk, whole or not at all.
    /// @throws WritingError when it cannot be kept
    virtual void write(std::size_t chunk, ConstRawData samples) = 0;
    /// After the last chunk was written: makes what was kept a whole that others may open.
    /// @param header with what was told of the image since it was shaped
    /// @throws WritingError when that cannot be done
    virtual void finish(const ImageHeader& header) = 0;

protected:
    ChunkStore() = default;
    ChunkStore(const ChunkStore&) = default;
    ChunkStore& operator=(const ChunkStore&) = default;
};

}  // namespace rix::io
