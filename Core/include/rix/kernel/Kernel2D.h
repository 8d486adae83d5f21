#pragma once

#include <cstddef>
#include <vector>

#include <rix/Export.h>

namespace rix::kernel {

/// The coefficients of a convolution in a plane, row by row; its origin is the element (sizeX / 2, sizeY / 2).
class RIX_EXPORT Kernel2D {
public:
    /// A kernel without coefficients.
    Kernel2D() = default;
    /// @throws InvalidCall when `values` has not sizeX * sizeY elements.
    Kernel2D(std::size_t sizeX, std::size_t sizeY, std::vector<double> values);

    std::size_t getSizeX() const { return m_sizeX; }
    std::size_t getSizeY() const { return m_sizeY; }
    const std::vector<double>& getValues() const { return m_values; }
    /// The coefficient at a position inside the kernel.
    double at(std::size_t x, std::size_t y) const { return m_values[y * m_sizeX + x]; }

    bool operator==(const Kernel2D&) const = default;

private:
    std::size_t m_sizeX = 0;
    std::size_t m_sizeY = 0;
    std::vector<double> m_values;
};

}  // namespace rix::kernel
