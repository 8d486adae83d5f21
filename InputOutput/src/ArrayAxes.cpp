#include "ArrayAxes.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>

#include <rix/exceptions/Exception.h>

#include "Metadata.h"
#include "SampleRows.h"

namespace rix::io {
namespace {

std::optional<Components> axisNamed(std::string_view name) {
    static const std::map<std::string_view, Components> names{{"x", COLUMNS},
                                                              {"y", ROWS},
                                                              {"z", PLANS},
                                                              {"t", SEQUENCE},
                                                              {"c", SPECTRAL_SERIES},
                                                              {"time", SEQUENCE},
                                                              {"channel", SPECTRAL_SERIES}};
    const auto found = names.find(name);
    return found != names.end() ? std::optional(found->second) : std::nullopt;
}

}  // namespace

Extents extentsOf(const std::vector<std::size_t>& shape, const std::vector<Components>& axes) {
    Extents extents{1, 1, 1, 1, 1};
    for (std::size_t i = 0; i < axes.size(); ++i) {
        extents[static_cast<std::size_t>(axes[i])] = shape[i];
    }
    return extents;
}

std::vector<std::size_t> shapeOf(const Extents& extents, const std::vector<Components>& axes) {
    std::vector<std::size_t> shape;
    for (const Components axis : axes) {
        shape.push_back(extents[static_cast<std::size_t>(axis)]);
    }
    return shape;
}

std::vector<Components> axesFor(const Extents& extents) {
    std::vector<Components> axes;
    for (const Components axis : {SEQUENCE, SPECTRAL_SERIES, PLANS, ROWS, COLUMNS}) {
        if (axis == ROWS || axis == COLUMNS || extents[static_cast<std::size_t>(axis)] > 1) {
            axes.push_back(axis);
        }
    }
    return axes;
}

void addAxis(std::vector<Components>& axes, const String& name, const String& type) {
    std::optional<Components> axis = axisNamed(name);
    if (!axis && type == "time") {
        axis = SEQUENCE;
    } else if (!axis && type == "channel") {
        axis = SPECTRAL_SERIES;
    }
    if (!axis || std::find(axes.begin(), axes.end(), *axis) != axes.end()) {
        throw LoadingError("The image has an axis '" + escapeText(name) +
                           "', which images do not have, or not twice: the selection axes= says what it is.");
    }
    axes.push_back(*axis);
}

std::vector<Components> namedAxes(const std::vector<Components>& axes, const Selection& selection) {
    if (selection.axes.empty()) {
        return axes;
    }
    if (selection.axes.size() != axes.size()) {
        throw LoadingError("The selection '" + escapeText(selection.axesText) + "' names " +
                           std::to_string(selection.axes.size()) + " axes; the array has " +
                           std::to_string(axes.size()) + '.');
    }
    std::vector<Components> named;
    for (const Selection::NamedAxis& axis : selection.axes) {
        named.push_back(axis.axis);
    }
    return named;
}

std::vector<Components> axesOfArray(const std::vector<String>& names, std::size_t count, const ReadOptions& options) {
    std::vector<Components> axes;
    if (options.selection.axes.empty() && names.size() == count) {
        for (const String& name : names) {
            addAxis(axes, name, "");
        }
        return axes;
    }
    if (count > 3 && options.selection.axes.empty()) {
        warnOrRefuse(options, "The file doesn't tell what the " + std::to_string(count) +
                                  " axes of the array are: they are taken as " + (count == 4 ? "" : "channels, ") +
                                  "time, planes, rows and columns.");
    }
    for (std::size_t axis = count; axis-- > 0;) {
        axes.push_back(static_cast<Components>(axis));
    }
    return namedAxes(axes, options.selection);
}

ChunkOrder::ChunkOrder(const std::vector<std::size_t>& chunk, const std::vector<Components>& axes)
    : m_chunk(extentsOf(chunk, axes)) {
    std::size_t step = 1;
    int faster = -1;
    for (std::size_t i = axes.size(); i-- > 0;) {
        const auto axis = static_cast<std::size_t>(axes[i]);
        m_steps[axis] = step;
        step *= chunk[i];
        if (chunk[i] > 1) {
            m_isOfImages = m_isOfImages && static_cast<int>(axis) > faster;
            faster = static_cast<int>(axis);
        }
    }
}

template <class Copy>
void ChunkOrder::forEachRowOf(const Extents& box, const Copy& copy) const {
    forEachRow({{}, box}, m_chunk, [&](const Place& at, std::size_t count, std::size_t inImage) {
        const std::size_t inFile = at.channel * m_steps[SPECTRAL_SERIES] + at.frame * m_steps[SEQUENCE] +
                                   at.plane * m_steps[PLANS] + at.row * m_steps[ROWS];
        copy(inImage, inFile, std::max<std::size_t>(m_steps[COLUMNS], 1), count);
    });
}

void ChunkOrder::toImage(const std::uint8_t* from, std::uint8_t* to, const Extents& box,
                         std::size_t sampleBytes) const {
    forEachRowOf(box, [&](std::size_t inImage, std::size_t inFile, std::size_t step, std::size_t count) {
        copySamples(from + inFile * sampleBytes, step, to + inImage * sampleBytes, 1, count, sampleBytes);
    });
}

void ChunkOrder::toFile(const std::uint8_t* from, std::uint8_t* to, const Extents& box, std::size_t sampleBytes) const {
    forEachRowOf(box, [&](std::size_t inImage, std::size_t inFile, std::size_t step, std::size_t count) {
        copySamples(from + inImage * sampleBytes, 1, to + inFile * sampleBytes, step, count, sampleBytes);
    });
}

}  // namespace rix::io
