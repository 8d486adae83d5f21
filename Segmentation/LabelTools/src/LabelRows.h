#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <rix/access/BlockSize.h>
#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/TemporaryImage.h>

namespace rix::segmentation {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// The key of a label of a part of an image (a plane, a volume, a frame); parts are numbered with 32 bits.
template <class T>
std::uint64_t keyOfLabel(std::uint64_t part, T label) {
    return part << 32 | static_cast<std::make_unsigned_t<T>>(label);
}

/// Calls `use(first, end)` for every stretch of a row of which `isSame(x)` tells that x continues what x - 1 is.
template <class IsSame, class Use>
void forEachStretch(std::size_t count, const IsSame& isSame, const Use& use) {
    for (std::size_t first = 0, end = 0; first < count; first = end) {
        for (end = first + 1; end < count && isSame(end); ++end) {
        }
        use(first, end);
    }
}

/// Replaces labels by what belongs to them; the background becomes 0. A step of the run.
/// @param valuesOf `valuesOf(segment)` gives, for the rows of a segment, a function of the label, which is asked once
///        for each run
template <class Label, class Out, class ValuesOf>
void transformLabels(access::ExecutionContext& context, const ImageModel& labels, ImageModel& output,
                     const ValuesOf& valuesOf) {
    const access::Plan plan = access::cutBands(helper::getExtents(labels), {.nanosecondsPerVoxel = 1.0});
    access::run(context, plan, [&](const access::Block& block) {
        access::RowReader<Label> reader(labels);
        access::RowWriter<Out> writer(output);
        access::Looks looks;
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            const Label* const row = reader.read(segment);
            Out* const out = writer.open(segment);
            const auto valueOf = valuesOf(segment);
            Label before{0};
            Out value{0};
            for (std::size_t x = 0; x < segment.count; ++x) {
                if (row[x] != before) {
                    before = row[x];
                    value = before != 0 ? valueOf(before) : Out{0};
                }
                out[x] = value;
            }
            writer.flush();
            looks.add(segment.count);
        });
    });
}

/// Bytes of rows of a binary image, which are copied, and become zeros and ones.
inline double rowBytesOf(const ImageModel& image, std::size_t threads) {
    const std::size_t all = access::TemporaryImage::bytes(image, image.getVoxelType());
    return image.getInterpretation() == RIX_BINARY
               ? static_cast<double>(threads) *
                     static_cast<double>(access::Scratch::held(std::min(all, access::blockBytes())))
               : 0.0;
}

}  // namespace rix::segmentation
