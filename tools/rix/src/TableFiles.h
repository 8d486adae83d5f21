#pragma once

#include <filesystem>
#include <string>

#include <vessel/DataFrameView.h>

namespace rix::cli {

/// Writes a table in the format of the extension, see `rix/io/TableFile.h`; as comma-separated values to "-".
/// @throws Failure (unwritable output).
void saveTable(const std::filesystem::path& path, const vessel::DataFrameView& table);

/// Writes a text file, or to standard output for "-". @throws Failure (unwritable output).
void saveText(const std::filesystem::path& path, const std::string& text);

/// Looks whether a table can go there, before any time is spent on it. @throws Failure (unwritable output).
void checkCanWriteTable(const std::filesystem::path& path);

}  // namespace rix::cli
