#pragma once

#include <filesystem>
#include <string_view>

#include <rix/Export.h>

namespace rix::io {

/// Writes a text file (a table, a record) as `writeImage` writes images: to another name first, so that a failure
/// leaves the old file as it was, and to pipes and devices at once.
/// @throws WritingError naming the file and the reason.
RIX_EXPORT void writeTextFile(const std::filesystem::path& path, std::string_view text);

}  // namespace rix::io
