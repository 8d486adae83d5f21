#include "TiffAxes.h"

#include <algorithm>

#include <rix/exceptions/Exception.h>

namespace rix::io {
namespace {

PageAxis pageAxisOf(Components axis) {
    return axis == SPECTRAL_SERIES ? PageAxis::Channel : axis == PLANS ? PageAxis::Slice : PageAxis::Frame;
}

[[noreturn]] void refuse(const Selection& selection, const String& reason) {
    throw LoadingError("The selection '" + escapeText(selection.axesText) + "' " + reason);
}

/// The axes of pages that a selection names, the fastest first.
std::vector<Selection::NamedAxis> pageAxesOf(const Selection& selection, const TiffPage& page) {
    std::vector<Selection::NamedAxis> axes = selection.axes;
    const auto take = [&](Components axis, std::size_t extent) {
        if (axes.empty() || axes.back().axis != axis) {
            refuse(selection, "does not end with yx: the pages of a TIFF file are rows and columns.");
        }
        if (axes.back().extent.value_or(extent) != extent) {
            refuse(selection, "does not fit the pages of " + std::to_string(page.columns) + " x " +
                                  std::to_string(page.rows) + '.');
        }
        axes.pop_back();
    };
    take(COLUMNS, page.columns);
    take(ROWS, page.rows);
    std::reverse(axes.begin(), axes.end());
    return axes;
}

/// Counts pages along axes one of which may have to be told by their number.
PageAxes countAnew(const Selection& selection, const std::vector<Selection::NamedAxis>& named, std::size_t pages) {
    PageAxes axes;
    std::vector<PageAxis> order;
    std::size_t product = 1;
    const Selection::NamedAxis* open = nullptr;
    for (const Selection::NamedAxis& axis : named) {
        order.push_back(pageAxisOf(axis.axis));
        if (axis.extent) {
            axes.setExtentOf(order.back(), *axis.extent);
            if (!helper::checkedMultiply(product, *axis.extent, product)) {
                refuse(selection, "tells of more pages than 64 bits can count.");
            }
        } else if (open != nullptr) {
            refuse(selection,
                   "does not tell how the " + std::to_string(pages) +
                       " pages of the file lie on its axes: all of them but one need a number of elements, as in "
                       "axes=tz10yx.");
        } else {
            open = &axis;
        }
    }
    if (open != nullptr && pages % product == 0) {
        axes.setExtentOf(pageAxisOf(open->axis), pages / product);
        product = pages;
    }
    if (product != pages) {
        refuse(selection, (open != nullptr ? "asks for a multiple of " : "asks for ") + std::to_string(product) +
                              " pages; the file has " + std::to_string(pages) + '.');
    }
    axes.order = orderFrom(order);
    return axes;
}

}  // namespace

void renamePages(const Selection& selection, TiffLayout& layout) {
    if (selection.axes.empty()) {
        return;
    }
    const auto named = pageAxesOf(selection, layout.pages.page);
    PageArrangement& arrangement = layout.arrangement;
    const PageAxes before = arrangement.axes;
    std::vector<PageAxis> told;  // the fastest first
    std::copy_if(before.order.begin(), before.order.end(), std::back_inserter(told),
                 [&](PageAxis axis) { return before.extentOf(axis) > 1; });
    const bool counted =
        std::any_of(named.begin(), named.end(), [](const auto& axis) { return axis.extent.has_value(); });
    if (counted || named.size() != told.size() || named.size() == 1) {
        arrangement.axes = countAnew(selection, named, before.pages().value_or(0));
        arrangement.positions.clear();
        return;
    }
    PageAxes renamed;
    std::vector<PageAxis> order;
    for (std::size_t i = 0; i < named.size(); ++i) {
        order.push_back(pageAxisOf(named[i].axis));
        renamed.setExtentOf(order.back(), before.extentOf(told[i]));
    }
    const auto nameOf = [&](PageAxis axis) -> std::optional<PageAxis> {
        const auto found = std::find(told.begin(), told.end(), axis);
        return found == told.end() ? std::nullopt
                                   : std::optional(order[static_cast<std::size_t>(found - told.begin())]);
    };
    for (PagePosition& position : arrangement.positions) {
        const PagePosition old = position;
        position = {};
        for (const PageAxis axis : before.order) {
            if (const auto name = nameOf(axis)) {
                position.of(*name) = old.of(axis);
            }
        }
    }
    renamed.order = orderFrom(order);
    arrangement.axes = renamed;
}

}  // namespace rix::io
