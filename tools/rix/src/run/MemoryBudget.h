#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/image/ImageModel.h>

namespace rix::cli {

/// What `--memory` allows: images in memory, the working memory of the run, and the cache of images on disk.
class MemoryBudget {
public:
    using Images = std::set<const ImageModel*>;

    explicit MemoryBudget(std::uint64_t bytes) : m_bytes(bytes) {}

    /// Before images are opened: a quarter for the chunks of images on disk, and no file is read into memory that does
    /// not fit.
    void limitReading() const;
    /// When some images are there: no other is read into memory that does not fit beside them.
    void limitFurther(const Images& images) const;
    /// When all inputs are there: whether a run fits with its results where they are and temporary images in memory.
    /// @param held what is there beside; inputs and outputs of the run may be among it
    bool fits(const BaseAlgorithm& algorithm, const Images& held = {}) const;
    /// Puts temporary images on disk where the run needs it, and limits the rest.
    /// @throws Failure with the numbers when the run does not fit all the same
    void fit(BaseAlgorithm& algorithm, const Images& held = {}) const;
    /// Whether there is room for so much beside the images.
    bool hasRoom(std::uint64_t bytes, const Images& held) const;
    /// @throws Failure with the numbers when there is not so much room beside the images
    void checkRoom(const std::string& what, std::uint64_t bytes, const Images& held) const;

private:
    std::uint64_t m_bytes;
};

/// The images that are inputs, each once: one file may be several.
MemoryBudget::Images inputsOf(const BaseAlgorithm& algorithm);

}  // namespace rix::cli
