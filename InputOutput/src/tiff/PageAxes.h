#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>

namespace rix::io {

/// An axis along which the pages of a TIFF stack follow each other.
enum class PageAxis { Channel, Slice, Frame };

/// The extents of the stack and the order in which its pages follow each other.
struct PageAxes {
    std::size_t channels = 1;
    std::size_t slices = 1;
    std::size_t frames = 1;
    std::array<PageAxis, 3> order{PageAxis::Channel, PageAxis::Slice, PageAxis::Frame};  ///< fastest first

    /// Nothing when the number of pages doesn't fit 64 bits.
    std::optional<std::size_t> pages() const;
    std::size_t extentOf(PageAxis axis) const;
    void setExtentOf(PageAxis axis, std::size_t extent);
};

/// The position of a page in the image.
struct PagePosition {
    std::size_t channel = 0;
    std::size_t slice = 0;
    std::size_t frame = 0;

    std::size_t& of(PageAxis axis) {
        return axis == PageAxis::Channel ? channel : axis == PageAxis::Slice ? slice : frame;
    }
    std::size_t of(PageAxis axis) const {
        return axis == PageAxis::Channel ? channel : axis == PageAxis::Slice ? slice : frame;
    }
};

/// An order of all axes that begins with these, the fastest first.
std::array<PageAxis, 3> orderFrom(std::span<const PageAxis> first);

PagePosition positionOfPage(std::size_t page, const PageAxes& axes);

}  // namespace rix::io
