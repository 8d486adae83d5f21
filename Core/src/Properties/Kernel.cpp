#include <string>
#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/image/ImageTypes.h>
#include <rix/kernel/Kernel2D.h>
#include <rix/kernel/Kernel3D.h>

namespace rix::kernel {

namespace {

void requireCount(std::size_t sizeX, std::size_t sizeY, std::size_t sizeZ, std::size_t given) {
    std::size_t expected = 0;
    if (!helper::checkedMultiply(sizeX, sizeY, expected) || !helper::checkedMultiply(expected, sizeZ, expected) ||
        expected != given) {
        throw InvalidCall("A kernel of " + std::to_string(sizeX) + " x " + std::to_string(sizeY) + " x " +
                          std::to_string(sizeZ) + " elements can't be made of " + std::to_string(given) +
                          " coefficients");
    }
}

}  // namespace

Kernel2D::Kernel2D(std::size_t sizeX, std::size_t sizeY, std::vector<double> values)
    : m_sizeX(sizeX), m_sizeY(sizeY), m_values(std::move(values)) {
    requireCount(sizeX, sizeY, 1, m_values.size());
}

Kernel3D::Kernel3D(std::size_t sizeX, std::size_t sizeY, std::size_t sizeZ, std::vector<double> values)
    : m_sizeX(sizeX), m_sizeY(sizeY), m_sizeZ(sizeZ), m_values(std::move(values)) {
    requireCount(sizeX, sizeY, sizeZ, m_values.size());
}

}  // namespace rix::kernel
