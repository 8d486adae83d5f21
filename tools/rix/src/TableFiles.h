#pragma once

#include <filesystem>

#include <vessel/DataFrameView.h>

namespace rix::cli {

/// Writes a table in the format of the extension: .json, else comma-separated values.
/// @throws Failure (unwritable output).
void saveTable(const std::filesystem::path& path, const vessel::DataFrameView& table);

/// Looks whether a table can go there, before any time is spent on it. @throws Failure (unwritable output).
void checkCanWriteTable(const std::filesystem::path& path);

}  // namespace rix::cli
