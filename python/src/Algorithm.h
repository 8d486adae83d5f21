#pragma once

#include <memory>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>

#include <rix/image/MemoryImage.h>
#include <rix/measurement/MeasurementObject.h>

#include "Arrays.h"
#include "ClassFacts.h"
#include "Interaction.h"

namespace rix::python {

/// How to run.
struct RunOptions {
    pybind11::object progress;  ///< a callable or None
    pybind11::object threads;   ///< a number or None
    std::string axes;           ///< of bare arrays, see `axesOfArray`
    std::string each;           ///< "t", "c" or both: run once for each frame, channel or both; empty for once on all
};

/// An algorithm object as Python has it: its properties by their place in the facts of its class, and the owners of
/// everything that its run reads and writes. Images are opened anew for every run, so that an array that was resized
/// meanwhile is used as it is then.
class Algorithm {
public:
    explicit Algorithm(const std::string& name);

    const ClassFacts& facts() const { return m_facts; }

    /// A value, an image as it was given, or a result of the last run; None when there is none.
    pybind11::object get(std::size_t place) const;
    /// Sets a value or an image; None unsets an image and leaves a value alone.
    void set(std::size_t place, pybind11::handle value);
    /// What can be said of a run with the present values and the shapes and types of the images; no sample is read.
    pybind11::dict describeRun(const std::string& axes);
    /// Runs without the interpreter's lock, and gives the results: a tuple in the order of the properties.
    pybind11::tuple run(const RunOptions& options);

private:
    class BusyGuard;
    struct OpenImages;

    void refuseWhileRunning() const;
    void applyEach(const std::string& each);
    void applyThreads(pybind11::handle threads, const OpenImages& images);
    OpenImages openImages(const std::string& axes);
    void makeObjects();
    void execute(pybind11::object progress, const OpenImages& images);
    void takeResults(OpenImages& images);

    const ClassFacts& m_facts;
    std::unique_ptr<BaseAlgorithm> m_algorithm;
    std::vector<bool> m_declined;                          ///< by place: optional results that nobody wants
    std::vector<pybind11::object> m_given;                 ///< by place: images as the user gave them
    std::vector<pybind11::object> m_results;               ///< by place: of the last run
    std::vector<std::shared_ptr<io::MemoryImage>> m_made;  ///< by place: images of earlier runs, to be used again
    std::vector<std::shared_ptr<measurement::MeasurementObject>> m_objects;  ///< by place
    bool m_busy = false;
};

/// One call of the function of a class: `inputs` by the places of the inputs.
pybind11::object callFunction(const std::string& name, const pybind11::tuple& inputs, pybind11::handle out,
                              const RunOptions& options);

}  // namespace rix::python
