#include "GridRows.h"

namespace rix::segmentation {

void readLabels(const ImageModel& image, const access::RowSegment& segment, std::uint32_t* labels) {
    withRow(access::Integers{}, image, segment, [&](const auto* samples) {
        for (std::size_t x = 0; x < segment.count; ++x) {
            labels[x] = static_cast<std::uint32_t>(samples[x]);
        }
    });
}

void writeLabels(ImageModel& image, const access::RowSegment& segment, const std::uint32_t* labels) {
    access::dispatch(access::Integers{}, image.getVoxelType(), [&](auto tag) {
        using Out = typename decltype(tag)::type;
        access::RowWriter<Out> writer(image);
        Out* const out = writer.open(segment);
        for (std::size_t x = 0; x < segment.count; ++x) {
            out[x] = static_cast<Out>(labels[x]);
        }
        writer.flush();
    });
}

}  // namespace rix::segmentation
