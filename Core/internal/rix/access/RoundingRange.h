#pragma once

#include <limits>

#include <rix/access/VoxelTypeLists.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// How results of type `T` become samples of an image: those of integers are rounded, and kept within their type.
template <class T>
struct RoundingRange {
    bool rounds = false;  ///< to integers, within these
    T lowest{};
    T highest{};

    explicit RoundingRange(const ImageModel& output) {
        if (contains(Integers{}, output.getVoxelType())) {
            dispatch(Integers{}, output.getVoxelType(), [&](auto tag) {
                using Limits = std::numeric_limits<typename decltype(tag)::type>;
                rounds = true;
                lowest = static_cast<T>(Limits::lowest());
                highest = static_cast<T>(Limits::max());
            });
        }
    }
};

}  // namespace rix::access
