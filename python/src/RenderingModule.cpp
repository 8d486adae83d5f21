// Pictures, as a module of its own: it needs a drawing library, which what only computes does without.

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <rix/rendering/NotDrawable.h>
#include <rix/rendering/View.h>

#include "Arrays.h"
#include "Errors.h"
#include "Interaction.h"

namespace py = pybind11;

namespace rix::python {
namespace {

/// A picture as an array of (rows, columns, 3) of uint8.
py::array samplesOf(const rendering::Picture& picture) {
    const auto rows = static_cast<py::ssize_t>(picture.height());
    const auto columns = static_cast<py::ssize_t>(picture.width());
    py::array_t<std::uint8_t> samples({rows, columns, py::ssize_t{3}});
    std::uint8_t* sample = samples.mutable_data();
    for (std::size_t y = 0; y < picture.height(); ++y) {
        for (const rendering::Colour* pixel = picture.row(y); pixel != picture.row(y) + picture.width(); ++pixel) {
            *sample++ = pixel->red;
            *sample++ = pixel->green;
            *sample++ = pixel->blue;
        }
    }
    return samples;
}

py::array draw(const GivenImage& image, const GivenImage* base, const rendering::SliceChoice& slice,
               rendering::LabelNumbers numbers) {
    try {
        return samplesOf(interruptibly([&](const std::function<bool()>& interrupted) {
            return rendering::onWhite(rendering::renderView(*image.image, base != nullptr ? base->image.get() : nullptr,
                                                            slice, numbers, interrupted));
        }));
    } catch (const rendering::NotDrawable& refused) {
        throw RefusedError(refused.what());
    }
}

/// The outlines of labels on a picture of `base`, on wish with the label on each object, enlarged where the numbers
/// would not fit otherwise.
py::array overlay(py::handle base, py::handle labels, const std::string& axes, std::optional<std::size_t> plane,
                  std::optional<std::size_t> frame, bool numbers) {
    const GivenImage under = openInput(base, axes);
    // Labels have the axes of the picture without its channels.
    std::string labelAxes = axes;
    labelAxes.erase(std::remove(labelAxes.begin(), labelAxes.end(), 'c'), labelAxes.end());
    const GivenImage over = openLabels(labels, labelAxes);
    if (over.image->getInterpretation() == RIX_VALUE && !over.image->setInterpretation(RIX_LABEL)) {
        throw MisuseError("the labels can't be marked as labels");
    }
    return draw(over, &under, {plane, frame, std::nullopt},
                numbers ? rendering::LabelNumbers::Drawn : rendering::LabelNumbers::None);
}

/// The picture of an image alone: its middle plane, its first frame.
py::array view(py::handle image) {
    return draw(openInput(image, ""), nullptr, {}, rendering::LabelNumbers::None);
}

}  // namespace
}  // namespace rix::python

PYBIND11_MODULE(_rendering, module) {
    module.doc() = "The compiled part of rix that draws. Use the package.";
    rix::python::registerErrors();
    module.def("overlay", &rix::python::overlay);
    module.def("view", &rix::python::view);
}
