#pragma once

#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "../ArrayAxes.h"
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
/// The names of axes that xarray notes of an array; none where it was not at work.
std::vector<String> axisNames(const nlohmann::json& attributes);

/// Gives an image what the attributes tell. @param info with the extents of the first level
void calibrate(const Multiscales& multiscales, std::size_t level, ImageFileInfo& info);

nlohmann::json formatMultiscales(const Multiscales& multiscales, const ImageFileInfo& info, const String& name);

}  // namespace rix::io
