#include <rix/point_operations/Algorithms.h>

#include <rix/point_operations/ArithmeticOperationWithImage.h>
#include <rix/point_operations/ArithmeticOperationWithValue.h>
#include <rix/point_operations/ConvertImage.h>
#include <rix/point_operations/LogicalOperationWithImage.h>
#include <rix/point_operations/LogicalOperationWithValue.h>
#include <rix/point_operations/MaskImage.h>

namespace rix::point_operations {

std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms() {
    static constexpr algorithms::AlgoInfoAccessor accessors[] = {
        &ArithmeticOperationWithImage::getInfo,
        &ArithmeticOperationWithValue::getInfo,
        &LogicalOperationWithImage::getInfo,
        &LogicalOperationWithValue::getInfo,
        &ConvertImage::getInfo,
        &MaskImage::getInfo,
    };
    return accessors;
}

}  // namespace rix::point_operations
