#pragma once

#include <cstddef>
#include <cstdint>

// What others take for the same work. Each lies in a file of its own, because their headers don't mix well.

namespace rix {
namespace bench {

/// A label image and grey values of the same extent, in memory, row after row.
struct LabelledPicture {
    const std::uint32_t* labels;
    const std::uint8_t* bytes;
    const float* reals;
    std::size_t columns;
    std::size_t rows;
};

/// Shape statistics (size, box, centre, moments) without perimeter and Feret diameter. @return the number of objects
std::size_t itkShape(const LabelledPicture& picture, int threads);
/// Size, box, minimum, maximum, mean and standard deviation; no centre. @return the number of objects
std::size_t itkStatisticsOfBytes(const LabelledPicture& picture, int threads);
std::size_t itkStatisticsOfReals(const LabelledPicture& picture, int threads);

/// Size, box and centre. @return the number of objects
std::size_t vigraShape(const LabelledPicture& picture);
/// The same, and minimum, maximum, mean and standard deviation. @return the number of objects
std::size_t vigraStatisticsOfBytes(const LabelledPicture& picture);
std::size_t vigraStatisticsOfReals(const LabelledPicture& picture);

}  // namespace bench
}  // namespace rix
