#include "Arrays.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include <pybind11/stl.h>

#include <rix/image/SampleMemory.h>

#include "Axes.h"
#include "Errors.h"
#include "VoxelDtypes.h"

namespace py = pybind11;

namespace rix::python {
namespace {

constexpr int alignedFlag = py::detail::npy_api::NPY_ARRAY_ALIGNED_;

/// Reads rows in place when columns lie side by side and at addresses that their type may have.
bool hasOpenRows(const py::array& array, const std::string& axes) {
    const auto column = axes.find('x');
    const bool dense = column == std::string::npos || array.shape(static_cast<py::ssize_t>(column)) <= 1 ||
                       array.strides(static_cast<py::ssize_t>(column)) == array.itemsize();
    return dense && (array.flags() & alignedFlag) != 0;
}

/// Memory that an image is opened on, and its axes.
struct Memory {
    py::array array;
    std::string axes;
};

/// A contiguous copy in the order of storage and the byte order of the machine.
Memory copyInStorageOrder(const py::array& array, const std::string& axes) {
    std::vector<std::size_t> order(axes.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return axisOfLetter(axes[a]) > axisOfLetter(axes[b]); });
    py::list permutation;
    std::string sorted;
    for (const std::size_t dimension : order) {
        permutation.append(dimension);
        sorted += axes[dimension];
    }
    const py::object native = array.dtype().attr("newbyteorder")("=");
    try {
        return {
            array.attr("transpose")(permutation).attr("astype")(native, py::arg("order") = "C", py::arg("copy") = true),
            sorted};
    } catch (py::error_already_set& error) {
        rethrowShortage(error);
    }
}

enum class Access { ReadOnly, ReadWrite };

/// Whether no byte belongs to two elements, by the strides from the smallest to the largest: each one steps over all
/// that the smaller ones reach. Layouts that interleave otherwise count as overlapping.
bool hasElementsApart(const py::array& array) {
    std::vector<std::pair<py::ssize_t, py::ssize_t>> dimensions;  // stride, steps
    for (py::ssize_t i = 0; i < array.ndim(); ++i) {
        if (array.shape(i) > 1) {
            dimensions.emplace_back(std::abs(array.strides(i)), array.shape(i) - 1);
        }
    }
    std::sort(dimensions.begin(), dimensions.end());
    py::ssize_t reached = array.itemsize();
    for (const auto& [stride, steps] : dimensions) {
        if (stride < reached) {
            return false;
        }
        reached += stride * steps;
    }
    return true;
}

/// Fills the shape of a header and opens memory, which the image then keeps.
void openMemory(GivenImage& given, Memory memory, ImageHeader header, Access access) {
    given.array = std::move(memory.array);
    header.extents = {1, 1, 1, 1, 1};
    StridedImage::Pitches strides{};
    for (std::size_t dimension = 0; dimension < memory.axes.size(); ++dimension) {
        const Components axis = axisOfLetter(memory.axes[dimension]);
        header.extents[indexOf(axis)] =
            static_cast<std::size_t>(given.array.shape(static_cast<py::ssize_t>(dimension)));
        strides[indexOf(axis)] = given.array.strides(static_cast<py::ssize_t>(dimension));
    }
    // An input is never written: the image is read-only, whatever the array is.
    const void* const first = given.array.data();
    given.image = access == Access::ReadWrite ? std::make_shared<ArrayImage>(const_cast<void*>(first), header, strides)
                                              : std::make_shared<ArrayImage>(first, header, strides);
}

ImageHeader headerOfArray(const py::array& array) {
    ImageHeader header;
    const VoxelDtype type = voxelTypeOf(array);
    header.voxelType = type.type;
    header.interpretation = type.isBool ? RIX_BINARY : RIX_VALUE;
    return header;
}

}  // namespace

ImageHeader headerOfImage(py::handle image, const py::array& array, const std::string& axes) {
    ImageHeader header = headerOfArray(array);
    const auto read = [&](const char* attribute, std::array<double, RIX_COMPONENTS_SIZE>& values) {
        const py::tuple given = image.attr(attribute);
        for (std::size_t dimension = 0; dimension < axes.size(); ++dimension) {
            values[indexOf(axisOfLetter(axes[dimension]))] = given[dimension].cast<double>();
        }
    };
    read("spacing", header.spacing);
    read("origin", header.origin);
    header.spatialUnitName = image.attr("spatial_unit").cast<std::string>();
    header.sequenceUnitName = image.attr("sequence_unit").cast<std::string>();
    const auto directions = image.attr("directions").cast<std::array<std::array<double, 3>, 3>>();
    header.spatialDirections = {directions[0], directions[1], directions[2]};
    header.interpretation = static_cast<Interpretations>(image.attr("interpretation").cast<int>());
    header.colorInterpretation = static_cast<ColorInterpretation>(image.attr("color_interpretation").cast<int>());
    header.labelScope = static_cast<LabelScope>(image.attr("label_scope").cast<int>());
    const py::object frame = image.attr("spatial_frame");
    if (!frame.is_none()) {
        header.spatialFrame = SpatialFrame{.columns = frame.attr("columns").cast<std::size_t>(),
                                           .origin = frame.attr("origin").cast<std::array<double, 3>>(),
                                           .spacing = frame.attr("spacing").cast<std::array<double, 3>>()};
    }
    return header;
}

namespace {

bool isImage(py::handle object) {
    // Kept for the life of the process, as the module is.
    static const py::handle type = py::object(py::module_::import("rix._image").attr("Image")).release();
    return py::isinstance(object, type);
}

/// Says of an unnamed array of three dimensions that may be a colour picture what it is taken for.
void warnOfColours(const py::array& array, const std::string& named) {
    const bool isUnnamed = array.ndim() == 3 && named.size() != 3;
    if (!isUnnamed || (array.shape(2) != 3 && array.shape(2) != 4)) {
        return;
    }
    warn("an array of the shape " + py::str(array.attr("shape")).cast<std::string>() +
         " without named axes is (planes, rows, columns), so that it has only " + std::to_string(array.shape(2)) +
         " columns. A colour picture has axes=\"yxc\", a volume of that shape axes=\"zyx\"");
}

GivenImage open(py::handle object, const std::string& axes, Access access) {
    GivenImage given;
    given.object = py::reinterpret_borrow<py::object>(object);
    if (OpenImage* const disk = openImageOf(object)) {
        given.disk = disk;
        given.form = ImageForm::Image;
        given.axes = disk->axes();  // before somebody writes it, who gives it others
        given.image = access == Access::ReadOnly ? disk->useForReading() : disk->useForWriting();
        return given;
    }
    py::object source = given.object;
    if (!py::isinstance<py::array>(object) && !isImage(object)) {
        const py::tuple converted = py::module_::import("rix._convert").attr("open_foreign")(object, axes);
        source = converted[0];
        given.wrap = converted[1];
        given.form = given.wrap.is_none() ? ImageForm::Array : ImageForm::Foreign;
    }
    ImageHeader header;
    if (py::isinstance<py::array>(source)) {
        if (Py_TYPE(source.ptr()) != py::detail::npy_api::get().PyArray_Type_ && py::hasattr(source, "mask")) {
            throw WrongTypeError(
                "a masked array can't be an image: its mask would be ignored. Fill it (.filled()), "
                "or give the mask as an image of its own");
        }
        given.array = py::reinterpret_borrow<py::array>(source);
        header = headerOfArray(given.array);
        given.axes = axesOfArray(static_cast<std::size_t>(given.array.ndim()), axes);
        if (access == Access::ReadOnly) {
            warnOfColours(given.array, axes);
        }
    } else {
        given.form = given.form == ImageForm::Foreign ? ImageForm::Foreign : ImageForm::Image;
        given.array = source.attr("array");
        given.axes = source.attr("axes").cast<std::string>();
        header = headerOfImage(source, given.array, given.axes);
    }
    const bool needsCopy = !isNative(given.array) || !hasOpenRows(given.array, given.axes);
    if (access == Access::ReadOnly) {
        openMemory(given, needsCopy ? copyInStorageOrder(given.array, given.axes) : Memory{given.array, given.axes},
                   header, access);
        return given;
    }
    if (needsCopy) {
        throw RefusedError(
            "an array for a result needs contiguous rows and the byte order of the machine; given is a " +
            describeObject(given.array) + " with the strides " +
            py::str(given.array.attr("strides")).cast<std::string>());
    }
    if (!given.array.writeable()) {
        throw RefusedError("an array for a result must be writable; given is a read-only " +
                           describeObject(given.array));
    }
    if (!hasElementsApart(given.array)) {
        throw RefusedError("elements of an array for a result must not overlap; given is a " +
                           describeObject(given.array) + " with the strides " +
                           py::str(given.array.attr("strides")).cast<std::string>());
    }
    openMemory(given, {given.array, given.axes}, header, access);
    return given;
}

/// The array as uint32 where its type is one that only others number objects in, else as it is.
py::array asLabels(py::array array) {
    const char kind = array.dtype().kind();
    if ((kind != 'i' && (kind != 'u' || array.itemsize() <= 4)) || array.size() == 0) {
        return array;
    }
    const py::object lowest = array.attr("min")();
    const py::object highest = array.attr("max")();
    if (lowest < py::int_(0) || highest > py::int_(std::numeric_limits<std::uint32_t>::max())) {
        throw WrongTypeError("labels are whole numbers from 0 to 4294967295, 0 for the background; this " +
                             describeObject(array) + " holds " + py::str(lowest).cast<std::string>() + " to " +
                             py::str(highest).cast<std::string>() +
                             ". Where negative numbers are no objects, numpy.maximum(labels, 0) makes them background");
    }
    try {
        return array.attr("astype")(dtypeOf(RIX_UINT32, false));
    } catch (py::error_already_set& error) {
        rethrowShortage(error);
    }
}

}  // namespace

GivenImage openInput(py::handle object, const std::string& axes) {
    return open(object, axes, Access::ReadOnly);
}

GivenImage openLabels(py::handle object, const std::string& axes) {
    if (py::isinstance<py::array>(object)) {
        return openInput(asLabels(py::reinterpret_borrow<py::array>(object)), axes);
    }
    if (py::hasattr(object, "array") && py::hasattr(object, "calibration")) {  // a rix.Image
        const py::object array = object.attr("array");
        const py::object labels = asLabels(array);
        if (!labels.is(array)) {
            const py::dict calibration = object.attr("calibration");
            return openInput(py::type::of(object)(labels, **calibration, py::arg("interpretation") = "label",
                                                  py::arg("label_scope") = object.attr("label_scope")),
                             axes);
        }
    }
    return openInput(object, axes);
}

GivenImage openOutput(py::handle object, const std::string& axes) {
    return open(object, axes, Access::ReadWrite);
}

void partFromOutput(GivenImage& input, const GivenImage& output) {
    if (input.disk != nullptr || output.disk != nullptr || !helper::mayShareSamples(*input.image, *output.image) ||
        helper::sharesLayout(*input.image, *output.image)) {
        return;
    }
    // What overlaps was opened where it is, so the axes are those of the memory.
    openMemory(input, copyInStorageOrder(input.array, input.axes), ImageHeader(input.image->header()),
               Access::ReadOnly);
}

namespace {

/// The arguments of rix._image.Image._make for a header.
py::object makeImage(const py::array& array, const std::string& axes, const ImageHeader& header) {
    py::tuple spacing(axes.size());
    py::tuple origin(axes.size());
    for (std::size_t dimension = 0; dimension < axes.size(); ++dimension) {
        spacing[dimension] = py::float_(header.spacing[indexOf(axisOfLetter(axes[dimension]))]);
        origin[dimension] = py::float_(header.origin[indexOf(axisOfLetter(axes[dimension]))]);
    }
    const auto& [column, row, slice] = header.spatialDirections;
    const auto vector = [](const auto& values) { return py::make_tuple(values[0], values[1], values[2]); };
    const py::module_ module = py::module_::import("rix._image");
    py::object frame = py::none();
    if (header.spatialFrame) {
        const SpatialFrame& kept = *header.spatialFrame;
        frame = module.attr("SpatialFrame")(kept.columns, vector(kept.origin), vector(kept.spacing));
    }
    return module.attr("Image").attr("_make")(
        array, axes, spacing, origin, header.spatialUnitName, header.sequenceUnitName,
        py::make_tuple(vector(column), vector(row), vector(slice)), static_cast<int>(header.interpretation),
        static_cast<int>(header.colorInterpretation), frame, static_cast<int>(header.labelScope));
}

bool isBool(const ImageHeader& header) {
    return header.interpretation == RIX_BINARY && header.voxelType == RIX_UINT8;
}

}  // namespace

void updateHeader(const GivenImage& output, const GivenImage* reference) {
    if (output.disk != nullptr) {
        output.disk->setAxes(axesOfResult(output.image->header().extents, reference != nullptr ? reference->axes : ""));
        return;
    }
    if (output.form == ImageForm::Image) {
        output.object.attr("_take")(makeImage(output.array, output.axes, output.image->header()));
    }
}

py::array arrayOf(const std::shared_ptr<io::MemoryImage>& image, const std::string& axes) {
    const std::size_t samples = helper::getElementNumber(image->getElementType());
    const auto extents = helper::getExtents(*image);
    std::array<py::ssize_t, RIX_COMPONENTS_SIZE> storage{};
    auto stride = static_cast<py::ssize_t>(helper::getElementSize(*image));
    for (std::size_t axis = 0; axis < storage.size(); ++axis) {
        storage[axis] = stride;
        stride *= static_cast<py::ssize_t>(extents[axis]);
    }
    std::vector<py::ssize_t> shape;
    std::vector<py::ssize_t> strides;
    for (const char letter : axes) {
        const Components axis = axisOfLetter(letter);
        shape.push_back(static_cast<py::ssize_t>(extents[indexOf(axis)]));
        strides.push_back(storage[indexOf(axis)]);
    }
    if (samples != 1) {
        shape.push_back(static_cast<py::ssize_t>(samples));
        strides.push_back(static_cast<py::ssize_t>(helper::getSizeOf(image->getVoxelType())));
    }
    auto owner = std::make_unique<std::shared_ptr<io::MemoryImage>>(image);
    const py::capsule keeper(owner.get(),
                             [](void* kept) { delete static_cast<std::shared_ptr<io::MemoryImage>*>(kept); });
    static_cast<void>(owner.release());
    return {dtypeOf(image->getVoxelType(), isBool(helper::headerOf(*image))), shape, strides, image->getImageBuffer(),
            keeper};
}

SampleArray makeArray(const ImageHeader& header, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents,
                      const std::string& axes) {
    std::string stored = axes;
    std::sort(stored.begin(), stored.end(), [](char a, char b) { return axisOfLetter(a) > axisOfLetter(b); });
    std::vector<py::ssize_t> shape;
    py::list order;
    for (std::size_t dimension = 0; dimension < axes.size(); ++dimension) {
        shape.push_back(static_cast<py::ssize_t>(extents[indexOf(axisOfLetter(stored[dimension]))]));
        order.append(stored.find(axes[dimension]));
    }
    if (const std::size_t samples = helper::getElementNumber(header.elementType); samples != 1) {
        order.append(shape.size());
        shape.push_back(static_cast<py::ssize_t>(samples));
    }
    try {
        py::array array(dtypeOf(header.voxelType, isBool(header)), shape);
        auto* const samples = static_cast<RawData>(array.mutable_data());
        return {array.attr("transpose")(order), samples, isBool(header)};
    } catch (py::error_already_set& error) {
        rethrowShortage(error);
    }
}

py::object imageWithoutSamples(const ImageHeader& header, const std::string& axes) {
    static constexpr std::array<double, 2> zero{};  // of the largest type
    std::vector<py::ssize_t> shape;
    for (const char letter : axes) {
        shape.push_back(static_cast<py::ssize_t>(header.extents[indexOf(axisOfLetter(letter))]));
    }
    if (const std::size_t samples = helper::getElementNumber(header.elementType); samples != 1) {
        shape.push_back(static_cast<py::ssize_t>(samples));
    }
    const std::vector<py::ssize_t> strides(shape.size(), 0);
    const py::array array(dtypeOf(header.voxelType, isBool(header)), shape, strides, zero.data(), py::str());
    array.attr("setflags")(py::arg("write") = false);
    return makeImage(array, axes, header);
}

py::object resultOf(const std::shared_ptr<io::MemoryImage>& image, const GivenImage* reference) {
    const std::string axes = axesOfResult(helper::getExtents(*image), reference != nullptr ? reference->axes : "");
    if (reference == nullptr || reference->form == ImageForm::Array) {
        return arrayOf(image, axes);
    }
    const py::object result = imageOf(image, axes);
    return reference->form == ImageForm::Image ? result : reference->wrap(result);
}

py::object imageOf(const std::shared_ptr<io::MemoryImage>& image, const std::string& axes) {
    return makeImage(arrayOf(image, axes), axes, helper::headerOf(*image));
}

}  // namespace rix::python
