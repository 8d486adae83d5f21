#pragma once

#include <memory>

#include <rix/image/ChunkStore.h>

namespace rix::io::detail {

/// Chunks in a file without a name in the folder for temporary data: gone with the process.
/// @param count,bytes of the chunks; their product fits the size of a file
/// @throws FileSystemError when no file can be made there
std::unique_ptr<ChunkStore> makeScratchStore(std::size_t count, std::size_t bytes);

}  // namespace rix::io::detail
