#include <rix/rendering/Slice.h>

#include <algorithm>
#include <array>
#include <functional>
#include <string>

#include <rix/access/VoxelTypeLists.h>

#include <rix/rendering/LabelColours.h>
#include <rix/rendering/NotDrawable.h>
#include <rix/rendering/Rows.h>

namespace rix::rendering {
namespace {

std::size_t resolve(const ImageModel& image, Components axis, const char* name,
                    const std::optional<std::size_t>& chosen, std::size_t unlessChosen) {
    const std::size_t extent = image.getNumOf(axis);
    const std::size_t index = chosen.value_or(unlessChosen);
    if (index >= extent) {
        throw NotDrawable(std::string("there is no ") + name + ' ' + std::to_string(index) + ": the image has " +
                          std::to_string(extent) + ", counted from 0");
    }
    return index;
}

RowPosition resolve(const ImageModel& image, const SliceChoice& choice) {
    if (image.getElementType() != SINGLE) {
        throw NotDrawable("an image of elements " + helper::elementTypesToString(image.getElementType()) +
                          " can't be drawn, only one of single samples");
    }
    RowPosition at;
    at.plane = resolve(image, PLANS, "plane", choice.plane, image.getNumOf(PLANS) / 2);
    at.frame = resolve(image, SEQUENCE, "frame", choice.frame, 0);
    at.channel = resolve(image, SPECTRAL_SERIES, "channel", choice.channel, 0);
    return at;
}

/// The window over a slice, from about a million values at most: every row gives some, at columns that move from row
/// to row so that a pattern of the image can't hide between them.
Window windowOf(const ImageModel& image, RowPosition at, const std::vector<std::size_t>& channels,
                helper::InterruptPoint interrupt) {
    constexpr std::size_t enoughValues = std::size_t{1} << 20;
    constexpr std::size_t scatter = 40503;  // 2^16 / golden ratio: spreads the rows' offsets evenly
    RowReader reader(image, interrupt);
    const std::size_t rows = image.getNumOf(ROWS);
    const std::size_t wantedOfRow = std::max<std::size_t>(1, enoughValues / std::max<std::size_t>(1, rows));
    const std::size_t step = std::max<std::size_t>(1, image.getNumOf(COLUMNS) / wantedOfRow);
    std::vector<double> values;
    for (const std::size_t channel : channels) {
        at.channel = channel;
        for (at.row = 0; at.row < rows; ++at.row) {
            const auto& row = reader.readReals(at);
            for (std::size_t x = at.row * scatter % step; x < row.size(); x += step) {
                values.push_back(row[x]);
            }
        }
    }
    return automaticWindow(std::move(values));
}

/// Colours a slice by a function of the sample's value.
template <class ColourOf>
Picture paintReals(const ImageModel& image, RowPosition at, helper::InterruptPoint interrupt, ColourOf colourOf) {
    Picture picture(image.getNumOf(COLUMNS), image.getNumOf(ROWS));
    RowReader reader(image, interrupt);
    for (at.row = 0; at.row < picture.height(); ++at.row) {
        const auto& row = reader.readReals(at);
        std::transform(row.begin(), row.end(), picture.row(at.row), colourOf);
    }
    return picture;
}

LabelSlice readLabels(const ImageModel& image, RowPosition at, helper::InterruptPoint interrupt) {
    LabelSlice slice{image.getNumOf(COLUMNS), image.getNumOf(ROWS), {}};
    RowReader reader(image, interrupt);
    for (at.row = 0; at.row < slice.height; ++at.row) {
        const auto& row = reader.readLabels(at);
        slice.labels.insert(slice.labels.end(), row.begin(), row.end());
    }
    return slice;
}

Picture paintLabels(const LabelSlice& slice) {
    Picture picture(slice.width, slice.height);
    const LabelColours colours(slice);
    for (std::size_t y = 0; y < slice.height; ++y) {
        const auto row = slice.labels.begin() + static_cast<std::ptrdiff_t>(y * slice.width);
        std::transform(row, row + static_cast<std::ptrdiff_t>(slice.width), picture.row(y), std::cref(colours));
    }
    return picture;
}

/// RGB, or RGB with the opacity as a fourth channel.
Picture paintRgb(const ImageModel& image, RowPosition at, helper::InterruptPoint interrupt) {
    constexpr std::array<std::uint8_t Colour::*, 4> members{&Colour::red, &Colour::green, &Colour::blue,
                                                            &Colour::opacity};
    const VoxelTypes type = image.getVoxelType();
    const Window window = type == RIX_UINT8    ? Window{0, 255}
                          : type == RIX_UINT16 ? Window{0, 65535}
                                               : windowOf(image, at, {0, 1, 2}, interrupt);
    Picture picture(image.getNumOf(COLUMNS), image.getNumOf(ROWS));
    RowReader reader(image, interrupt);
    // Opacity has a range of its own: that of the type, from 0 to 1 where it is real. Other types know none.
    const bool isReal = type == RIX_FLOAT32 || type == RIX_FLOAT64;
    const Window opacity = isReal ? Window{0, 1} : window;
    const bool hasOpacity = image.getNumOf(SPECTRAL_SERIES) == 4 && (isReal || type == RIX_UINT8 || type == RIX_UINT16);
    for (at.channel = 0; at.channel < (hasOpacity ? 4U : 3U); ++at.channel) {
        for (at.row = 0; at.row < picture.height(); ++at.row) {
            const auto& row = reader.readReals(at);
            for (std::size_t x = 0; x < row.size(); ++x) {
                picture.row(at.row)[x].*members[at.channel] = toGreyLevel(row[x], at.channel == 3 ? opacity : window);
            }
        }
    }
    return picture;
}

}  // namespace

Picture renderSlice(const ImageModel& image, const SliceChoice& choice, helper::InterruptPoint interrupt) {
    const RowPosition at = resolve(image, choice);
    if (image.getInterpretation() == RIX_LABEL) {
        return paintLabels(readLabels(image, at, interrupt));
    }
    if (image.getInterpretation() == RIX_BINARY) {
        return paintReals(image, at, interrupt, [](double value) { return value == 0 ? grey(0) : grey(255); });
    }
    const std::size_t channels = image.getNumOf(SPECTRAL_SERIES);
    if (image.getColorInterpretation() == RGB && (channels == 3 || channels == 4) && !choice.channel) {
        return paintRgb(image, at, interrupt);
    }
    const Window window = windowOf(image, at, {at.channel}, interrupt);
    return paintReals(image, at, interrupt, [&](double value) { return grey(toGreyLevel(value, window)); });
}

void checkSlice(const ImageModel& image, const SliceChoice& choice) {
    resolve(image, choice);
}

void checkLabels(const ImageModel& image) {
    if (!access::contains(access::Integers{}, image.getVoxelType())) {
        throw NotDrawable("contours need labels, that is integers; the image holds " +
                          helper::voxelTypesToString(image.getVoxelType()));
    }
}

LabelSlice readLabelSlice(const ImageModel& image, const SliceChoice& choice, helper::InterruptPoint interrupt) {
    const RowPosition at = resolve(image, choice);
    checkLabels(image);
    return readLabels(image, at, interrupt);
}

SliceChoice matchingSlice(const ImageModel& over, const ImageModel& base, const SliceChoice& choice) {
    const RowPosition at = resolve(over, choice);
    SliceChoice matching;
    matching.plane = base.getNumOf(PLANS) == 1 ? 0 : at.plane;
    matching.frame = base.getNumOf(SEQUENCE) == 1 ? 0 : at.frame;
    return matching;
}

}  // namespace rix::rendering
