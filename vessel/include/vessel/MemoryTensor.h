#pragma once

#include <cstddef>
#include <vector>

#include <vessel/Export.h>
#include <vessel/TensorView.h>

namespace vessel {

/// A tensor that owns its samples, 0 at first. Copying copies them.
class VESSEL_EXPORT MemoryTensor : public TensorView {
public:
    /// @throws std::length_error when the size in bytes does not fit 64 bits; std::bad_alloc
    MemoryTensor(SampleType type, std::vector<std::size_t> shape);
    ~MemoryTensor() override;

    const std::vector<std::size_t>& getShape() const override { return m_shape; }
    SampleType getSampleType() const override { return m_type; }
    const std::byte* getData() const override { return m_samples.data(); }
    std::byte* getData() override { return m_samples.data(); }

private:
    SampleType m_type;
    std::vector<std::size_t> m_shape;
    std::vector<std::byte> m_samples;
};

}  // namespace vessel
