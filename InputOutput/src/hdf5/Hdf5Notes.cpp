// What is noted of data sets: the names of axes as HDF5 itself notes them or as a JSON text of "axistags", the spacing
// of planes, rows and columns in micrometres, and our own keys.

#include <algorithm>

#include <nlohmann/json.hpp>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "../Units.h"
#include "Hdf5Store.h"

namespace rix::io {
namespace {

using nlohmann::json;

constexpr const char* OwnKeys = "rix";
constexpr const char* Spacing = "element_size_um";
constexpr std::array<Components, 3> SpacingAxes{PLANS, ROWS, COLUMNS};
constexpr const char* Micrometre = "µm";

}  // namespace

std::vector<String> axisNames(const hdf5::Notes& notes) {
    const auto tags = notes.texts.find("axistags");
    if (!notes.axes.empty() || tags == notes.texts.end()) {
        return notes.axes;
    }
    std::vector<String> names;
    const json parsed = json::parse(tags->second, nullptr, false);
    const json axes = parsed.is_object() ? parsed.value("axes", json::array()) : json::array();
    for (const json& axis : axes) {
        const auto key = axis.is_object() ? axis.find("key") : axis.end();
        if (!axis.is_object() || key == axis.end() || !key->is_string()) {
            return {};
        }
        names.push_back(key->get<String>());
    }
    return names;
}

hdf5::Notes notesOn(const ImageHeader& header, const std::vector<Components>& axes) {
    const ImageFileInfo info = describe(HeaderImage(header));
    hdf5::Notes notes;
    for (const Components axis : axes) {
        notes.axes.emplace_back(1, letterOf(axis));
    }
    if (const auto metres = metresOf(info.spatialUnitName)) {
        for (const Components axis : SpacingAxes) {
            const double spacing = info.spacing[static_cast<std::size_t>(axis)];
            notes.numbers[Spacing].push_back(*metres == 1e-6 ? spacing : spacing * *metres / 1e-6);
        }
    }
    notes.texts[OwnKeys] = formatOwnKeys(info);
    return notes;
}

void applyNotes(const hdf5::Notes& notes, const std::vector<Components>& axes, ImageFileInfo& info) {
    if (const auto own = notes.texts.find(OwnKeys); own != notes.texts.end()) {
        applyOwnKeys(parseKeys(own->second), info);
    }
    const auto spacing = notes.numbers.find(Spacing);
    if (spacing == notes.numbers.end() || spacing->second.size() != SpacingAxes.size() ||
        !std::all_of(spacing->second.begin(), spacing->second.end(), isSpacing)) {
        return;
    }
    // Our own note says the same more exactly, unless somebody has changed this one since.
    if (notesOn(info, axes).numbers[Spacing] == spacing->second) {
        return;
    }
    for (std::size_t i = 0; i < SpacingAxes.size(); ++i) {
        info.spacing[static_cast<std::size_t>(SpacingAxes[i])] = spacing->second[i];
    }
    info.spatialUnitName = Micrometre;
}

}  // namespace rix::io
