#pragma once

#include <vessel/DataFrameView.h>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix::measurement {

/// A table as comma-separated values (RFC 4180, with line feeds): a line of the columns' names, each with its unit in
/// brackets where it has one, then a line a row. Numbers have a decimal point and the fewest digits that read back as
/// the same number; "nan", "inf" and "-inf" stand for what is no number. Texts are quoted where they need it.
RIX_EXPORT String tableToCsv(const vessel::DataFrameView& table);

/// A table as a JSON object: "columns", an array of objects with "name", "unit", "description" and "values". NaN is
/// null, infinities are the texts "inf" and "-inf", since JSON has no numbers for them.
RIX_EXPORT String tableToJson(const vessel::DataFrameView& table);

}  // namespace rix::measurement
