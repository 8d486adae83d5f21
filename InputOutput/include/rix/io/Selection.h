#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/image/ImageTypes.h>

namespace rix::io {

/// The header of a file of samples alone, given in words: "type=uint16,size=512x512x20,offset=128".
struct RawWords {
    String type{};                    ///< of the samples, such as "uint16"
    std::vector<std::size_t> size{};  ///< of the axes, in the order x, y, z, t, c; empty where the axes have numbers
    bool bigEndian = false;
    std::uint64_t offset = 0;       ///< bytes before the samples
    std::vector<double> spacing{};  ///< of x, y and z; one for all, none for 1
    String unit{};
    Interpretations meaning = RIX_VALUE;
    bool rgb = false;
    String text{};  ///< as it was given, for messages
};

/// A part of the image in a file: "c=0,t=2,z=10:20,x=100:300", "series=1", "axes=tyx". Nothing given is all of it.
///
/// Indices count from 0, negative ones from the end (-1 is the last). A range has its first index but not its last, and
/// either may be left out; an index alone keeps the axis, with one element.
struct Selection {
    struct Range {
        std::optional<std::int64_t> first{};
        std::optional<std::int64_t> last{};  ///< the one behind the range
        bool single = false;                 ///< `first` alone
        String text{};                       ///< as it was given, for messages
    };
    struct NamedAxis {
        Components axis = COLUMNS;
        std::optional<std::size_t> extent{};
    };

    std::array<std::optional<Range>, RIX_COMPONENTS_SIZE> ranges{};  ///< by `Components`
    std::optional<std::size_t> series{};                             ///< an image among several of the file
    std::optional<std::size_t> level{};                              ///< of its pyramid, 0 for all samples
    /// What the axes of the file are, the slowest first; empty for what the file says.
    std::vector<NamedAxis> axes{};
    String axesText{};
    /// Given, the file has no header but this one, whatever its bytes look like.
    std::optional<RawWords> raw{};
};

/// Reads the text of a selection: parts with commas between, in any order, blanks around them allowed.
/// - `x=`, `y=`, `z=`, `t=`, `c=` (columns, rows, planes, time, channels) and an index or a range;
/// - `series=` and a number from 0;
/// - `level=` and a number from 0: a copy of the picture with fewer samples, where the file has them;
/// - `axes=` and the letters of the axes, the slowest first, each of which a number of elements may follow: "tz10yx";
/// - for a file without a header: `type=`, and `size=512x512x20` or numbers in `axes=`; `endian=little|big` (little),
///   `offset=` (bytes before the samples), `spacing=0.5x0.5x2`, `unit=`, `meaning=value|binary|label`, `color=rgb`.
/// @throws SerializationException naming the part, and what is accepted.
RIX_EXPORT Selection parseSelection(std::string_view text);

/// The letter of an axis: x, y, z, t, c.
RIX_EXPORT char letterOf(Components axis);

/// A name of a file and the text of a selection.
struct SelectedFile {
    std::filesystem::path path;
    String selection{};  ///< empty for none
};

/// Takes "cells.tif[z=3]" apart. A file of just that name is that file; and brackets are part of a name that they do
/// not end, or when there is no '=' in them, unless what is before them is the name of a file.
RIX_EXPORT SelectedFile splitSelection(const std::filesystem::path& name);

}  // namespace rix::io
