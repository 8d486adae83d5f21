#include "RawAxes.h"

#include <algorithm>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"

namespace rix::io {
namespace {

/// The axes of the file by their names so far, the slowest first.
std::vector<Components> axesOf(const RawLayout& layout) {
    std::vector<Components> axes(layout.axes.rbegin(), layout.axes.rend());
    if (layout.namedByImage) {
        std::sort(axes.begin(), axes.end(), std::greater<>());
    }
    return axes;
}

vessel::Vector3d& directionOf(ImageFileInfo& info, Components axis) {
    auto& directions = info.spatialDirections;
    return axis == COLUMNS ? directions.columnDirection
           : axis == ROWS  ? directions.rowDirection
                           : directions.sliceDirection;
}

}  // namespace

void renameAxes(const Selection& selection, RawLayout& layout) {
    if (selection.axes.empty()) {
        return;
    }
    const ImageFileInfo before = layout.info;
    const auto extentOf = [&](Components axis) { return before.extents[static_cast<std::size_t>(axis)]; };
    std::vector<Components> axes = axesOf(layout);
    if (axes.size() != selection.axes.size()) {  // an axis of one element need not be named
        std::erase_if(axes, [&](Components axis) { return extentOf(axis) == 1; });
    }
    String sizes;
    bool fits = axes.size() == selection.axes.size();
    for (std::size_t i = 0; i < axes.size(); ++i) {
        sizes += (sizes.empty() ? "" : " x ") + std::to_string(extentOf(axes[i]));
        fits = fits && selection.axes[i].extent.value_or(extentOf(axes[i])) == extentOf(axes[i]);
    }
    if (!fits) {
        throw LoadingError("The selection '" + escapeText(selection.axesText) +
                           "' does not fit the file, whose axes are " + (sizes.empty() ? "of 1 element" : sizes) +
                           ", the slowest first.");
    }
    ImageFileInfo& info = layout.info;
    ImageFileInfo from = before;
    info.extents = {1, 1, 1, 1, 1};
    std::array<Components, RIX_COMPONENTS_SIZE> names{COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES};
    for (std::size_t i = 0; i < axes.size(); ++i) {
        const Components name = selection.axes[i].axis;
        names[static_cast<std::size_t>(axes[i])] = name;
        info.extents[static_cast<std::size_t>(name)] = extentOf(axes[i]);
        if (axes[i] <= PLANS && name <= PLANS) {
            info.spacing[static_cast<std::size_t>(name)] = before.spacing[static_cast<std::size_t>(axes[i])];
            directionOf(info, name) = directionOf(from, axes[i]);
        }
        if (name == SPECTRAL_SERIES && axes[i] != SPECTRAL_SERIES) {
            info.colorInterpretation = UNKNOWN;
        }
    }
    // What has one element and no name lies nowhere in particular.
    std::erase_if(layout.axes,
                  [&](Components axis) { return std::find(axes.begin(), axes.end(), axis) == axes.end(); });
    std::transform(layout.axes.begin(), layout.axes.end(), layout.axes.begin(),
                   [&](Components axis) { return names[static_cast<std::size_t>(axis)]; });
}

}  // namespace rix::io
