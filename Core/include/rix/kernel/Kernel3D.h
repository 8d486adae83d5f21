#pragma once

#include <cstddef>
#include <vector>

#include <rix/Export.h>

namespace rix::kernel {

/// The coefficients of a convolution in space, plane by plane and row by row; its origin is the element
/// (sizeX / 2, sizeY / 2, sizeZ / 2).
class RIX_EXPORT Kernel3D {
public:
    /// A kernel without coefficients.
    Kernel3D() = default;
    /// @throws InvalidCall when `values` has not sizeX * sizeY * sizeZ elements.
    Kernel3D(std::size_t sizeX, std::size_t sizeY, std::size_t sizeZ, std::vector<double> values);

    std::size_t getSizeX() const { return m_sizeX; }
    std::size_t getSizeY() const { return m_sizeY; }
    std::size_t getSizeZ() const { return m_sizeZ; }
    const std::vector<double>& getValues() const { return m_values; }
    /// The coefficient at a position inside the kernel.
    double at(std::size_t x, std::size_t y, std::size_t z) const { return m_values[(z * m_sizeY + y) * m_sizeX + x]; }

    bool operator==(const Kernel3D&) const = default;

private:
    std::size_t m_sizeX = 0;
    std::size_t m_sizeY = 0;
    std::size_t m_sizeZ = 0;
    std::vector<double> m_values;
};

}  // namespace rix::kernel
