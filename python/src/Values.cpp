#include "Values.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <type_traits>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <rix/description/Algorithms.h>
#include <rix/properties/RarePropertyInstances.h>

#include "Choices.h"
#include "Errors.h"

namespace py = pybind11;

namespace rix::python {
namespace {

template <class T>
struct Form;

[[noreturn]] void refuseType(py::handle value, const std::string& accepted) {
    throw WrongTypeError("a value of type " + describeObject(value) + " was given; " + accepted + " is accepted");
}

template <class T>
    requires std::is_integral_v<T>
struct Form<T> {
    static std::string annotation() { return std::is_same_v<T, bool> ? "bool" : "int"; }
    static py::object toPython(T value) { return py::cast(value); }
    static T fromPython(py::handle value) {
        if constexpr (std::is_same_v<T, bool>) {
            if (!PyBool_Check(value.ptr()) && describeObject(value) != "bool_") {
                refuseType(value, "a bool");
            }
            return py::bool_(py::reinterpret_borrow<py::object>(value));
        } else {
            // __index__ is what every kind of whole number has, NumPy's too, and no other number.
            const auto whole = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
            if (!whole) {
                PyErr_Clear();
                refuseType(value, ValueTypeName<T>::get());
            }
            try {
                return whole.cast<T>();
            } catch (const py::cast_error&) {
                throw RefusedError(py::str(whole).cast<std::string>() +
                                   " is outside the range of the type: " + ValueTypeName<T>::get());
            }
        }
    }
};

template <class T>
    requires std::is_floating_point_v<T>
struct Form<T> {
    static std::string annotation() { return "float"; }
    static py::object toPython(T value) { return py::float_(static_cast<double>(value)); }
    static T fromPython(py::handle value) {
        const double number = PyUnicode_Check(value.ptr()) ? -1.0 : PyFloat_AsDouble(value.ptr());
        if (PyUnicode_Check(value.ptr()) || (number == -1.0 && PyErr_Occurred() != nullptr)) {
            PyErr_Clear();
            refuseType(value, "a number");
        }
        return static_cast<T>(number);
    }
};

template <>
struct Form<String> {
    static std::string annotation() { return "Union[str, npt.ArrayLike]"; }
    static py::object toPython(const String& value) { return py::str(value); }
    static String fromPython(py::handle value) {
        return PyUnicode_Check(value.ptr()) ? value.cast<String>() : textOfRows(value);
    }

private:
    /// Points and matrices are texts of numbers by rows, "1,2,3;4,5,6".
    static String textOfRows(py::handle value) {
        const auto rows = py::array_t<double, static_cast<int>(py::array::forcecast)>::ensure(value);
        if (PyBytes_Check(value.ptr()) || !rows || rows.ndim() != 2) {
            PyErr_Clear();
            refuseType(value, "a text, or numbers by rows");
        }
        String text;
        for (py::ssize_t row = 0; row < rows.shape(0); ++row) {
            for (py::ssize_t column = 0; column < rows.shape(1); ++column) {
                text += column > 0 ? "," : row > 0 ? ";" : "";
                text += py::repr(py::float_(rows.at(row, column))).cast<String>();
            }
        }
        return text;
    }
};

template <>
struct Form<FilePath> {
    static std::string annotation() { return "Union[str, os.PathLike[str]]"; }
    static py::object toPython(const FilePath& value) { return py::str(value.text()); }
    static FilePath fromPython(py::handle value) {
        return FilePath(py::module_::import("os").attr("fspath")(value).cast<std::string>());
    }
};

template <>
struct Form<Scalar> {
    static std::string annotation() { return "float"; }
    static py::object toPython(const Scalar& value) {
        switch (value.getType()) {
            case INTEGER: return py::int_(value.getIntValue());
            case UNSIGNED_INTEGER: return py::int_(value.getUIntValue());
            case REAL: break;
        }
        return py::float_(value.getRealValue());
    }
    static Scalar fromPython(py::handle value) {
        if (PyIndex_Check(value.ptr()) == 0) {
            return Form<double>::fromPython(value);
        }
        const auto whole = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
        // As texts are read: without a sign it is unsigned.
        return whole < py::int_(0) ? Scalar(Form<long>::fromPython(whole))
                                   : Scalar(Form<unsigned long>::fromPython(whole));
    }
};

/// The elements of a list, a tuple, an array of one dimension. Held: an array makes an element when it is asked for it.
std::vector<py::object> elementsOf(py::handle value, const std::string& accepted) {
    if (!PySequence_Check(value.ptr()) || PyUnicode_Check(value.ptr())) {
        refuseType(value, accepted);
    }
    const auto sequence = py::reinterpret_borrow<py::sequence>(value);
    return {sequence.begin(), sequence.end()};
}

template <class T>
std::vector<T> listFrom(py::handle value) {
    std::vector<T> list;
    for (const py::object& element : elementsOf(value, ValueTypeName<container::Vector<T>>::get())) {
        list.push_back(Form<T>::fromPython(element));
    }
    return list;
}

template <class T, std::size_t N, class Composed>
struct FixedForm {
    static std::string annotation() {
        std::string components;
        for (std::size_t i = 0; i < N; ++i) {
            components += (i == 0 ? "" : ", ") + Form<T>::annotation();
        }
        return "Tuple[" + components + "]";
    }
    static py::object toPython(const Composed& value) {
        py::tuple components(N);
        for (std::size_t i = 0; i < N; ++i) {
            components[i] = Form<T>::toPython(value[i]);
        }
        return components;
    }
    static Composed fromPython(py::handle value) {
        const std::vector<T> list = listFrom<T>(value);
        if (list.size() != N) {
            throw RefusedError(std::to_string(list.size()) + " values were given; a " + ValueTypeName<Composed>::get() +
                               " is accepted");
        }
        Composed result;
        for (std::size_t i = 0; i < N; ++i) {
            result[i] = list[i];
        }
        return result;
    }
};

template <class T>
struct Form<math::Vector2<T>> : FixedForm<T, 2, math::Vector2<T>> {};
template <class T>
struct Form<math::Vector3<T>> : FixedForm<T, 3, math::Vector3<T>> {};
template <class T>
struct Form<math::Vector4<T>> : FixedForm<T, 4, math::Vector4<T>> {};

template <class T>
struct Form<container::Vector<T>> {
    static std::string annotation() { return "Sequence[" + Form<T>::annotation() + "]"; }
    static py::object toPython(const container::Vector<T>& value) {
        if constexpr (std::is_arithmetic_v<T>) {
            return py::array_t<T>(static_cast<py::ssize_t>(value.size()), value.data());
        } else {
            py::list list;
            for (const auto& element : value) {
                list.append(Form<T>::toPython(element));
            }
            return list;
        }
    }
    static container::Vector<T> fromPython(py::handle value) { return listFrom<T>(value); }
};

template <>
struct Form<ScalarArray> {
    static std::string annotation() { return "Sequence[float]"; }
    static py::object toPython(const ScalarArray& value) {
        py::list list;
        for (std::size_t i = 0; i < value.size(); ++i) {
            list.append(Form<Scalar>::toPython(value.getScalarValueAt(i)));
        }
        return list;
    }
    static ScalarArray fromPython(py::handle value) {
        // One type for all: integers where all are.
        const auto elements = elementsOf(value, "a list of numbers");
        const bool whole = std::all_of(elements.begin(), elements.end(),
                                       [](const py::object& element) { return PyIndex_Check(element.ptr()) != 0; });
        if (whole) {
            const auto list = listFrom<long>(value);
            return {list.size(), list.data()};
        }
        const auto list = listFrom<double>(value);
        return {list.size(), list.data()};
    }
};

/// Square matrices: anything that NumPy reads as one.
template <class T, std::size_t N, class Matrix>
struct MatrixForm {
    static std::string annotation() { return "npt.ArrayLike"; }
    static py::object toPython(const Matrix& value) {
        py::array_t<T> array({N, N});
        for (std::size_t row = 0; row < N; ++row) {
            for (std::size_t column = 0; column < N; ++column) {
                array.mutable_at(row, column) = value(row, column);
            }
        }
        return array;
    }
    static Matrix fromPython(py::handle value) {
        const auto array = py::array_t<T, py::array::forcecast>::ensure(value);
        if (!array || array.ndim() != 2 || array.shape(0) != N || array.shape(1) != N) {
            PyErr_Clear();
            refuseType(value, "a " + ValueTypeName<Matrix>::get());
        }
        Matrix result;
        for (std::size_t row = 0; row < N; ++row) {
            for (std::size_t column = 0; column < N; ++column) {
                result(row, column) = array.at(row, column);
            }
        }
        return result;
    }
};

template <class T, std::size_t N>
struct Form<math::SquareMatrix<T, N>> : MatrixForm<T, N, math::SquareMatrix<T, N>> {};
template <class T, std::size_t N>
struct Form<vessel::Matrix<T, N>> : MatrixForm<T, N, vessel::Matrix<T, N>> {};

using KernelArray = py::array_t<double, static_cast<int>(py::array::c_style) | static_cast<int>(py::array::forcecast)>;

/// The coefficients of a kernel; a list without any is one of a kernel without coefficients.
KernelArray kernelArray(py::handle value, int axes, const char* what) {
    auto array = KernelArray::ensure(value);
    if (!array || (array.ndim() != axes && array.size() > 0)) {
        PyErr_Clear();
        refuseType(value, what);
    }
    return array;
}

template <>
struct Form<kernel::Kernel2D> {
    static std::string annotation() { return "npt.ArrayLike"; }
    static py::object toPython(const kernel::Kernel2D& value) {
        return py::array_t<double>({value.getSizeY(), value.getSizeX()}, value.getValues().data());
    }
    static kernel::Kernel2D fromPython(py::handle value) {
        const auto array = kernelArray(value, 2, "a matrix of rows and columns");
        if (array.size() == 0) {
            return {};
        }
        return {static_cast<std::size_t>(array.shape(1)), static_cast<std::size_t>(array.shape(0)),
                std::vector<double>(array.data(), array.data() + array.size())};
    }
};

template <>
struct Form<kernel::Kernel3D> {
    static std::string annotation() { return "npt.ArrayLike"; }
    static py::object toPython(const kernel::Kernel3D& value) {
        return py::array_t<double>({value.getSizeZ(), value.getSizeY(), value.getSizeX()}, value.getValues().data());
    }
    static kernel::Kernel3D fromPython(py::handle value) {
        const auto array = kernelArray(value, 3, "an array of planes, rows and columns");
        if (array.size() == 0) {
            return {};
        }
        return {static_cast<std::size_t>(array.shape(2)), static_cast<std::size_t>(array.shape(1)),
                static_cast<std::size_t>(array.shape(0)),
                std::vector<double>(array.data(), array.data() + array.size())};
    }
};

template <>
struct Form<kernel::RecursiveKernel1D> {
    static std::string annotation() { return "dict[str, list[float]]"; }
    static py::object toPython(const kernel::RecursiveKernel1D& value) {
        py::dict lists;
        lists["causal"] = value.causal;
        lists["anticausal"] = value.anticausal;
        lists["feedback"] = value.feedback;
        return lists;
    }
    static kernel::RecursiveKernel1D fromPython(py::handle value) {
        constexpr const char* what = "a dict of the lists \"causal\", \"anticausal\" and \"feedback\"";
        if (!py::isinstance<py::dict>(value)) {
            refuseType(value, what);
        }
        kernel::RecursiveKernel1D kernel;
        for (const auto& [name, list] : py::reinterpret_borrow<py::dict>(value)) {
            const auto key = py::str(name).cast<std::string>();
            std::vector<double>* const target = key == "causal"       ? &kernel.causal
                                                : key == "anticausal" ? &kernel.anticausal
                                                : key == "feedback"   ? &kernel.feedback
                                                                      : nullptr;
            if (target == nullptr) {
                refuseType(name, what);
            }
            const auto array = kernelArray(list, 1, "a list of numbers");
            target->assign(array.data(), array.data() + array.size());
        }
        return kernel;
    }
};

template <class T>
ValueKind kindOf() {
    return {
        [](const BaseProperty& property) { return dynamic_cast<const Property<T>*>(&property) != nullptr; },
        [](const BaseProperty& property) { return Form<T>::toPython(static_cast<const Property<T>&>(property).get()); },
        [](BaseProperty& property, py::handle value) {
            static_cast<Property<T>&>(property).set(Form<T>::fromPython(value));
        },
        Form<T>::annotation()};
}

template <class... Ts>
void addKinds(std::vector<ValueKind>& kinds) {
    (kinds.push_back(kindOf<Ts>()), ...);
}

std::vector<ValueKind> makeKinds() {
    // Choices first: they are integers, too.
    std::vector<ValueKind> kinds{
        {[](const BaseProperty& property) { return description::enumerationOf(property) != nullptr; }, &getChoice,
         &setChoice, "int"}};
    addKinds<bool, int, unsigned int, long, unsigned long, double, String, FilePath, Scalar, ScalarArray,
             math::Vector2<int>, math::Vector3<int>, math::Vector4<int>, math::Vector2<unsigned int>,
             math::Vector3<unsigned int>, math::Vector4<unsigned int>, math::Vector2<double>, math::Vector3<double>,
             math::Vector4<double>, math::Matrix2<float>, math::Matrix2<double>, math::Matrix3<float>,
             math::Matrix3<double>, vessel::Matrix<double, 3>, vessel::Matrix<double, 4>, container::Vector<double>,
             container::Vector<int>, container::Vector<long>, container::Vector<unsigned char>,
             container::Vector<unsigned int>, container::Vector<unsigned long>, container::Vector<math::Vector2<int>>,
             container::Vector<math::Vector3<int>>, kernel::Kernel2D, kernel::Kernel3D, kernel::RecursiveKernel1D>(
        kinds);
    return kinds;
}

}  // namespace

const ValueKind* findValueKind(const BaseProperty& property) {
    static const std::vector<ValueKind> kinds = makeKinds();
    for (const ValueKind& kind : kinds) {
        if (kind.matches(property)) {
            return &kind;
        }
    }
    return nullptr;
}

}  // namespace rix::python
