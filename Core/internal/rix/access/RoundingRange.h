#pragma once

#include <limits>

#include <rix/access/VoxelTypeLists.h>
#include <rix/image/ImageModel.h>

namespace rix::filtering::smoothing {

/// How sums of type `T` become samples of an image.
template <class T>
struct GaussianRounding {
    bool rounds = false;  ///< to integers, within these
    T lowest{};
    T highest{};

    explicit GaussianRounding(const ImageModel& output) {
        if (access::contains(access::Integers{}, output.getVoxelType())) {
            access::dispatch(access::Integers{}, output.getVoxelType(), [&](auto tag) {
                using Limits = std::numeric_limits<typename decltype(tag)::type>;
                rounds = true;
                lowest = static_cast<T>(Limits::lowest());
                highest = static_cast<T>(Limits::max());
            });
        }
    }
};

}  // namespace rix::filtering::smoothing
