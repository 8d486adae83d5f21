#include "Part.h"

#include <algorithm>
#include <cmath>

#include <rix/exceptions/Exception.h>

#include "Codec.h"
#include "Metadata.h"
#include "SampleRows.h"

namespace rix::io {
namespace {

String describeExtents(const ImageFileInfo& info) {
    String text;
    for (std::size_t axis = 0; axis < info.extents.size(); ++axis) {
        text += (text.empty() ? "" : ", ") + String(1, letterOf(static_cast<Components>(axis))) +
                " 0:" + std::to_string(info.extents[axis]);
    }
    return text;
}

[[noreturn]] void refuse(const Selection::Range& range, std::size_t axis, const ImageFileInfo& info,
                         const char* reason) {
    const std::size_t extent = info.extents[axis];
    throw LoadingError("The selection '" + escapeText(range.text) + "' " + reason + ": " +
                       letterOf(static_cast<Components>(axis)) + " goes from 0 to " + std::to_string(extent - 1) +
                       ". The image has " + describeExtents(info) + '.');
}

/// The place of an index from 0 to `extent`; nothing for one outside.
std::optional<std::size_t> placeOf(std::int64_t index, std::size_t extent) {
    if (index >= 0) {
        const auto place = static_cast<std::uint64_t>(index);
        return place <= extent ? std::optional<std::size_t>(place) : std::nullopt;
    }
    const std::uint64_t back = std::uint64_t{0} - static_cast<std::uint64_t>(index);
    return back <= extent ? std::optional<std::size_t>(extent - back) : std::nullopt;
}

Indices indicesOf(const Selection::Range& range, std::size_t axis, const ImageFileInfo& info) {
    const std::size_t extent = info.extents[axis];
    const auto first = placeOf(range.first.value_or(0), extent);
    if (range.single) {
        if (!first || *first == extent) {
            refuse(range, axis, info, "is not in the image");
        }
        return {*first, 1};
    }
    const auto last = range.last ? placeOf(*range.last, extent) : std::optional(extent);
    if (!first || !last) {
        refuse(range, axis, info, "reaches beyond the image");
    }
    if (*first >= *last) {
        refuse(range, axis, info, "is empty");
    }
    return {*first, *last - *first};
}

}  // namespace

Part takePart(const Selection& selection, ImageFileInfo& info) {
    Part part;
    std::array<double, 3> shift{};
    ImageFileInfo taken = info;
    for (std::size_t axis = 0; axis < part.size(); ++axis) {
        const auto& range = selection.ranges[axis];
        part[axis] = range ? indicesOf(*range, axis, info) : Indices{0, info.extents[axis]};
        taken.extents[axis] = part[axis].count;
        if (part[axis].first == 0) {
            continue;
        }
        const double way = static_cast<double>(part[axis].first) * info.spacing[axis];
        if (axis > PLANS) {
            taken.origin[axis] += way;
            continue;
        }
        const auto& directions = info.spatialDirections;
        const auto& direction = axis == COLUMNS ? directions.columnDirection
                                : axis == ROWS  ? directions.rowDirection
                                                : directions.sliceDirection;
        for (std::size_t i = 0; i < shift.size(); ++i) {
            shift[i] += way * direction[i];
        }
    }
    for (std::size_t i = 0; i < shift.size(); ++i) {
        taken.origin[i] += shift[i];
    }
    const Indices& channels = part[SPECTRAL_SERIES];
    const bool allColours = channels.first == 0 && (channels.count == info.extents[SPECTRAL_SERIES] ||
                                                    (info.colorInterpretation == RGB && channels.count == 3));
    taken.colorInterpretation = allColours ? info.colorInterpretation : UNKNOWN;
    info = taken;
    return part;
}

PartialImage::PartialImage(ImageFileInfo whole, const ReadOptions& options) {
    const auto extents = whole.extents;
    m_part = applyOptions(options, whole);
    m_whole = extents == whole.extents;
    m_image = std::make_unique<MemoryImage>();
    if (!helper::applyHeader(whole, *m_image)) {
        throw MemoryError("There is not enough memory for the samples of the image.");
    }
    m_sampleBytes = helper::getSizeOf(whole.voxelType);
}

bool PartialImage::keepsAll(const Place& place, std::size_t count) const {
    return kept(COLUMNS).holdsAll(place.column, count) && kept(ROWS).holds(place.row) &&
           kept(PLANS).holds(place.plane) && kept(SEQUENCE).holds(place.frame) &&
           kept(SPECTRAL_SERIES).holds(place.channel);
}

std::uint8_t* PartialImage::address(const Place& place) {
    return rowAddress(*m_image, 1, place.column - kept(COLUMNS).first, place.row - kept(ROWS).first,
                      place.plane - kept(PLANS).first, place.frame - kept(SEQUENCE).first,
                      place.channel - kept(SPECTRAL_SERIES).first);
}

std::uint8_t* PartialImage::open(const Place& place, std::size_t count) {
    m_open = 0;
    if (keepsAll(place, count)) {
        return address(place);
    }
    m_beside.resize(count * m_sampleBytes);
    m_place = place;
    m_open = count;
    return m_beside.data();
}

void PartialImage::close() {
    if (m_open != 0) {
        put(m_beside.data(), 1, m_place, m_open);
    }
}

void PartialImage::put(const std::uint8_t* samples, std::size_t step, const Place& place, std::size_t count) {
    const std::size_t begin = std::max(place.column, kept(COLUMNS).first);
    const std::size_t end = std::min(place.column + count, kept(COLUMNS).end());
    Place target = place;
    target.column = begin;
    if (begin < end && keepsAll(target, end - begin)) {
        copySamples(samples + (begin - place.column) * step * m_sampleBytes, step, address(target), 1, end - begin,
                    m_sampleBytes);
    }
}

}  // namespace rix::io
