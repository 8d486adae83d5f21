#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/image/ImageHeader.h>

namespace rix::cli {

/// A file of the examples: in the source tree around the program, or beside it in an installation.
/// @throws Failure (unreadable input) when it is in neither.
std::filesystem::path findExample(const char* name);

/// An image that comes with the program, and what it holds.
struct SampleImage {
    std::filesystem::path path;
    ImageHeader header;
};

/// A photograph, its objects and their labels; none when the program was moved away from its examples.
std::vector<SampleImage> sampleImages();

/// A command line that runs the algorithm as it stands, with every property that the rules let it set: sample images
/// for what it reads, files in the present folder for what it makes, defaults for values, and where its rules refuse a
/// default some value that they accept. The rules are asked with the headers of the images; nothing is computed.
/// An input for which nothing is accepted keeps the words VALUE or NAME.tif: the user knows better.
std::string exampleCommand(const AlgoInfo& info, const std::vector<SampleImage>& images);

}  // namespace rix::cli
