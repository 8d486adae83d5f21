#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include <rix/access/BorderConditions.h>
#include <rix/access/Rows.h>
#include <rix/access/SampleCast.h>
#include <rix/access/Scratch.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModel.h>

// What the border conditions have in common: reading a segment whose outer coordinates lie inside the image.

namespace rix::access::borders {

/// Row, plane, sequence, spectral.
using OuterCoordinates = std::array<std::int64_t, 4>;

/// The image of a request, with what every policy asks of it.
struct Source {
    const ImageModel& image;
    std::array<std::int64_t, RIX_COMPONENTS_SIZE> extents;
    std::size_t samples;  ///< an element

    std::int64_t columns() const { return extents[COLUMNS]; }
    /// The extent that belongs to an outer coordinate.
    std::int64_t outerExtent(std::size_t i) const { return extents[i + 1]; }
};

/// @throws InvalidCall when the image has another sample type, or the buffer is no whole number of elements
template <class T>
Source checkedSource(const ImageModel& image, const T* begin, const T* end) {
    if (image.getVoxelType() != voxelTypeOf<T>) {
        throw InvalidCall("A border condition for " + helper::voxelTypesToString(voxelTypeOf<T>) +
                          " samples was given image " + helper::describeImage(image) + ".");
    }
    Source source{image, {}, helper::getElementNumber(image.getElementType())};
    if (source.samples == 0 || static_cast<std::size_t>(end - begin) % source.samples != 0) {
        throw InvalidCall("A buffer of " + std::to_string(end - begin) +
                          " samples is no whole number of elements of image " + helper::describeImage(image) + ".");
    }
    const std::array<std::size_t, RIX_COMPONENTS_SIZE> extents = helper::getExtents(image);
    for (std::size_t i = 0; i < extents.size(); ++i) {
        source.extents[i] = static_cast<std::int64_t>(extents[i]);
    }
    return source;
}

/// @throws InvalidCall for an image that has nothing to repeat
inline void checkHasElements(const Source& source) {
    if (*std::min_element(source.extents.begin(), source.extents.end()) == 0) {
        throw InvalidCall("Image " + helper::describeImage(source.image) +
                          " has no element that its border could repeat.");
    }
}

/// How many elements of a segment lie left of the row, in it and right of it.
struct Parts {
    std::int64_t left;
    std::int64_t inside;
    std::int64_t right;
    std::int64_t firstInside;  ///< column of the first element in the row
};

/// Written without sums of coordinates, which overflow at the ends of the range.
inline Parts partsOf(std::int64_t column, std::int64_t count, std::int64_t columns) {
    Parts parts{};
    parts.left = column < 0 ? (column < -count ? count : -column) : 0;
    parts.firstInside = std::max<std::int64_t>(column, 0);
    parts.inside = parts.firstInside < columns ? std::min(count - parts.left, columns - parts.firstInside) : 0;
    parts.right = count - parts.left - parts.inside;
    return parts;
}

inline bool isInside(const Source& source, const OuterCoordinates& outer) {
    for (std::size_t i = 0; i < outer.size(); ++i) {
        if (outer[i] < 0 || outer[i] >= source.outerExtent(i)) {
            return false;
        }
    }
    return true;
}

/// Reads elements that lie inside the image; of a binary one as 0 and 1.
template <class T>
void readInside(const Source& source, T* buffer, std::int64_t column, std::int64_t count,
                const OuterCoordinates& outer) {
    if (count == 0) {
        return;
    }
    const auto size = [](std::int64_t value) { return static_cast<std::size_t>(value); };
    const RowSegment segment{{size(column), size(outer[0]), size(outer[1]), size(outer[2]), size(outer[3])},
                             size(count)};
    if (!source.image.readRowAt(segment.count, reinterpret_cast<RawData>(buffer), segment.column, segment.row,
                                segment.plane, segment.sequence, segment.spectral)) {
        throwRowError("readRowAt", source.image, segment);
    }
    if (source.image.getInterpretation() == RIX_BINARY) {
        makeZeroOrOne(voxelTypeOf<T>, reinterpret_cast<RawData>(buffer), segment.count * source.samples);
    }
}

inline OuterCoordinates mirrored(const Source& source, OuterCoordinates outer) {
    for (std::size_t i = 0; i < outer.size(); ++i) {
        outer[i] = computeCoord(outer[i], source.outerExtent(i));
    }
    return outer;
}

/// Calls `run(position, count, forward)` for the runs of neighbouring columns that a segment of mirrored coordinates
/// consists of: `count` elements from column `position` on, to the right or to the left.
template <class F>
void forEachMirrorRun(std::int64_t column, std::int64_t count, std::int64_t columns, F&& run) {
    const std::uint64_t distance = static_cast<std::uint64_t>(column < 0 ? ~column : column);
    // Right of 0 the first of every two images of the row runs forward; left of it the complement turns that round.
    bool forward = (distance / static_cast<std::uint64_t>(columns) % 2 == 0) == (column >= 0);
    std::int64_t position = computeCoord(column, columns);
    while (count > 0) {
        const std::int64_t length = std::min(count, forward ? columns - position : position + 1);
        run(position, length, forward);
        count -= length;
        position = forward ? columns - 1 : 0;
        forward = !forward;
    }
}

/// Fills `out` with mirrored elements, taken from a buffer whose first element is column `first`.
template <class T>
void copyMirrored(const T* from, std::int64_t first, T* out, std::int64_t column, std::int64_t count,
                  const Source& source) {
    const auto samples = static_cast<std::int64_t>(source.samples);
    forEachMirrorRun(column, count, source.columns(), [&](std::int64_t position, std::int64_t length, bool forward) {
        const T* element = from + (position - first) * samples;
        if (forward) {
            out = std::copy_n(element, length * samples, out);
        } else if (samples == 1) {
            out = std::reverse_copy(element - length + 1, element + 1, out);
        } else {
            for (std::int64_t i = 0; i < length; ++i, element -= samples) {
                out = std::copy_n(element, samples, out);
            }
        }
    });
}

/// Reads `count` elements from a column on that may lie outside, by the rule of the mirror.
template <class T>
void readMirroredRow(const Source& source, T* buffer, std::int64_t column, std::int64_t count,
                     const OuterCoordinates& outer) {
    const Parts parts = partsOf(column, count, source.columns());
    if (parts.inside == count) {
        readInside(source, buffer, column, count, outer);
        return;
    }
    // The columns of the image that the segment shows; at most as many as it has elements.
    std::int64_t low = source.columns();
    std::int64_t high = 0;
    const std::int64_t shown = std::min(count, 2 * std::min(source.columns(), count));
    forEachMirrorRun(column, shown, source.columns(), [&](std::int64_t position, std::int64_t length, bool forward) {
        low = std::min(low, forward ? position : position - length + 1);
        high = std::max(high, forward ? position + length : position + 1);
    });
    const auto samples = static_cast<std::int64_t>(source.samples);
    if (parts.firstInside <= low && parts.firstInside + parts.inside >= high) {
        T* const inside = buffer + parts.left * samples;
        readInside(source, inside, parts.firstInside, parts.inside, outer);
        copyMirrored(inside, parts.firstInside, buffer, column, parts.left, source);
        copyMirrored(inside, parts.firstInside, inside + parts.inside * samples, source.columns(), parts.right, source);
        return;
    }
    const Scratch scratch(static_cast<std::size_t>((high - low) * samples) * sizeof(T));
    readInside(source, scratch.as<T>(), low, high - low, outer);
    copyMirrored(scratch.as<T>(), low, buffer, column, count, source);
}

}  // namespace rix::access::borders
