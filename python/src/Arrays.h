#pragma once

#include <memory>
#include <string>

#include <pybind11/numpy.h>

#include <rix/image/MemoryImage.h>

#include "ArrayImage.h"
#include "OpenImage.h"

namespace rix::python {

/// What a user gave an image as, which is what the results come back as.
enum class ImageForm {
    Array,    ///< numpy.ndarray
    Image,    ///< rix.Image, rix.DiskImage
    Foreign,  ///< something that `rix._convert` knows, such as an xarray.DataArray
};

/// An image that Python gave, open for a run. What it points to lives as long as it does.
struct GivenImage {
    pybind11::object object;    ///< what the user gave
    pybind11::array array;      ///< whose memory it is; a copy in storage order where that was needed; none on disk
    OpenImage* disk = nullptr;  ///< of an image on disk
    std::string axes;           ///< a letter for each dimension of what the user gave
    ImageForm form = ImageForm::Array;
    pybind11::object wrap;  ///< of the foreign form: makes one of a rix.Image
    std::shared_ptr<ImageModelWithHeader> image;
};

/// Opens what a user gave as an image. NumPy arrays of any layout whose rows are contiguous are used where they are;
/// others, and those of a foreign byte order, are copied.
/// @param axes names the axes of bare arrays, see `axesOfArray`
/// @throws WrongTypeError for what is no image or has a type that images don't have, RefusedError for its axes
GivenImage openInput(pybind11::handle object, const std::string& axes);

/// The same for an image of labels: arrays of signed and of 64-bit integers, as SciPy and scikit-image number objects,
/// are taken as uint32 where every value fits. @throws WrongTypeError where one does not
GivenImage openLabels(pybind11::handle object, const std::string& axes);

/// Opens what a user gave for a result. Nothing is copied: an array that would need it is refused.
/// @param axes names the axes of bare arrays; those of the image that the result is made from
GivenImage openOutput(pybind11::handle object, const std::string& axes);

/// Copies an input that shares a part of its memory, but not all of it, with an output: a run would read what it has
/// already written.
void partFromOutput(GivenImage& input, const GivenImage& output);

/// After a run: what it did to the calibration of a rix.Image, or the axes of an image on disk, that was given for a
/// result. @param reference the image that the result was made from; null for none
void updateHeader(const GivenImage& output, const GivenImage* reference);

/// The samples of an image as an array that keeps it alive, without a copy. Binary images become arrays of bool;
/// vectors and matrices get a last dimension.
/// @param axes the order of the dimensions
pybind11::array arrayOf(const std::shared_ptr<io::MemoryImage>& image, const std::string& axes);

/// Memory for samples, and the array of it.
struct SampleArray {
    pybind11::array array;
    RawData samples;  ///< in storage order
    bool isBool;
};

/// An array of other extents than those of the header. @param axes the order of the dimensions
/// @throws MemoryError
SampleArray makeArray(const ImageHeader& header, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents,
                      const std::string& axes);

/// A rix.Image of the header whose samples are one 0, which takes no memory.
pybind11::object imageWithoutSamples(const ImageHeader& header, const std::string& axes);

/// The calibration and the meaning that a rix.Image has. @param array its samples
ImageHeader headerOfImage(pybind11::handle image, const pybind11::array& array, const std::string& axes);

/// A result in the form of the image that it was made from; an array where it was made from none.
pybind11::object resultOf(const std::shared_ptr<io::MemoryImage>& image, const GivenImage* reference);

/// The same, always as a rix.Image.
pybind11::object imageOf(const std::shared_ptr<io::MemoryImage>& image, const std::string& axes);

}  // namespace rix::python
