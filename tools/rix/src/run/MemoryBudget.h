#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/BaseAlgorithm.h>

namespace rix::cli {

/// What `--memory` allows: images in memory, the working memory of the run, and the cache of images on disk.
class MemoryBudget {
public:
    explicit MemoryBudget(std::uint64_t bytes) : m_bytes(bytes) {}

    /// Before images are opened: a quarter for the chunks of images on disk, and no file is read into memory that does
    /// not fit.
    void limitReading() const;
    /// When some inputs are there: no other is read that does not fit beside them.
    void limitFurther(const BaseAlgorithm& algorithm) const;
    /// When all inputs are there: puts temporary images on disk where the run needs it, and limits the rest.
    /// @throws Failure with the numbers when the run does not fit all the same
    void fit(BaseAlgorithm& algorithm) const;

private:
    std::uint64_t m_bytes;
};

}  // namespace rix::cli
