#pragma once

#include <vessel/DataFrameView.h>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix::individual_analysis {

/// A table as comma-separated values (RFC 4180): a line of the columns' names, each with its unit in brackets where it
/// has one, then a line a row. Numbers are written with a decimal point in the shortest form that reads back as the same
/// number; NaN is an empty field, infinities are "inf" and "-inf". Texts are quoted where they need it. Lines end with a
/// line feed.
RIX_EXPORT String tableToCsv(const vessel::DataFrameView& table);

/// A table as a JSON object: "columns", an array of objects with "name", "unit", "description" and "values". NaN and
/// infinities are null, which is what JSON has for them.
RIX_EXPORT String tableToJson(const vessel::DataFrameView& table);

}  // namespace rix::individual_analysis
