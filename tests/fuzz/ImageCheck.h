#pragma once

#include <filesystem>

namespace rix::fuzz {

/// Whatever the file or folder holds: it is an image, the same when it is read whole and when it is opened and read
/// chunk by chunk, or a LoadingError that names it; and nothing is allocated that it cannot hold.
void checkImage(const std::filesystem::path& path);

}  // namespace rix::fuzz
