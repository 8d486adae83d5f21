#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <rix/image/ImageModel.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::cli {

/// The images of a recipe, those made in memory under their names, those of files under their paths; and its tables.
class Workspace {
public:
    using Loader = std::function<std::unique_ptr<ImageModel>(const std::filesystem::path&)>;
    using Maker = std::function<std::unique_ptr<ImageModel>()>;
    using Copier = std::function<std::unique_ptr<ImageModel>(const ImageModel&)>;

    /// @param load reads the image of a file
    /// @param make makes an empty image for a result
    /// @param copy copies an image that was loaded or made
    Workspace(Loader load, Maker make, Copier copy)
        : m_load(std::move(load)), m_make(std::move(make)), m_copy(std::move(copy)) {}

    /// An image to read. @throws Failure (wrong usage) when no step made the name.
    ImageModel& input(const std::string& text);
    /// An image that an algorithm changes in place.
    ImageModel& changed(const std::string& text);
    /// An image to be made: under a name in memory, or for a file.
    ImageModel& output(const std::string& text);
    /// An image to read, which stays as it is now: later steps that make or change the name do so with another one.
    std::shared_ptr<const ImageModel> asItIs(const std::string& text);
    /// Keeps a result object under its name.
    void keep(const std::string& text, std::shared_ptr<measurement::MeasurementObject> table);
    /// The result object of that name, or null.
    const measurement::MeasurementObject* table(const std::string& text) const;
    /// The files that were read.
    const std::vector<std::filesystem::path>& files() const { return m_files; }

private:
    Loader m_load;
    Maker m_make;
    Copier m_copy;
    std::map<std::string, std::shared_ptr<ImageModel>> m_images;
    std::set<std::string> m_fixed;  ///< names of images that must not change any more
    std::map<std::string, std::shared_ptr<measurement::MeasurementObject>> m_tables;
    std::vector<std::filesystem::path> m_files;
};

}  // namespace rix::cli
