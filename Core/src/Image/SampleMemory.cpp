#include <rix/image/SampleMemory.h>

#include <algorithm>
#include <functional>
#include <optional>

#include <rix/image/ImageModelBoxView.h>

#include "Image/AddressLattice.h"

namespace rix::helper {

namespace {

using detail::AddressLattice;
using detail::AddressRange;
using Position = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// The part of an image that views of it present.
struct Footprint {
    const ImageModel* image;  ///< behind all views
    Position first{};
    Position extents;
    bool isWhole = true;  ///< false when a view reaches beyond its image

    bool isEmpty() const { return std::find(extents.begin(), extents.end(), std::size_t{0}) != extents.end(); }
};

Position firstOf(const ImageModelSizeProxyBase& view) {
    if (const auto* const box = dynamic_cast<const ImageModelBoxView*>(&view)) {
        return box->firstPosition();
    }
    const std::vector<std::size_t> given = view.firstElement();
    Position first{};
    std::copy_n(given.begin(), std::min(given.size(), first.size()), first.begin());
    return first;
}

Footprint footprintOf(const ImageModel& image) {
    Footprint footprint{.image = &image, .extents = getExtents(image)};
    while (const auto* const view = dynamic_cast<const ImageModelSizeProxyBase*>(footprint.image)) {
        footprint.image = view->realImageReadOnly();
        const Position offset = firstOf(*view);
        const Position available = getExtents(*footprint.image);
        for (std::size_t axis = 0; axis < offset.size(); ++axis) {
            footprint.first[axis] += offset[axis];
            const std::size_t rest = available[axis] - std::min(available[axis], footprint.first[axis]);
            footprint.isWhole = footprint.isWhole && footprint.extents[axis] <= rest;
            footprint.extents[axis] = std::min(footprint.extents[axis], rest);
        }
    }
    return footprint;
}

/// How an image that is no view has stored its elements; nothing when it gives no addresses, or irregular ones.
std::optional<AddressLattice> latticeOf(const ImageModel& image) {
    const Position n = getExtents(image);
    AddressLattice lattice{image.getImageBuffer(), n, {}, getElementSize(image)};
    if (lattice.first != nullptr) {
        lattice.pitches = detail::packedPitches(n, lattice.elementSize);
        return lattice;
    }
    lattice.pitches[COLUMNS] = static_cast<std::ptrdiff_t>(lattice.elementSize);
    // The first neighbours on all axes tell the distances, the last row whether they are the same everywhere.
    if (!image.getConstRowAt(n[0], lattice.first, 0, 0, 0, 0, 0)) {
        return std::nullopt;
    }
    ConstRawData expected = lattice.first;
    for (std::size_t axis = ROWS; axis < n.size(); ++axis) {
        if (n[axis] > 1) {
            Position p{};
            p[axis] = 1;
            ConstRawData neighbour = nullptr;
            if (!image.getConstRowAt(n[0], neighbour, p[0], p[1], p[2], p[3], p[4])) {
                return std::nullopt;
            }
            lattice.pitches[axis] = neighbour - lattice.first;
            expected += static_cast<std::ptrdiff_t>(n[axis] - 1) * lattice.pitches[axis];
        }
    }
    ConstRawData last = nullptr;
    const bool isRegular = image.getConstRowAt(n[0], last, 0, n[1] - 1, n[2] - 1, n[3] - 1, n[4] - 1);
    return isRegular && last == expected ? std::optional(lattice) : std::nullopt;
}

std::optional<AddressLattice> latticeOf(const Footprint& footprint) {
    std::optional<AddressLattice> lattice = latticeOf(*footprint.image);
    if (lattice) {
        lattice->extents = footprint.extents;
        for (std::size_t axis = 0; axis < footprint.first.size(); ++axis) {
            lattice->first += static_cast<std::ptrdiff_t>(footprint.first[axis]) * lattice->pitches[axis];
        }
    }
    return lattice;
}

/// From the addresses of all rows; nothing when one has none.
std::optional<AddressRange> rangeOfRows(const Footprint& footprint) {
    const auto& [image, first, n, isWhole] = footprint;
    const std::size_t bytes = n[0] * getElementSize(*image);
    AddressRange range;
    for (std::size_t s = 0; s < n[4]; ++s) {
        for (std::size_t t = 0; t < n[3]; ++t) {
            for (std::size_t z = 0; z < n[2]; ++z) {
                for (std::size_t y = 0; y < n[1]; ++y) {
                    ConstRawData row = nullptr;
                    if (!image->getConstRowAt(n[0], row, first[0], first[1] + y, first[2] + z, first[3] + t,
                                              first[4] + s)) {
                        return std::nullopt;
                    }
                    range.low = range.low == nullptr ? row : std::min(range.low, row, std::less<>());
                    range.high = std::max(range.high, row + bytes, std::less<>());
                }
            }
        }
    }
    return range;
}

std::optional<AddressRange> rangeOf(const std::optional<AddressLattice>& lattice, const Footprint& footprint) {
    return lattice ? std::optional(detail::rangeOf(*lattice)) : rangeOfRows(footprint);
}

/// True when two images are known by their buffers to lie apart, which most are: asked before anything that takes long.
bool buffersAreApart(const ImageModel& a, const ImageModel& b) {
    const ConstRawData first = a.getImageBuffer();
    const ConstRawData second = b.getImageBuffer();
    std::size_t elementsOfFirst = 0;
    std::size_t elementsOfSecond = 0;
    return first != nullptr && second != nullptr && getElementCount(a, elementsOfFirst) &&
           getElementCount(b, elementsOfSecond) &&
           !AddressRange{first, first + elementsOfFirst * getElementSize(a)}.meets(
               {second, second + elementsOfSecond * getElementSize(b)});
}

bool boxesMeet(const Footprint& a, const Footprint& b) {
    bool meet = true;
    for (std::size_t axis = 0; axis < a.first.size(); ++axis) {
        meet =
            meet && a.first[axis] < b.first[axis] + b.extents[axis] && b.first[axis] < a.first[axis] + a.extents[axis];
    }
    return meet;
}

/// What a view gives as the address of its first row, if that is where the samples lie.
ConstRawData contiguousView(const ImageModel& image) {
    const Footprint footprint = footprintOf(image);
    if (footprint.image == &image || !footprint.isWhole || footprint.isEmpty() ||
        getElementSize(image) != getElementSize(*footprint.image)) {
        return nullptr;
    }
    const std::optional<AddressLattice> lattice = latticeOf(footprint);
    return lattice && detail::isPacked(*lattice) ? lattice->first : nullptr;
}

}  // namespace

ConstRawData contiguousSamples(const ImageModel& image) {
    if (const ConstRawData buffer = image.getImageBuffer(); buffer != nullptr) {
        return buffer;
    }
    const ConstRawData samples = contiguousView(image);
    ConstRawData row = nullptr;
    // A view that does something to samples gives no addresses.
    const bool isOpen = samples != nullptr && image.getConstRowAt(image.getNumOf(COLUMNS), row, 0, 0, 0, 0, 0);
    return isOpen && row == samples ? samples : nullptr;
}

RawData contiguousSamples(ImageModel& image) {
    if (const RawData buffer = image.getImageBuffer(); buffer != nullptr) {
        return buffer;
    }
    const ConstRawData samples = contiguousView(image);
    RawData row = nullptr;
    const bool isOpen = samples != nullptr && image.getRowAt(image.getNumOf(COLUMNS), row, 0, 0, 0, 0, 0);
    return isOpen && row == samples ? row : nullptr;
}

bool mayShareSamples(const ImageModel& a, const ImageModel& b) {
    if (&a == &b) {
        return true;
    }
    if (buffersAreApart(a, b)) {
        return false;
    }
    const Footprint ofA = footprintOf(a);
    const Footprint ofB = footprintOf(b);
    if (ofA.isEmpty() || ofB.isEmpty()) {
        return false;
    }
    const std::optional<AddressLattice> latticeA = latticeOf(ofA);
    const std::optional<AddressLattice> latticeB = latticeOf(ofB);
    if (latticeA && latticeB) {
        return detail::latticesMeet(*latticeA, *latticeB);
    }
    if (ofA.image == ofB.image) {
        return boxesMeet(ofA, ofB);
    }
    const std::optional<AddressRange> rangeA = rangeOf(latticeA, ofA);
    const std::optional<AddressRange> rangeB = rangeOf(latticeB, ofB);
    return rangeA && rangeB ? rangeA->meets(*rangeB) : ofA.image->getImageId() == ofB.image->getImageId();
}

bool sharesLayout(const ImageModel& a, const ImageModel& b) {
    if (&a == &b) {
        return true;
    }
    const Footprint ofA = footprintOf(a);
    const Footprint ofB = footprintOf(b);
    if (getExtents(a) != getExtents(b) || ofA.extents != ofB.extents) {
        return false;
    }
    if (ofA.image == ofB.image) {
        return ofA.first == ofB.first;
    }
    if (ofA.isEmpty()) {
        return false;
    }
    const std::optional<AddressLattice> latticeA = latticeOf(ofA);
    const std::optional<AddressLattice> latticeB = latticeOf(ofB);
    return latticeA && latticeB && detail::isSameLattice(*latticeA, *latticeB);
}

}  // namespace rix::helper
