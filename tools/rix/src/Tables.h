#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include <vessel/DataFrameView.h>

#include "Output.h"

namespace rix::cli {

/// A table for people: a heading of the columns' names with their units in brackets, then a line a row.
TextTable toTextTable(const vessel::DataFrameView& table);

/// {"columns": [{"name": ..., "unit": ..., "description": ..., "values": [...]}, ...]}
nlohmann::json toJson(const vessel::DataFrameView& table);

/// Comma-separated values as spreadsheets read them (RFC 4180): a heading like that of the text table, numbers that read
/// back to the same value, texts in quotes where they need them.
std::string toCsv(const vessel::DataFrameView& table);

}  // namespace rix::cli
