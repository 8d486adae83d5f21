#pragma once

#include <filesystem>
#include <optional>

#include <rix/String.h>

namespace rix::io {

/// A data set in a file: "cells.h5:/raw/data".
struct Hdf5Path {
    std::filesystem::path file;
    String dataSet;  ///< from the root of the file, with '/' at its beginning
};

/// Nothing for a path that names no data set.
std::optional<Hdf5Path> splitHdf5Path(const std::filesystem::path& path);

}  // namespace rix::io
