#pragma once

#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "../Chunks.h"
#include "../Metadata.h"

namespace rix::io {

/// An image of OME-Zarr as its attributes tell it: axes, and the same picture in arrays of less and less samples.
struct Multiscales {
    struct Level {
        String path;  ///< of the array, below the folder of the image
        std::array<double, RIX_COMPONENTS_SIZE> spacing{1.0, 1.0, 1.0, 1.0, 1.0};
        std::array<double, RIX_COMPONENTS_SIZE> origin{};
    };

    std::size_t images = 1;        ///< in the attributes, of which this is one
    std::vector<Components> axes;  ///< of the arrays, the slowest first
    std::vector<Level> levels;
    String spatialUnit{};  ///< as images name units
    String sequenceUnit{};
    bool isLabels = false;
    MetadataKeys ownKeys;
};

/// @throws LoadingError for what is damaged or not supported
Multiscales parseMultiscales(const nlohmann::json& attributes, const ReadOptions& options);
/// The axes of an array of so many that nothing tells more of than perhaps the names that xarray notes.
std::vector<Components> axesOfArray(const nlohmann::json& attributes, std::size_t count, const ReadOptions& options);
/// The axes that a selection names, or those given. @throws LoadingError when it names another number of them
std::vector<Components> namedAxes(const std::vector<Components>& axes, const Selection& selection);

/// Gives an image what the attributes tell. @param info with the extents of the first level
void calibrate(const Multiscales& multiscales, std::size_t level, ImageFileInfo& info);

/// The axes that an image is written with: rows and columns, and those along which it has several.
std::vector<Components> axesFor(const Extents& extents);
nlohmann::json formatMultiscales(const Multiscales& multiscales, const ImageFileInfo& info, const String& name);

}  // namespace rix::io
