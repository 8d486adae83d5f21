#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>

#include <nlohmann/json.hpp>

#include <vessel/DataFrameView.h>

#include "Output.h"

namespace rix::cli {

/// A table for people: a heading of the columns' names with their units in brackets, then a line a row. Reals are
/// rounded to six digits where there are several rows. Rows after `mostRows` are counted only.
TextTable toTextTable(const vessel::DataFrameView& table,
                      std::size_t mostRows = std::numeric_limits<std::size_t>::max());

/// {"columns": [{"name": ..., "unit": ..., "description": ..., "values": [...]}, ...]}
nlohmann::json toJson(const vessel::DataFrameView& table);

/// Writes a table in the format of the extension: .json, else comma-separated values.
/// @throws Failure (unwritable output).
void saveTable(const std::filesystem::path& path, const vessel::DataFrameView& table);

/// Looks whether a table can go there, before any time is spent on it. @throws Failure (unwritable output).
void checkCanWriteTable(const std::filesystem::path& path);

}  // namespace rix::cli
