#pragma once

#include <stdexcept>
#include <string>

#include <pybind11/pybind11.h>

namespace rix::python {

/// A value that Python gave and that isn't accepted: `rix.RuleError`.
class RefusedError : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/// A value of a type that isn't accepted: `rix.DataTypeError`.
class WrongTypeError : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/// Misuse that no value explains, such as a second run of an object that is running: `rix.RunError`.
class MisuseError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

/// Makes what the library throws the family of Python exceptions of `rix._errors`, with the text of all levels.
void registerErrors();

/// Throws what is in flight again: a shortage of memory that NumPy met as one of the library.
[[noreturn]] void rethrowShortage(pybind11::error_already_set& error);

/// A warning of the kind UserWarning, told where the package was called.
/// @throws error_already_set where the program makes errors of warnings
void warn(const std::string& text);

/// "uint16 array of shape (3, 4)" of whatever Python gave, for messages.
std::string describeObject(pybind11::handle object);

}  // namespace rix::python
