#pragma once

#include <cstddef>
#include <vector>

#include <vessel/ElementType.h>
#include <vessel/Export.h>

namespace vessel {

/// A dense array of numbers over any number of axes, without names or calibration: weights, features, matrices of
/// results. The last axis varies fastest. Shape and type are fixed for the life of the view.
class VESSEL_EXPORT TensorView {
public:
    virtual ~TensorView();

    virtual const std::vector<std::size_t>& getShape() const = 0;
    virtual SampleType getSampleType() const = 0;
    /// All samples, dense.
    virtual const std::byte* getData() const = 0;
    virtual std::byte* getData() = 0;

protected:
    TensorView() = default;
    TensorView(const TensorView&) = default;
    TensorView& operator=(const TensorView&) = default;
};

}  // namespace vessel
