#include "Algorithm.h"

#include <algorithm>
#include <utility>

#include <pybind11/stl.h>

#include <rix/exceptions/Exception.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/Property.h>
#include <rix/settings/Settings.h>

#include "Errors.h"
#include "Exits.h"
#include "Tables.h"

namespace py = pybind11;

namespace rix::python {

/// Marks the object as running. The interpreter's lock is held where it begins and ends.
class Algorithm::BusyGuard {
public:
    explicit BusyGuard(Algorithm& algorithm) : m_algorithm(algorithm) {
        m_algorithm.refuseWhileRunning();
        m_algorithm.m_busy = true;
    }
    ~BusyGuard() { m_algorithm.m_busy = false; }
    BusyGuard(const BusyGuard&) = delete;
    BusyGuard& operator=(const BusyGuard&) = delete;

private:
    Algorithm& m_algorithm;
};

/// The images of a run, by place. The properties point to them; when they go, the properties are unset.
struct Algorithm::OpenImages {
    explicit OpenImages(Algorithm& owner) : algorithm(&owner), given(owner.m_facts.properties.size()) {}
    ~OpenImages() {
        for (const PropertyFacts& property : algorithm != nullptr ? algorithm->m_facts.properties : none()) {
            if (property.role == PropertyRole::InputImage) {
                static_cast<Property<const ImageModel*>&>(property.of(*algorithm->m_algorithm)).set(nullptr);
            } else if (property.isImage()) {
                static_cast<Property<ImageModel*>&>(property.of(*algorithm->m_algorithm)).set(nullptr);
            }
        }
    }
    OpenImages(OpenImages&& other) noexcept
        : algorithm(std::exchange(other.algorithm, nullptr)),
          given(std::move(other.given)),
          reference(other.reference) {}
    OpenImages(const OpenImages&) = delete;
    OpenImages& operator=(const OpenImages&) = delete;
    OpenImages& operator=(OpenImages&&) = delete;

    /// Images of which handing the run to another thread would cost more than the run.
    bool areSmall() const {
        constexpr std::size_t smallImage = 1 << 14;
        return std::all_of(given.begin(), given.end(), [](const GivenImage& entry) {
            std::size_t elements = 0;
            return entry.image == nullptr ||
                   (helper::getElementCount(*entry.image, elements) && elements <= smallImage);
        });
    }

    static const std::vector<PropertyFacts>& none() {
        static const std::vector<PropertyFacts> list;
        return list;
    }

    Algorithm* algorithm;
    std::vector<GivenImage> given;          ///< without an image where the property has none
    const GivenImage* reference = nullptr;  ///< the first input: results have its form and axes
};

Algorithm::Algorithm(const std::string& name)
    : m_facts(factsOf(name)),
      m_algorithm(description::createAlgorithm(*m_facts.info)),
      m_declined(m_facts.properties.size()),
      m_given(m_facts.properties.size()),
      m_results(m_facts.properties.size()),
      m_made(m_facts.properties.size()),
      m_objects(m_facts.properties.size()) {}

void Algorithm::refuseWhileRunning() const {
    if (m_busy) {
        throw MisuseError("this " + m_facts.name +
                          " is running; an object runs one run at a time and can't be changed "
                          "meanwhile (others of its class can)");
    }
}

py::object Algorithm::get(std::size_t place) const {
    const PropertyFacts& property = m_facts.properties.at(place);
    if (property.role == PropertyRole::Value) {
        return property.kind->get(property.of(*m_algorithm));
    }
    for (const auto& held : {m_results[place], m_given[place]}) {
        if (held) {
            return held;
        }
    }
    return py::none();
}

void Algorithm::set(std::size_t place, py::handle value) {
    const PropertyFacts& property = m_facts.properties.at(place);
    refuseWhileRunning();
    if (property.isImage()) {
        m_results[place] = py::object();
        m_declined[place] = property.optional && value.ptr() == Py_False;
        if (m_declined[place]) {
            m_given[place] = py::object();
            return;
        }
        m_given[place] = value.is_none() ? py::object() : py::reinterpret_borrow<py::object>(value);
        return;
    }
    if (value.is_none()) {
        return;
    }
    const std::string label = m_facts.name + "." + property.pythonName + ": ";
    if (property.isOutput) {
        throw RefusedError(label + "it is a result and can't be given");
    }
    if (property.role == PropertyRole::Unsupported) {
        throw WrongTypeError(label + "Python has no form for a " + property.of(*m_algorithm).getImpl()->describeType());
    }
    try {
        property.kind->set(property.of(*m_algorithm), value);
    } catch (const RefusedError& refused) {
        throw RefusedError(label + refused.what());
    } catch (const WrongTypeError& wrong) {
        throw WrongTypeError(label + wrong.what());
    }
}

void Algorithm::applyEach(const std::string& each) {
    const bool frames = each.find('t') != std::string::npos;
    const bool channels = each.find('c') != std::string::npos;
    if (each.size() != static_cast<std::size_t>(frames) + static_cast<std::size_t>(channels)) {
        throw RefusedError("each='" + each + "': it takes 't' for each frame, 'c' for each channel, or both, 'tc'");
    }
    m_algorithm->enableIterationOnSequenceAxis(frames);
    m_algorithm->enableIterationOnSpectralAxis(channels);
}

void Algorithm::applyThreads(py::handle threads, const OpenImages& images) {
    const int most = globalSettings().getMaximumNumberOfThreads();
    if (threads.is_none()) {
        m_algorithm->settings().setMaximumNumberOfThreads(images.areSmall() ? 1 : most);
        return;
    }
    const long number = PyIndex_Check(threads.ptr()) != 0 ? PyLong_AsLong(threads.ptr()) : 0;
    if (PyErr_Occurred() != nullptr) {
        PyErr_Clear();
    }
    constexpr long mostThreads = 1 << 20;
    if (number < 1 || number > mostThreads) {
        throw RefusedError("threads=" + py::repr(threads).cast<std::string>() +
                           ": the largest number of threads is a whole number from 1, or None for no limit");
    }
    // One thread is all that a process has in which no other can run: nobody can ask for more.
    m_algorithm->settings().setMaximumNumberOfThreads(most == 1 ? 1 : static_cast<int>(number));
}

Algorithm::OpenImages Algorithm::openImages(const std::string& axes) {
    OpenImages images(*this);
    const auto& properties = m_facts.properties;
    const auto open = [&](std::size_t place, auto opener, const std::string& named) {
        try {
            images.given[place] = opener(m_given[place], named);
        } catch (const RefusedError& refused) {
            throw RefusedError(m_facts.name + "." + properties[place].pythonName + ": " + refused.what());
        } catch (const WrongTypeError& wrong) {
            throw WrongTypeError(m_facts.name + "." + properties[place].pythonName + ": " + wrong.what());
        }
    };
    for (std::size_t place = 0; place < properties.size(); ++place) {
        const PropertyRole role = properties[place].role;
        if (!m_given[place] || (role != PropertyRole::InputImage && role != PropertyRole::InPlaceImage)) {
            continue;
        }
        const auto opener = properties[place].isLabels() ? &openLabels : &openInput;
        open(place, role == PropertyRole::InputImage ? opener : &openOutput, axes);
        images.reference = images.reference != nullptr ? images.reference : &images.given[place];
    }
    // Results that are given have the axes of the input that they are made from.
    for (std::size_t place = 0; place < properties.size(); ++place) {
        if (m_given[place] && properties[place].role == PropertyRole::OutputImage) {
            open(place, &openOutput, images.reference != nullptr ? images.reference->axes : axes);
        }
    }
    for (std::size_t place = 0; place < properties.size(); ++place) {
        const PropertyFacts& property = properties[place];
        ImageModel* const image = images.given[place].image.get();
        if (property.role == PropertyRole::InputImage) {
            for (std::size_t other = 0; image != nullptr && other < properties.size(); ++other) {
                if (properties[other].role != PropertyRole::InputImage && images.given[other].image != nullptr) {
                    partFromOutput(images.given[place], images.given[other]);
                }
            }
            static_cast<Property<const ImageModel*>&>(property.of(*m_algorithm)).set(images.given[place].image.get());
        } else if (property.isImage()) {
            ImageModel* target = image;
            if (property.role == PropertyRole::OutputImage && target == nullptr && !m_declined[place]) {
                m_results[place] = py::object();  // unless somebody else has it, its memory is used again
                auto& made = m_made[place];
                if (made == nullptr || made.use_count() > 1) {
                    made = std::make_shared<io::MemoryImage>();
                }
                target = made.get();
            }
            static_cast<Property<ImageModel*>&>(property.of(*m_algorithm)).set(target);
        }
    }
    return images;
}

void Algorithm::makeObjects() {
    for (std::size_t place = 0; place < m_objects.size(); ++place) {
        const PropertyFacts& property = m_facts.properties[place];
        if (property.role != PropertyRole::ResultObject || !property.isOutput) {
            continue;
        }
        m_results[place] = py::object();
        auto* const slot = dynamic_cast<MeasurementSlot*>(&property.of(*m_algorithm));
        if (m_objects[place] == nullptr || m_objects[place].use_count() > 1) {
            m_objects[place] = slot->createObject();
            slot->setObject(m_objects[place].get());
        }
    }
}

void Algorithm::execute(py::object progress, const OpenImages& images) {
    Interaction interaction(std::move(progress));
    try {
        const RunBeforeExit watched(*m_algorithm);
        m_algorithm->run(&interaction);
    } catch (const UserCancelException&) {
        interaction.rethrow();
        throw;
    } catch (Exception& exception) {
        interaction.rethrow();
        for (std::size_t place = 0; place < images.given.size(); ++place) {
            const GivenImage& given = images.given[place];
            const auto* const array = dynamic_cast<const ArrayImage*>(given.image.get());
            if (array != nullptr && !array->refusal().empty()) {
                exception.addInfoLevel(m_facts.name + "." + m_facts.properties[place].pythonName + ": " +
                                       array->refusal());
            }
        }
        throw;
    }
    interaction.rethrow();
}

void Algorithm::takeResults(OpenImages& images) {
    for (std::size_t place = 0; place < m_facts.properties.size(); ++place) {
        const PropertyFacts& property = m_facts.properties[place];
        if (!property.isResult()) {
            continue;
        }
        if (m_declined[place]) {
            m_results[place] = py::none();
        } else if (images.given[place].image != nullptr) {
            updateHeader(images.given[place], images.reference);
            m_results[place] = images.given[place].object;
        } else if (property.role == PropertyRole::OutputImage) {
            m_results[place] = resultOf(m_made[place], images.reference);
        } else if (property.role == PropertyRole::ResultObject) {
            m_results[place] = tableOf(m_objects[place]);
        }
    }
}

py::dict Algorithm::describeRun(const std::string& axes) {
    const BusyGuard busy(*this);
    const OpenImages images = openImages(axes);
    const AlgorithmDescription description = m_algorithm->describe();
    py::dict outputs;
    for (const OutputDescription& output : description.outputs) {
        for (const PropertyFacts& property : m_facts.properties) {
            if (property.name == output.name) {
                outputs[py::str(property.pythonName)] = py::cast(output.extents);
            }
        }
    }
    py::dict result;
    result["border_influence"] = py::make_tuple(description.borderInfluence.lower, description.borderInfluence.upper);
    result["outputs"] = outputs;
    result["extra_memory"] = description.extraMemory;
    return result;
}

py::tuple Algorithm::run(const RunOptions& options) {
    const BusyGuard busy(*this);
    applyEach(options.each);
    {
        OpenImages images = openImages(options.axes);
        applyThreads(options.threads, images);
        makeObjects();
        for (const String& note : m_facts.info->notesOn(*m_algorithm)) {
            warn(m_facts.name + ": " + inPythonsNames(m_facts, note));
        }
        execute(options.progress, images);
        try {
            takeResults(images);
        } catch (py::error_already_set& error) {
            rethrowShortage(error);
        }
    }
    py::list results;
    for (std::size_t place = 0; place < m_facts.properties.size(); ++place) {
        if (m_facts.properties[place].isResult()) {
            results.append(get(place));
        }
    }
    return results;
}

namespace {

/// Gives the results of a call where to go: one for the only image, else by their order or by their names.
void setOutputs(Algorithm& algorithm, py::handle out) {
    std::vector<std::size_t> places;
    std::string names;
    for (std::size_t place = 0; place < algorithm.facts().properties.size(); ++place) {
        const PropertyFacts& property = algorithm.facts().properties[place];
        if (property.role == PropertyRole::OutputImage) {
            places.push_back(place);
            names += (names.empty() ? "" : ", ") + property.pythonName;
        }
    }
    if (places.empty()) {
        throw RefusedError(algorithm.facts().functionName + ": out= takes images, and no result is one");
    }
    if (py::isinstance<py::dict>(out)) {
        for (const auto& [name, value] : py::reinterpret_borrow<py::dict>(out)) {
            bool found = false;
            for (const std::size_t place : places) {
                if (algorithm.facts().properties[place].pythonName == py::str(name).cast<std::string>()) {
                    algorithm.set(place, value);
                    found = true;
                }
            }
            if (!found) {
                throw RefusedError(algorithm.facts().functionName + ": out= takes " + names + ", not " +
                                   py::str(name).cast<std::string>());
            }
        }
        return;
    }
    if (!py::isinstance<py::tuple>(out)) {
        algorithm.set(places.front(), out);
        return;
    }
    const auto values = py::reinterpret_borrow<py::tuple>(out);
    if (values.size() != places.size()) {
        throw RefusedError(algorithm.facts().functionName + ": out= has " + std::to_string(values.size()) +
                           " images; the results that are images are " + names);
    }
    for (std::size_t i = 0; i < places.size(); ++i) {
        algorithm.set(places[i], values[i]);
    }
}

}  // namespace

py::object callFunction(const std::string& name, const py::tuple& inputs, py::handle out, const RunOptions& options) {
    Algorithm algorithm(name);
    for (std::size_t place = 0; place < inputs.size(); ++place) {
        if (!inputs[place].is_none()) {
            algorithm.set(place, inputs[place]);
        }
    }
    if (!out.is_none()) {
        setOutputs(algorithm, out);
    }
    py::tuple results = algorithm.run(options);
    return results.size() == 1 ? py::object(results[0]) : py::object(results);
}

}  // namespace rix::python
