#include "LabelAnalysisMemory.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <memory>

#include <rix/individual_analysis/MeasureSet.h>

#include "gathering/BandPlan.h"
#include "gathering/BandTable.h"
#include "gathering/GatheringNeeds.h"
#include "gathering/IntensityKernels.h"

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

/// What the quantities of a request keep.
struct KeptBytes {
    explicit KeptBytes(const GatheringNeeds& needs) {
        for (const QuantityInfo* const info : needs.quantities) {
            ofObject += bytesOf(info->bytesOfObject, 1) + bytesOf(info->bytesOfObjectAndChannel, needs.image.channels);
            ofRun += bytesOf(info->bytesOfRun, 1);
        }
    }

    double ofObject = 0.0;
    double ofRun = 0.0;

    /// A `BandTable` of so many objects and runs.
    double bandTable(std::size_t objects, std::size_t runs) const {
        return LabelHash::bytesFor(objects) + bytesOf(LabelHash::capacityFor(objects), sizeof(std::uint32_t)) +
               static_cast<double>(grown(objects + 1)) * ofObject + static_cast<double>(grown(runs)) * ofRun;
    }

    /// An `ObjectTable`, made of bands of so many objects together.
    double objectTable(std::size_t objects, std::size_t ofBands, std::size_t runs, std::size_t mostLabel) const {
        // Labels are found in a table up to the greatest, which has at most so many entries a label, or in a hash.
        const double dense = std::min(bytesOf(8, sizeof(std::uint32_t)) * static_cast<double>(ofBands) + 16400.0,
                                      bytesOf(mostLabel, sizeof(std::uint32_t)));
        const double sparse = 1.25 * LabelHash::bytesFor(objects) + bytesOf(objects, sizeof(std::uint32_t));
        return std::max(dense, sparse) + 1.5 * bytesOf(grown(objects), sizeof(std::uint32_t)) +
               static_cast<double>(objects + 1) * ofObject + static_cast<double>(runs) * ofRun;
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

std::size_t labelAnalysisMemory(const ImageModel& labels, const ImageModel* intensity, const MeasureGroup& request,
                                std::size_t threads) {
    const GatheringNeeds needs(labels, intensity, request);
    const KeptBytes kept(needs);
    const BandPlan plan(labels, needs.neighbours);
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
    const double band = kept.bandTable(objectsOfBand, elementsOfBand);
    const double bandsOfFrame = static_cast<double>(plan.bandsOfFrame()) * band;
    const double line = bytesOf(plan.columns, sizeof(Run) + sizeof(RunSums) + 3 * sizeof(double)) + 32768.0 +
                        bytesOf(plan.lookBack + 1, sizeof(Run) * plan.columns);
    const double sorted = bytesOf(elementsOfBand, 1) * kept.ofRun;
    const double gathering = frames * bandsOfFrame + atOnce * (std::max(0.5 * band, sorted) + line);

    // While they are joined: frame by frame, each frame's bands go when its table is there.
    const double table = kept.objectTable(objects, plan.bandsOfFrame() * objectsOfBand, elements, mostLabel + 1);
    const double joining = std::max(frames * bandsOfFrame, bandsOfFrame + (frames - 1.0) * table) + table +
                           bytesOf(plan.bandsOfFrame(), objectsOfBand * sizeof(std::uint32_t)) +
                           atOnce * bytesOf(objectsOfBand, sizeof(JoinedObject));

    // While measures are computed: all tables, the results, and the grey values where they are needed.
    double computing =
        frames * (table + static_cast<double>(objects) * resultsOfObject(labels, needs.image.channels, request));
    if (needs.values && intensity != nullptr) {
        const std::size_t sampleSize = helper::getSizeOf(intensity->getVoxelType());
        computing += frames * (bytesOf(elements, needs.image.channels * sampleSize) + 4096.0 +
                               bytesOf(objects + 1, (needs.image.channels + 1) * sizeof(std::uint64_t))) +
                     atOnce * line;
    }
    const double most = std::max({gathering, joining, computing});
    return most < 1.8e19 ? static_cast<std::size_t>(most) : std::numeric_limits<std::size_t>::max();
}

}  // namespace rix::individual_analysis
