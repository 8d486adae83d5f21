#include "Errors.h"

#include <exception>
#include <new>

#include <pybind11/numpy.h>

#include <rix/description/WrongInput.h>
#include <rix/exceptions/Exception.h>

namespace py = pybind11;

namespace rix::python {
namespace {

/// Raises `rix.NAME(text)` with the texts of the levels, outermost first, as its attribute `levels`.
void raise(const char* name, const std::string& text, const std::vector<std::string>& levels) {
    const py::object type = py::module_::import("rix._errors").attr(name);
    // Texts may name files, whose names may be any bytes.
    const auto decode = [](const std::string& bytes) {
        return py::reinterpret_steal<py::object>(
            PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "replace"));
    };
    const py::object error = type(decode(text));
    py::list list;
    for (const auto& level : levels) {
        list.append(decode(level));
    }
    error.attr("levels") = py::tuple(list);
    PyErr_SetObject(type.ptr(), error.ptr());
}

const char* errorNameOf(const Exception& exception) {
    if (exception.isOutOfMemory()) {
        return "OutOfMemoryError";
    }
    if (dynamic_cast<const RuleException*>(&exception) != nullptr) {
        return "RuleError";
    }
    if (dynamic_cast<const UserCancelException*>(&exception) != nullptr) {
        return "CancelledError";
    }
    if (dynamic_cast<const LoadingError*>(&exception) != nullptr ||
        dynamic_cast<const WritingError*>(&exception) != nullptr ||
        dynamic_cast<const FileSystemError*>(&exception) != nullptr) {
        return "FileError";
    }
    return "RunError";
}

void translate(std::exception_ptr error) {
    try {
        if (error != nullptr) {
            std::rethrow_exception(error);
        }
    } catch (const Exception& exception) {
        std::vector<std::string> levels;
        for (const auto& level : exception.getLevels()) {
            levels.insert(levels.begin(), level.message);
        }
        raise(errorNameOf(exception), exception.getInfo(), levels);
    } catch (const description::WrongInput& wrong) {
        const std::string text = wrong.what() + (wrong.choices().empty() ? "" : "; " + wrong.choices());
        raise("RuleError", text, {text});
    } catch (const RefusedError& refused) {
        raise("RuleError", refused.what(), {refused.what()});
    } catch (const WrongTypeError& wrong) {
        raise("DataTypeError", wrong.what(), {wrong.what()});
    } catch (const MisuseError& misuse) {
        raise("RunError", misuse.what(), {misuse.what()});
    } catch (const py::cast_error&) {
        const char* const text = "a value of the wrong type was given";
        raise("DataTypeError", text, {text});
    } catch (const std::bad_alloc&) {
        raise("OutOfMemoryError", "not enough memory", {"not enough memory"});
    }
}

}  // namespace

void registerErrors() {
    py::register_exception_translator(&translate);
}

void rethrowShortage(py::error_already_set& error) {
    if (error.matches(PyExc_MemoryError)) {
        throw MemoryError(py::str(error.value()).cast<std::string>());
    }
    throw;
}

void warn(const std::string& text) {
    if (PyErr_WarnEx(PyExc_UserWarning, text.c_str(), 2) != 0) {
        throw py::error_already_set();
    }
}

std::string describeObject(py::handle object) {
    if (py::isinstance<py::array>(object)) {
        const auto array = py::reinterpret_borrow<py::array>(object);
        return py::str(array.dtype()).cast<std::string>() + " array of shape " +
               py::str(array.attr("shape")).cast<std::string>();
    }
    return py::str(py::type::handle_of(object).attr("__name__")).cast<std::string>();
}

}  // namespace rix::python
