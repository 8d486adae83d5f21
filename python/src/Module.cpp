#include <cstdint>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <rix/Library.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/description/Suggestions.h>
#include <rix/settings/Settings.h>

#include "Algorithm.h"
#include "Arrays.h"
#include "Axes.h"
#include "Description.h"
#include "Errors.h"
#include "Exits.h"
#include "Files.h"
#include "OpenImage.h"
#include "Thresholds.h"

namespace py = pybind11;

namespace {

using rix::python::Algorithm;

rix::python::RunOptions optionsFrom(py::object progress, py::object threads, const std::string& axes,
                                    const std::string& each) {
    return {std::move(progress), std::move(threads), axes, each};
}

}  // namespace

PYBIND11_MODULE(_rix, module) {
    module.doc() = "The compiled part of rix: algorithms by name, properties by place. Use the package.";
    rix::python::registerErrors();

    py::class_<Algorithm>(module, "Algorithm", "Base of every algorithm class.")
        .def(py::init<const std::string&>())
        .def("_get", &Algorithm::get)
        .def("_set", &Algorithm::set)
        .def("_describe", &Algorithm::describeRun)
        .def("_run", [](Algorithm& algorithm, py::object progress, py::object threads, const std::string& axes,
                        const std::string& each) {
            return algorithm.run(optionsFrom(std::move(progress), std::move(threads), axes, each));
        });
    module.def("call", [](const std::string& name, const py::tuple& inputs, py::handle out, py::object progress,
                          py::object threads, const std::string& axes, const std::string& each) {
        return rix::python::callFunction(name, inputs, out,
                                         optionsFrom(std::move(progress), std::move(threads), axes, each));
    });
    using rix::python::OpenImage;
    py::class_<OpenImage>(module, "OpenImage", "Base of the images on disk.")
        .def(py::init(&rix::python::openFile))
        .def(py::init(&rix::python::createFile))
        .def_property_readonly("_path", &OpenImage::path)
        .def_property_readonly("_closed", &OpenImage::isClosed)
        .def_property_readonly("_has_samples", [](const OpenImage& image) { return !image.axes().empty(); })
        .def("_header", &OpenImage::header)
        .def("_chunks", &OpenImage::chunks)
        .def("_calibrate", &OpenImage::calibrate)
        .def("_read", &OpenImage::read)
        .def("_close", &OpenImage::close)
        .def("_give_up", &OpenImage::giveUp);
    module.def("describe", &rix::python::describeClass);
    module.def("list", &rix::python::listClasses);
    module.def("suggest", [](const std::string& name, const std::vector<std::string>& candidates) {
        return rix::description::suggest(name, candidates);
    });
    module.def("version", &rix::version);
    module.def("axes_of_array", &rix::python::axesOfArray);
    module.def("read_image", &rix::python::readFile);
    module.def("write_image", &rix::python::writeFile);
    module.def("threshold_of_counts", &rix::python::thresholdOfCounts);
    // Where a run reads the first sample of an input: shows whether it is copied.
    module.def("input_address", [](py::handle image, const std::string& axes) {
        return reinterpret_cast<std::uintptr_t>(rix::python::openInput(image, axes).array.data());
    });
    module.def("end_runs", &rix::python::endRuns);
    // The threads of a process don't live in its forks, oneTBB's can't be started anew there.
    module.def("stay_in_callers_thread", [] {
        rix::python::forgetRuns();
        rix::globalSettings().setMaximumNumberOfThreads(1);
    });
}
