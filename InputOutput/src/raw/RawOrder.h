#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "RawSamples.h"

namespace rix::io {

/// Puts samples where they belong, in the order of a file with these axes, fastest first.
class Placer {
public:
    Placer(MemoryImage& image, const std::vector<Components>& axes);

    void place(const std::uint8_t* samples, std::size_t count);

private:
    struct Axis {
        std::size_t extent;
        std::size_t step;  ///< distance of neighbours in the image, in elements
    };

    std::uint8_t* m_image;
    std::vector<Axis> m_axes;  ///< those that lie in the image as in the file are one
    std::vector<std::size_t> m_at;
    std::size_t m_bytes;
};

/// The samples of a part of an image in the order of the file: runs of those that lie behind each other.
class Runs {
public:
    struct Run {
        std::uint64_t begin;
        std::uint64_t count;
    };

    Runs(const RawLayout& layout, const PartialImage& image);

    /// Nothing after the last one.
    std::optional<Run> next();

private:
    struct Axis {
        std::uint64_t count;
        std::uint64_t step;  ///< in samples of the file
        std::uint64_t at;
    };
    std::vector<Axis> m_axes;  ///< those along which runs follow each other
    Run m_next{0, 1};
    bool m_ended = false;
};

}  // namespace rix::io
