#include "LabelAnalysisMemory.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <memory>

#include <rix/individual_analysis/MeasureSet.h>

#include "gathering/BandPlan.h"
#include "gathering/BandTable.h"
#include "gathering/IntensityKernels.h"
#include "gathering/Runs.h"

namespace rix::individual_analysis {

namespace {

/// Bytes as reals: no product overflows, and a bound needs no last digit.
double bytesOf(std::size_t count, std::size_t size) {
    return static_cast<double>(count) * static_cast<double>(size);
}

/// The capacity of a vector that grew to `count` elements one by one.
std::size_t grown(std::size_t count) {
    return count > (std::size_t{1} << 62) ? count : std::bit_ceil(count);
}

struct Numbers {
    std::uint32_t gathered;
    std::size_t channels;

    bool gathers(std::uint32_t data) const { return (gathered & data) != 0; }

    /// Of an object, in tables of what is gathered beyond its shape.
    double sumsOfObject() const {
        return (gathers(GATHER_SECOND_MOMENTS) ? bytesOf(1, sizeof(SecondMoments)) : 0.0) +
               (gathers(GATHER_CONTACTS | GATHER_EULER) ? bytesOf(1, sizeof(ContactSums)) : 0.0) +
               (gathers(GATHER_INTENSITY) ? bytesOf(channels, sizeof(IntensitySums)) : 0.0) +
               (gathers(GATHER_WEIGHTED_POSITION) ? bytesOf(channels, sizeof(WeightedPosition)) : 0.0);
    }

    /// A `BandTable` of so many objects and elements.
    double bandTable(std::size_t objects, std::size_t elements) const {
        const std::size_t slots = LabelHash::capacityFor(objects);
        const double outline = gathers(GATHER_OUTLINE) ? bytesOf(grown(elements), sizeof(OutlineRow)) +
                                                             bytesOf(grown(objects), sizeof(std::uint32_t))
                                                       : 0.0;
        return LabelHash::bytesFor(objects) + bytesOf(slots, sizeof(std::uint32_t) + sizeof(ShapeSums)) +
               static_cast<double>(grown(objects)) * sumsOfObject() + outline;
    }

    /// An `ObjectTable`, made of bands of so many objects together.
    double objectTable(std::size_t objects, std::size_t ofBands, std::size_t elements, std::size_t mostLabel) const {
        // Labels are found in a table up to the greatest, which has at most so many entries a label, or in a hash.
        const double dense = std::min(bytesOf(8, sizeof(std::uint32_t)) * static_cast<double>(ofBands) + 16400.0,
                                      bytesOf(mostLabel, sizeof(std::uint32_t)));
        const double sparse = 1.25 * LabelHash::bytesFor(objects) + bytesOf(objects, sizeof(std::uint32_t));
        const double outline = gathers(GATHER_OUTLINE) ? bytesOf(elements, sizeof(OutlineRow)) +
                                                             bytesOf(2 * objects + 1, sizeof(std::size_t))
                                                       : 0.0;
        return std::max(dense, sparse) + 1.5 * bytesOf(grown(objects), sizeof(std::uint32_t)) +
               bytesOf(objects, sizeof(ShapeSums)) + static_cast<double>(objects) * sumsOfObject() + outline;
    }
};

/// Bytes of the results of all measures for one object.
double resultsOfObject(const ImageModel& labels, std::size_t channels, const MeasureGroup& request) {
    // The measures themselves know how many values they have: of no objects they take no memory.
    LabelImageInfo info;
    info.numLabels = {0};
    info.labelSizes = {0};
    info.numSpectralPlanes = channels;
    info.calibration.init(labels);
    info.dimensionalMode = modeOf(labels);
    MeasureSet set(std::shared_ptr<const MeasureGroup>(std::shared_ptr<void>(), &request), info);
    set.setupDependencies();
    set.initMeasures();
    double bytes = 0.0;
    for (const auto& [id, measure] : set.getMeasures()) {
        const MeasureResults& results = *measure->getResults();
        bytes += bytesOf(results.getArraySize() * results.getNumSpectralPlanes(), sizeof(double));
    }
    return bytes;
}

}  // namespace

DimensionalMode modeOf(const ImageModel& labels) {
    return labels.getNumOf(PLANS) > 1 ? DimensionalMode::Mode3d : DimensionalMode::Mode2d;
}

std::uint32_t gatheredFor(const MeasureGroup& request, DimensionalMode mode) {
    MeasureIdSet needed;
    request.collectNeededMeasureIds(mode, needed);
    std::uint32_t gathered = GATHER_NOTHING_MORE;
    for (const auto& id : needed) {
        gathered |= id->getMeasureAttributes(mode).gathered;
    }
    return gathered;
}

std::size_t labelAnalysisMemory(const ImageModel& labels, const ImageModel* intensity, const MeasureGroup& request,
                                std::size_t threads) {
    const Numbers numbers{gatheredFor(request, modeOf(labels)),
                          intensity != nullptr ? intensity->getNumOf(SPECTRAL_SERIES) : 1};
    const BandPlan plan(labels, numbers.gathered);
    const std::size_t mostLabel = (std::size_t{1} << (8 * helper::getSizeOf(labels.getVoxelType()))) - 1;
    const std::size_t lines = plan.rows * plan.planes;
    const std::size_t elements = lines * plan.columns;
    const std::size_t linesOfBand = plan.plan.largestPart(ROWS);
    const std::size_t elementsOfBand = std::min(linesOfBand * plan.columns, elements);
    const std::size_t objectsOfBand = std::min(elementsOfBand, mostLabel);
    const std::size_t objects = std::min(elements, mostLabel);
    const auto frames = static_cast<double>(plan.frames);
    const auto atOnce = static_cast<double>(plan.plan.isSmall() ? 1 : std::min(threads, plan.plan.blockCount()));

    // While bands are gathered: their tables, of which some grow at the moment, and lines of runs.
    const double band = numbers.bandTable(objectsOfBand, elementsOfBand);
    const double bandsOfFrame = static_cast<double>(plan.bandsOfFrame()) * band;
    const double line = bytesOf(plan.columns, sizeof(Run) + sizeof(RunSums) + sizeof(double)) + 32768.0 +
                        bytesOf(plan.lookBack + 1, sizeof(Run) * plan.columns) +
                        (numbers.gathers(GATHER_OUTLINE) ? bytesOf(grown(objectsOfBand), 2 * sizeof(std::size_t)) : 0);
    const double gathering = frames * bandsOfFrame + atOnce * (0.5 * band + line);

    // While they are joined: frame by frame, each frame's bands go when its table is there.
    const double table = numbers.objectTable(objects, plan.bandsOfFrame() * objectsOfBand, elements, mostLabel + 1);
    const double joining = std::max(frames * bandsOfFrame, bandsOfFrame + (frames - 1.0) * table) + table +
                           atOnce * bytesOf(objectsOfBand, sizeof(std::uint32_t));

    // While measures are computed: all tables, the results, and the grey values where they are needed.
    double computing =
        frames * (table + static_cast<double>(objects) * resultsOfObject(labels, numbers.channels, request));
    if (numbers.gathers(GATHER_VALUES) && intensity != nullptr) {
        const std::size_t sampleSize = helper::getSizeOf(intensity->getVoxelType());
        computing += frames * (bytesOf(elements, numbers.channels * sampleSize) + 4096.0 +
                               bytesOf(objects + 1, (numbers.channels + 1) * sizeof(std::uint64_t))) +
                     atOnce * line;
    }
    const double most = std::max({gathering, joining, computing});
    return most < 1.8e19 ? static_cast<std::size_t>(most) : std::numeric_limits<std::size_t>::max();
}

}  // namespace rix::individual_analysis
