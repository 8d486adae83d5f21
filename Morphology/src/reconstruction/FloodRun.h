#pragma once

// What the operations that are made of a flood have in common.

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include <rix/access/BlockSize.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WholeImage.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/FilterChoices.h>

#include "reconstruction/Flood.h"

namespace rix::morphology {

/// Objects have all neighbours if nothing else is said.
template <class Filter>
void takeAllNeighbours(Filter& filter) {
    if constexpr (requires { Filter::CONNECTIVITY_26; }) {
        filter.setNeighborhood(Filter::CONNECTIVITY_26);
    } else {
        filter.setNeighborhood(Filter::CONNECTIVITY_8);
    }
}

/// An input as it is while an output is written that may share its memory.
inline access::Sharing sharingBeside(const ImageModel& input, const ImageModel& output) {
    return access::isOverwritten(input, &output) ? access::Sharing::Never : access::Sharing::Allowed;
}

/// Reconstructs from what `start(images)` makes of the ground, into `output`, whose type has the width of `T`; then
/// calls `finish(images)`. What both return does not matter; each may be a step of the run.
template <class T, class Start, class Finish>
void reconstruct(access::ExecutionContext& context, const ImageModel& ground, ImageModel& output, Extremum extremum,
                 const FloodSpace& space, OptimLevelType level, const Start& start, const Finish& finish) {
    const access::Steps steps(context, {0.05, 0.1, 0.75, 0.05, 0.05});
    // The first step, where there has to be a copy.
    const access::WholeInput<T> whole(context, ground, sharingBeside(ground, output));
    const auto floodInto = [&](auto& result) {
        const FloodImages<T> images{whole.data(), reinterpret_cast<T*>(result.data()), helper::getExtents(ground)};
        start(images);
        flood(context, images, extremum, space, level);
        finish(images);
        result.commit(context);
    };
    if constexpr (std::is_integral_v<T>) {
        if (output.getVoxelType() != access::voxelTypeOf<T>) {
            access::WholeOutput<std::make_unsigned_t<T>> result(output);
            return floodInto(result);
        }
    }
    access::WholeOutput<T> result(output);
    floodInto(result);
}

template <class T, class Start>
void reconstruct(access::ExecutionContext& context, const ImageModel& ground, ImageModel& output, Extremum extremum,
                 const FloodSpace& space, OptimLevelType level, const Start& start) {
    reconstruct<T>(context, ground, output, extremum, space, level, start, [](const FloodImages<T>&) {});
}

/// The bytes of the copy of an input, where there has to be one.
inline std::size_t wholeInputBytes(const ImageModel& input, const ImageModel* output) {
    return access::needsCopy(input, input.getVoxelType()) || access::isOverwritten(input, output)
               ? access::Scratch::held(access::TemporaryImage::bytes(input, input.getVoxelType()))
               : 0;
}

/// The bytes of rows that are converted on their way into the copy of an input, or out of that of an output.
inline std::size_t convertedRowBytes(const ImageModel& input, std::size_t threads) {
    const std::size_t all = access::TemporaryImage::bytes(input, input.getVoxelType());
    return input.getInterpretation() == RIX_BINARY
               ? threads * access::Scratch::held(std::min(all, access::blockBytes()))
               : 0;
}

/// The bytes of a temporary for an output that is no array in memory. Others are shaped so.
inline std::size_t wholeOutputBytes(const ImageModel& input, const ImageModel* output, VoxelTypes type) {
    return output != nullptr && helper::getExtents(*output) == helper::getExtents(input) &&
                   helper::contiguousSamples(*output) == nullptr
               ? access::Scratch::held(access::TemporaryImage::bytes(input, type))
               : 0;
}

/// The most bytes that `reconstruct` holds, but for a temporary for its output.
/// @param output that may share memory with the ground
inline std::size_t reconstructionBytes(const ImageModel& ground, const ImageModel* output, const FloodSpace& space,
                                       std::size_t threads) {
    return wholeInputBytes(ground, output) +
           std::max(convertedRowBytes(ground, threads),
                    floodBytes(helper::getExtents(ground), ground.getVoxelType(), space, threads));
}

}  // namespace rix::morphology
