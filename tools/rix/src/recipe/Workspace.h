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

/// The images of a recipe, those that steps make under their names, those of files under their paths; and its tables.
class Workspace {
public:
    using Loader = std::function<std::unique_ptr<ImageModel>(const std::filesystem::path&)>;
    /// What its images are: those in memory that runs make, the same of which copies are on disk, or headers that take
    /// their shapes and types.
    enum class Images { InMemory, WithinBudget, Headers };

    /// @param load reads the image of a file
    Workspace(Loader load, Images images) : m_load(std::move(load)), m_kind(images) {}

    /// An image to read. @throws Failure (wrong usage) when no step made the name.
    ImageModel& input(const std::string& text);
    /// An image that an algorithm changes in place: a temporary copy of one that is only read.
    ImageModel& changed(const std::string& text);
    /// An image to be made: under a name, or for a file.
    ImageModel& output(const std::string& text);
    /// An image to read, which stays as it is now: later steps that make or change the name do so with another one, and
    /// its file may be written over.
    std::shared_ptr<const ImageModel> asItIs(const std::string& text);
    /// Puts an image that is to be made in temporary data on disk; its samples are lost.
    ImageModel& makeOnDisk(const std::string& text);
    /// Moves images in memory to temporary data on disk, except for those in use and those that are to be written.
    void moveToDisk(const std::set<const ImageModel*>& inUse);
    /// Counts an image among its own while it lives.
    void track(const std::shared_ptr<const ImageModel>& image) { m_known.push_back(image); }
    /// All images that are alive, under names or kept to be written.
    std::set<const ImageModel*> images() const;
    /// Keeps a result object under its name.
    void keep(const std::string& text, std::shared_ptr<measurement::MeasurementObject> table);
    /// The result object of that name, or null.
    const measurement::MeasurementObject* table(const std::string& text) const;
    /// The files that were read.
    const std::vector<std::filesystem::path>& files() const { return m_files; }

private:
    std::unique_ptr<ImageModel> make() const;
    std::unique_ptr<ImageModel> copy(const ImageModel& image) const;
    ImageModel& put(const std::string& text, std::shared_ptr<ImageModel> image);

    Loader m_load;
    Images m_kind;
    std::map<std::string, std::shared_ptr<ImageModel>> m_images;
    std::set<std::string> m_fixed;    ///< names of images that must not change any more
    std::set<std::string> m_targets;  ///< files that images were made for, which whoever writes them knows by address
    std::map<std::string, std::shared_ptr<measurement::MeasurementObject>> m_tables;
    std::vector<std::filesystem::path> m_files;
    std::vector<std::weak_ptr<const ImageModel>> m_known;
    std::vector<std::shared_ptr<ImageModel>> m_replaced;  ///< files on disk that a step may read as it replaces them
};

}  // namespace rix::cli
