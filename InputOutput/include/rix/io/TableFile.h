#pragma once

#include <filesystem>

#include <vessel/DataFrameView.h>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix::io {

/// Whether a table can be written under a name: its extension, in lower case, is one of those below.
RIX_EXPORT bool isTableFile(const std::filesystem::path& path);
/// The extensions: ".csv, .json, .svg, .stl, .ply".
RIX_EXPORT String tableExtensions();

/// Writes a table in the format of the extension, as `writeImage` writes images: to another name first, so that a
/// failure leaves the old file as it was, and to pipes and devices at once.
///
/// Any table as comma-separated values (.csv) or as JSON (.json), see `rix/measurement/TableText.h`. Lines (columns
/// Line, X and Y, as of `ContourLines2d`) as a drawing of the plane of x and y (.svg), y downwards. Triangles (columns
/// X1 to Z3, as of `IsoSurface3d`) as binary STL (.stl), in `float32`, or with Vertex1 to Vertex3 as binary PLY (.ply),
/// in `float64`, with each corner once.
/// @throws WritingError naming the file and the reason: an extension that is none of these, a table without these
///         columns, or what the system said.
RIX_EXPORT void writeTable(const std::filesystem::path& path, const vessel::DataFrameView& table);

}  // namespace rix::io
