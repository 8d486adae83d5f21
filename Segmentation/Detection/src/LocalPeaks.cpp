// Peaks: regional maxima that are high enough and far enough from higher ones.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include <rix/access/BlockSize.h>
#include <rix/access/KeyTable.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WholeImage.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/image/ImageHeader.h>
#include <rix/morphology/RegionalMaxima2d.h>
#include <rix/morphology/RegionalMaxima3d.h>
#include <rix/rules/InputRules.h>
#include <rix/segmentation/LocalPeaks2d.h>
#include <rix/segmentation/LocalPeaks3d.h>
#include <rix/settings/Settings.h>

#include "PeakPlaces.h"
#include "SpacedPeaks.h"

namespace rix::segmentation {

namespace {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

template <class Filter>
constexpr std::size_t axesOf = std::is_same_v<Filter, LocalPeaks3d> ? 3 : 2;
template <class Filter>
using MaximaOf = std::conditional_t<axesOf<Filter> == 3, morphology::RegionalMaxima3d, morphology::RegionalMaxima2d>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    constexpr double farthest = 2147483648.0;
    properties.input(filter.inputImage, "The image whose peaks are wanted.", AddRulesForRealImage());
    filter.threshold = 0.0;
    properties.input(filter.threshold, "What peaks are above.", AddRuleAssertNotNaN());
    filter.minimumDistance = 1.0;
    properties.input(filter.minimumDistance, "How far from each other they are at least.");
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        const algorithms::AddRuleLength length({filter.inputImage, filter.lengthUnit, static_cast<Components>(axis)},
                                               farthest);
        length(filter.minimumDistance);
    }
    properties.input(filter.lengthUnit, "Whether the distance is in voxels or in the image's unit.");
    properties.output(filter.outputMeasurement, "A row for each peak.", AddRuleCreateMeasurement());
}

/// Voxels of a maximum that follow each other in a row.
struct MaximumRun {
    std::size_t line;  ///< of all rows, in storage order
    std::size_t first;
    std::size_t end;
    double value;
    std::array<float, 3> top;  ///< of a single voxel that may be a maximum alone: from its centre to the top
};

using Runs = access::CountedVector<MaximumRun>;

/// The runs of all maxima above a threshold, in storage order.
template <class T>
Runs findRuns(access::ExecutionContext& context, const ImageModel& image, const ImageModel& maxima, double threshold,
              std::size_t axes) {
    const access::Steps steps(context, 2);
    const access::WholeInput<T> whole(context, image);
    const Extents n = helper::getExtents(image);
    const access::Plan plan = access::cutBands(n, {.nanosecondsPerVoxel = 1.0});
    std::vector<Runs> ofBlocks(plan.blockCount());
    access::run(context, plan, [&](const access::Block& block) {
        access::RowReader<std::uint8_t> reader(maxima);
        Runs& runs = ofBlocks[block.index];
        access::Looks looks;
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            const std::uint8_t* const marks = reader.read(segment);
            const std::size_t offset = access::detail::offsetOf(segment, n);
            const T* const row = whole.data() + offset;
            const std::array<std::size_t, 3> at{0, segment.row, segment.plane};
            looks.add(segment.count / 4);
            for (std::size_t x = 0; x < segment.count; ++x) {
                if (marks[x] == 0 || !(static_cast<double>(row[x]) > threshold)) {
                    continue;
                }
                MaximumRun run{offset / n[COLUMNS], x, x + 1, static_cast<double>(row[x]), {}};
                while (run.end < segment.count && marks[run.end] != 0) {
                    ++run.end;
                }
                const T* const voxel = row + x;
                std::size_t stride = 1;
                for (std::size_t axis = 0; axis < axes && run.end == x + 1; stride *= n[axis++]) {
                    const std::size_t index = axis == 0 ? x : at[axis];
                    if (index > 0 && index + 1 < n[axis]) {
                        run.top[axis] = static_cast<float>(topBetween(*(voxel - stride), *voxel, voxel[stride]));
                    }
                }
                runs.push_back(run);
                x = run.end;
            }
        });
    });
    std::size_t count = 0;
    for (const Runs& each : ofBlocks) {
        count += each.size();
    }
    Runs all;
    all.reserve(count);
    access::Looks looks;
    for (Runs& each : ofBlocks) {
        for (const MaximumRun& run : each) {
            all.push_back(run);
            looks.add(1);
        }
        each = Runs();
    }
    return all;
}

/// Runs that touch are one maximum: a forest whose roots are the first runs.
class Plateaus {
public:
    Plateaus(const Runs& runs, const Extents& n, std::size_t axes) : m_runs(runs), m_parents(runs.size()) {
        access::Looks looks;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            m_parents[i] = i;
            const std::size_t row = runs[i].line % n[ROWS];
            const std::size_t plane = runs[i].line / n[ROWS] % n[PLANS];
            joinWith(i, row > 0, runs[i].line - 1);
            for (std::size_t step = 0; step < 3 && axes == 3 && plane > 0; ++step) {
                const std::size_t other = row + step;  // one more
                joinWith(i, other > 0 && other <= n[ROWS], runs[i].line - n[ROWS] + step - 1);
            }
            looks.add(8);
        }
    }

    std::size_t rootOf(std::size_t run) const {
        while (m_parents[run] != run) {
            run = m_parents[run];
        }
        return run;
    }

private:
    void joinWith(std::size_t i, bool exists, std::size_t line) {
        if (!exists) {
            return;
        }
        const MaximumRun& run = m_runs[i];
        // The first of that line that does not end too early.
        auto other = std::partition_point(
            m_runs.begin(), m_runs.begin() + static_cast<std::ptrdiff_t>(i),
            [&](const MaximumRun& each) { return each.line < line || (each.line == line && each.end < run.first); });
        for (; other->line == line && other->first <= run.end; ++other) {
            const std::size_t a = compressed(i);
            const std::size_t b = compressed(static_cast<std::size_t>(other - m_runs.begin()));
            m_parents[std::max(a, b)] = std::min(a, b);
        }
    }
    std::size_t compressed(std::size_t run) {
        while (m_parents[run] != run) {
            m_parents[run] = m_parents[m_parents[run]];
            run = m_parents[run];
        }
        return run;
    }

    const Runs& m_runs;
    access::CountedVector<std::size_t> m_parents;
};

/// Where maxima are, of several voxels their mean.
access::CountedVector<Peak> peaksOf(const Runs& runs, const Extents& n, std::size_t axes) {
    const Plateaus plateaus(runs, n, axes);
    const std::size_t linesOfPart = n[ROWS] * (axes == 3 ? n[PLANS] : 1);
    access::Looks looks;
    std::size_t count = 0;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        count += plateaus.rootOf(i) == i ? 1U : 0U;
        looks.add(1);
    }
    struct Sum {
        std::array<double, 3> places{};
        std::size_t voxels = 0;
    };
    access::CountedVector<Peak> peaks;
    access::CountedVector<Sum> sums;
    peaks.reserve(count);
    sums.reserve(count);
    access::CountedVector<std::size_t> numbers(runs.size());  // of the peak of each run
    for (std::size_t i = 0; i < runs.size(); ++i) {
        looks.add(1);
        const MaximumRun& run = runs[i];
        const std::size_t root = plateaus.rootOf(i);
        if (root == i) {
            numbers[i] = peaks.size();
            peaks.push_back(
                {run.line / linesOfPart,
                 run.line % linesOfPart * n[COLUMNS] + run.first,
                 run.value,
                 {static_cast<double>(run.top[0]), static_cast<double>(run.top[1]), static_cast<double>(run.top[2])}});
            sums.emplace_back();
        }
        Sum& sum = sums[numbers[root]];
        const std::size_t voxels = run.end - run.first;
        const auto weight = static_cast<double>(voxels);
        sum.voxels += voxels;
        sum.places[0] += 0.5 * static_cast<double>(run.first + run.end - 1) * weight;
        sum.places[1] += static_cast<double>(run.line % n[ROWS]) * weight;
        sum.places[2] += static_cast<double>(run.line / n[ROWS] % n[PLANS]) * weight;
    }
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        looks.add(1);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double mean = sums[i].places[axis] / static_cast<double>(sums[i].voxels);
            peaks[i].place[axis] = sums[i].voxels == 1 ? mean + peaks[i].place[axis] : mean;
        }
    }
    return peaks;
}

template <class Filter>
SpacedPeaks spacedPeaks(const Filter& filter, const Extents& n) {
    std::array<double, 3> units{1.0, 1.0, 1.0};
    std::array<std::size_t, 3> extents{n[COLUMNS], n[ROWS], n[PLANS]};
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        if (filter.getLengthUnit() == algorithms::LengthUnit::WORLD) {
            units[axis] = std::fabs(filter.getInputImage()->getSpacingOf(static_cast<Components>(axis)));
        }
        // Along an axis of one voxel the spacing may be anything, and does not matter.
        units[axis] = units[axis] > 0.0 && std::isfinite(units[axis]) ? units[axis] : 1.0;
    }
    return {filter.getMinimumDistance(), extents, units};
}

void fillTable(PeaksMsr& table, const access::CountedVector<Peak>& peaks, const PeakPlaces& places, const Extents& n,
               std::size_t axes) {
    places.start(table, false);
    table.resize(peaks.size());
    const std::size_t parts = axes == 3 ? 1 : n[PLANS];
    access::Looks looks;
    for (std::size_t row = 0; row < peaks.size(); ++row) {
        const std::size_t frame = peaks[row].part / parts;
        table.setFrame(row, frame % n[SEQUENCE], frame / n[SEQUENCE]);
        table.value[row] = peaks[row].value;
        places.place(table, row, peaks[row].place);
        looks.add(1);
    }
}

ImageHeader headerOfMaxima(const ImageModel& image) {
    ImageHeader header = helper::headerOf(image);
    header.voxelType = RIX_UINT8;
    header.interpretation = RIX_BINARY;
    return header;
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const access::Steps steps(context, {0.7, 0.3});
    const ImageModel& image = *filter.getInputImage();
    const Extents n = helper::getExtents(image);
    Runs runs;
    {
        const HeaderImage like(headerOfMaxima(image));
        access::TemporaryImage maxima(like);
        MaximaOf<Filter> child;
        child.setInputImage(&image);
        child.setOutputBinaryImage(&maxima.image());
        algorithms::runChild(filter, child, level);
        maxima.image().setInterpretation(RIX_VALUE);  // what is 0 and 1 already is read without a copy
        access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
            runs = findRuns<typename decltype(tag)::type>(context, image, maxima.image(), filter.getThreshold(),
                                                          axesOf<Filter>);
        });
    }
    access::CountedVector<Peak> peaks = peaksOf(runs, n, axesOf<Filter>);
    runs = Runs();
    spacedPeaks(filter, n).thin(peaks);
    fillTable(*filter.getOutputMeasurement(), peaks, PeakPlaces(image, axesOf<Filter>), n, axesOf<Filter>);
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& image = *filter.getInputImage();
    const Extents n = helper::getExtents(image);
    double runs = static_cast<double>((n[COLUMNS] + 1) / 2);
    double lines = 1;
    for (const Components axis : {ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES}) {
        lines *= static_cast<double>(n[axis]);
    }
    runs *= lines;
    const double peaks = runs / static_cast<double>(n[ROWS]) * static_cast<double>((n[ROWS] + 1) / 2);
    constexpr double ofPeak = sizeof(Peak) + 4.0 * sizeof(double);
    const double searched =
        static_cast<double>(access::TemporaryImage::bytes(image, RIX_UINT8)) +
        (access::needsCopy(image, image.getVoxelType())
             ? static_cast<double>(access::Scratch::held(access::TemporaryImage::bytes(image, image.getVoxelType()))) +
                   static_cast<double>(filter.getMaximumThreads()) *
                       static_cast<double>(access::Scratch::held(access::blockBytes()))
             : 0.0) +
        3.0 * static_cast<double>(sizeof(MaximumRun)) * runs;
    const double joined = (sizeof(MaximumRun) + 2.0 * sizeof(std::size_t)) * runs + ofPeak * peaks;
    const double thinned = sizeof(Peak) * peaks + SpacedPeaks::bytesFor(peaks);
    const HeaderImage maxima(headerOfMaxima(image));
    MaximaOf<Filter> child;
    child.settings() = filter.settings();
    HeaderImage none;
    child.setInputImage(&image);
    child.setOutputBinaryImage(&none);
    return std::max(access::boundOf(std::max({searched, joined, thinned})),
                    access::TemporaryImage::bytes(image, RIX_UINT8) + child.describe().extraMemory);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Reduction,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .memory = &memoryOf<Filter>,
        .memoryIsExact = false,  // it depends on the number of maxima
    };
}

constexpr auto inPlanes = definitionOf<LocalPeaks2d>("Finds the peaks of each plane, apart from each other.");
constexpr auto inVolumes = definitionOf<LocalPeaks3d>("Finds the peaks of each volume, apart from each other.");

}  // namespace

RIX_DEFINE_ALGORITHM(LocalPeaks2d, inPlanes)
RIX_DEFINE_ALGORITHM(LocalPeaks3d, inVolumes)

}  // namespace rix::segmentation
