#include "PointSampling.h"

#include <rix/image/ImageHeader.h>

namespace rix::geometry {

namespace {

/// A row of samples for each frame and channel; interpolated ones are not rounded.
HeaderImage samplesFor(const ImageModel& input, const PlaceJob& job, std::size_t count) {
    ImageHeader header = helper::headerOf(input);
    header.extents[COLUMNS] = count;
    header.extents[ROWS] = 1;
    header.extents[PLANS] = 1;
    if (job.degree > 0) {
        header.voxelType = RIX_FLOAT64;
        header.interpretation = RIX_VALUE;
    }
    return HeaderImage(header);
}

class ListedPlaces final : public PlaceFinder {
public:
    ListedPlaces(const PointSampling::Places& places, std::size_t axes) : m_places(places), m_axes(axes) {}
    void find(const access::RowSegment& segment, const std::array<double*, 3>& places) override {
        for (std::size_t i = 0; i < segment.count; ++i) {
            for (std::size_t axis = 0; axis < m_axes; ++axis) {
                places[axis][i] = m_places[segment.column + i][axis];
            }
        }
    }

private:
    const PointSampling::Places& m_places;
    std::size_t m_axes;
};

}  // namespace

PlaceJob PointSampling::jobOf(const ImageModel& input, int degree, access::BorderPolicy border, double value) {
    PlaceJob job;
    job.axes = input.getNumOf(PLANS) > 1 ? 3 : 2;
    job.degree = degree;
    job.border = border;
    job.borderValue = value;
    // Told again when there are places; here for what it holds.
    job.makeFinder = [] { return std::unique_ptr<PlaceFinder>(); };
    return job;
}

PointSampling::PointSampling(access::ExecutionContext& context, const ImageModel& input, PlaceJob job,
                             const Places& places, OptimLevelType level)
    : m_samples(samplesFor(input, job, places.size())) {
    if (places.empty()) {
        return;
    }
    job.makeFinder = [&] { return std::make_unique<ListedPlaces>(places, job.axes); };
    samplePlaces(context, input, m_samples.image(), job, level);
}

std::size_t PointSampling::bytes(const ImageModel& input, const PlaceJob& job, std::size_t count, std::size_t threads) {
    const HeaderImage samples = samplesFor(input, job, count);
    const std::size_t read = samples.getVoxelType() == RIX_FLOAT64 && samples.getInterpretation() != RIX_BINARY
                                 ? 0
                                 : access::Scratch::held(std::min(piece, count) * sizeof(double));
    return count * sizeof(Places::value_type) + access::TemporaryImage::bytes(samples, samples.getVoxelType()) +
           (count == 0 ? 0 : std::max(read, placeSamplingMemory(input, helper::getExtents(samples), job, threads)));
}

}  // namespace rix::geometry
