#pragma once

#include <array>
#include <cstddef>

#include <rix/image/ImageTypes.h>

namespace rix::detail {

/// Elements at regular distances in memory: the one at position p lies at first + sum of p[axis] * pitches[axis].
struct AddressLattice {
    ConstRawData first = nullptr;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> extents{};  ///< none is 0
    std::array<std::ptrdiff_t, RIX_COMPONENTS_SIZE> pitches{};
    std::size_t elementSize = 1;
};

/// The distances of elements that lie one after another in storage order.
std::array<std::ptrdiff_t, RIX_COMPONENTS_SIZE> packedPitches(
    const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t elementSize);

/// True when the elements lie one after another in storage order.
bool isPacked(const AddressLattice& lattice);

/// True when pitches and first elements agree wherever they matter: axes with one element have no pitch.
bool isSameLattice(const AddressLattice& a, const AddressLattice& b);

/// The memory from the lowest to beyond the highest address of a sample.
struct AddressRange {
    ConstRawData low = nullptr;
    ConstRawData high = nullptr;

    bool meets(const AddressRange& other) const { return low < other.high && other.low < high; }
};
AddressRange rangeOf(const AddressLattice& lattice);

/// True when a byte belongs to an element of both. Exact for lattices whose axes nest, as those of images do; where the
/// search would take long, true for lattices of which only the ranges meet.
bool latticesMeet(const AddressLattice& a, const AddressLattice& b);

}  // namespace rix::detail
