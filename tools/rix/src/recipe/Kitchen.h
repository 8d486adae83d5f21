#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/image/MemoryImage.h>

#include "../Results.h"
#include "Recipe.h"

namespace rix::cli {

/// The images of a recipe, those made in memory under their names, those of files under their paths; and its tables.
class Pantry {
public:
    using Loader = std::function<std::unique_ptr<io::MemoryImage>(const std::filesystem::path&)>;
    using Maker = std::function<std::unique_ptr<io::MemoryImage>()>;

    /// @param load how the image of a file is had
    /// @param make how an empty image for a result is had
    Pantry(Loader load, Maker make) : m_load(std::move(load)), m_make(std::move(make)) {}

    /// An image to read. @throws Failure (wrong usage) when no step made the name.
    io::MemoryImage& input(const std::string& text);
    /// An image that an algorithm changes in place.
    io::MemoryImage& changed(const std::string& text);
    /// An image to be made: under a name in memory, or for a file.
    io::MemoryImage& output(const std::string& text);
    /// An image to read, which stays as it is now: later steps that make or change the name do so with another one.
    std::shared_ptr<const io::MemoryImage> asItIs(const std::string& text);
    /// Keeps a result object under its name.
    void keep(const std::string& text, std::shared_ptr<measurement::MeasurementObject> table);
    /// The result object of that name, or null.
    const measurement::MeasurementObject* table(const std::string& text) const;
    /// The files that were read.
    const std::vector<std::filesystem::path>& files() const { return m_files; }

private:
    Loader m_load;
    Maker m_make;
    std::map<std::string, std::shared_ptr<io::MemoryImage>> m_images;
    std::set<std::string> m_fixed;  ///< names of images that must not change any more
    std::map<std::string, std::shared_ptr<measurement::MeasurementObject>> m_tables;
    std::vector<std::filesystem::path> m_files;
};

/// An algorithm with its properties set, as a step of a recipe wants it.
struct PreparedRun {
    std::unique_ptr<BaseAlgorithm> algorithm;
    ResultObjects resultObjects;
    /// The outputs that go to files: path, and image or table.
    std::vector<std::pair<std::filesystem::path, const io::MemoryImage*>> files;
    std::vector<std::pair<std::filesystem::path, std::shared_ptr<measurement::MeasurementObject>>> tables;
};

/// Makes the algorithm of a step and gives it its values and images.
/// @throws Failure: wrong usage, unreadable input.
PreparedRun prepareRun(const Recipe::Step& step, Pantry& pantry);

/// An image without samples that has the header of an image file. @throws Failure (unreadable input).
std::unique_ptr<io::MemoryImage> readHeader(const std::filesystem::path& path);

/// Goes through the recipe with images that have a header but no samples: every name, value, type and rule that does
/// not depend on samples is checked, every file that is read is looked into, every place that is written to is tried.
/// @throws Failure naming the step.
void rehearse(const Recipe& recipe);

}  // namespace rix::cli
