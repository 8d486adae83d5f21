#pragma once

#include "TestImages.h"

namespace rix::io::test {

/// A Zarr array that is put together by hand.
struct RawZarr {
    std::string shape = "[5, 7]";
    std::string chunks = "[3, 4]";
    std::string dtype = "|u1";
    std::string compressor = "null";
    std::string fill = "0";
    std::string rest{};  ///< entries that come after, each with a comma before it
    std::string order = "C";

    std::string text() const {
        return R"({"zarr_format": 2, "shape": )" + shape + R"(, "chunks": )" + chunks + R"(, "dtype": ")" + dtype +
               R"(", "compressor": )" + compressor + R"(, "fill_value": )" + fill + R"(, "order": ")" + order +
               R"(", "filters": null)" + rest + "}";
    }
};

/// Puts a file into a folder that may have to be made.
inline void putInto(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::create_directories(path.parent_path());
    putContent(path, content);
}

/// Attributes of an image of one array "0" with these axes, in JSON, and more in the image.
inline std::string attributesOf(const std::string& axes, const std::string& datasets = R"([{"path": "0"}])",
                                const std::string& more = "") {
    return R"({"multiscales": [{"version": "0.4", "axes": )" + axes + R"(, "datasets": )" + datasets + more + "}]}";
}

/// The files below a folder, by their path in it.
inline std::vector<std::string> filesIn(const std::filesystem::path& folder) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path().lexically_relative(folder).string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

inline void calibrateFully(ImageModel& image) {
    for (int axis = 0; axis < RIX_COMPONENTS_SIZE; ++axis) {
        image.setSpacingOf(static_cast<Components>(axis), 0.1 * (axis + 1));
        image.setOriginOf(static_cast<Components>(axis), -1.0 / 3.0 * axis);
    }
    image.setSpatialUnitName("um");
    image.setSequenceUnitName("ms");
    vessel::SpatialDirections directions;
    directions.columnDirection = {0.0, 1.0, 0.0};
    directions.rowDirection = {-1.0, 0.0, 0.0};
    image.setSpatialDirections(directions);
}

}  // namespace rix::io::test
