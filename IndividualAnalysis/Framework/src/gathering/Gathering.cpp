#include "Gathering.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/individual_analysis/MeasureInfo.h>

#include "BandPlan.h"
#include "Contacts.h"
#include "Lines.h"

namespace rix::individual_analysis {

namespace {

/// Sums 0, 1, ..., n - 1 and their squares.
constexpr std::uint64_t sumBelow(std::uint64_t n) {
    return n % 2 == 0 ? n / 2 * (n - 1) : (n - 1) / 2 * n;
}
Int128 sumOfSquaresBelow(std::uint64_t n) {
    return n == 0 ? 0 : Int128{n} * (n - 1) / 2 * (2 * Int128{n} - 1) / 3;
}

/// The work of one thread on one band.
class BandGatherer {
public:
    BandGatherer(const BandPlan& plan, OptimLevelType level, const ImageModel& labels, const ImageModel* intensity,
                 BandTable& table)
        : m_plan(plan),
          m_table(table),
          m_labels(makeLabelLines(labels, level)),
          m_runBuffer(plan.columns * sizeof(Run)),
          m_runs(m_runBuffer.as<Run>()) {
        if (table.gathers(GATHER_INTENSITY | GATHER_WEIGHTED_POSITION)) {
            m_intensity = makeIntensityLines(*intensity, level);
            m_sumBuffer = access::Scratch(plan.columns * sizeof(RunSums));
            m_shiftBuffer = access::Scratch(plan.columns * sizeof(double));
        }
        if (table.gathers(GATHER_CONTACTS | GATHER_EULER)) {
            m_contacts.emplace(plan, table.gathered());
        }
    }

    void run(const access::Block& band, access::BlockProgress& progress) {
        const std::size_t frame = band.sequence();
        const access::Interval lines = band.rows();
        if (m_contacts) {
            for (std::size_t line = lines.begin - std::min(lines.begin, m_plan.lookBack); line < lines.begin; ++line) {
                m_contacts->remember(line, m_runs, m_labels->findRuns(m_plan.segment(frame, line), m_runs));
            }
        }
        for (std::size_t line = lines.begin; line < lines.end; ++line) {
            const std::size_t count = m_labels->findRuns(m_plan.segment(frame, line), m_runs);
            if (count > 0) {
                addLine(frame, line, count);
            }
            if (m_contacts) {
                m_contacts->count(line, m_runs, count, m_table);
            }
            progress.add(m_plan.columns);
        }
        m_table.finish();
    }

private:
    void addLine(std::size_t frame, std::size_t line, std::size_t count) {
        const auto row = static_cast<std::uint32_t>(line % m_plan.rows);
        const auto plane = static_cast<std::uint32_t>(line / m_plan.rows);
        for (std::size_t i = 0; i < count; ++i) {
            m_runs[i].slot = m_table.slotOf(m_runs[i].label);
        }
        if (m_intensity != nullptr) {
            for (std::size_t channel = 0; channel < m_table.channels(); ++channel) {
                m_intensity->read(m_plan.segment(frame, line, channel));
                addIntensity(count, channel);
                addWeighted(count, channel, row, plane);
            }
        }
        if (m_table.gathers(GATHER_SECOND_MOMENTS)) {
            addSecondMoments(count, row, plane);
        }
        if (m_table.gathers(GATHER_OUTLINE)) {
            addOutline(count, row, plane);
        }
        addShape(count, row, plane);
    }

    void addShape(std::size_t count, std::uint32_t row, std::uint32_t plane) {
        ShapeSums* const shape = m_table.shape.data();
        for (std::size_t i = 0; i < count; ++i) {
            const Run run = m_runs[i];
            ShapeSums& sums = shape[run.slot];
            const std::uint64_t length = run.end - run.begin;
            sums.count += length;
            sums.runs += 1;
            sums.position[0] += length * run.begin + sumBelow(length);
            sums.position[1] += length * row;
            sums.position[2] += length * plane;
            sums.lower[0] = std::min(sums.lower[0], run.begin);
            sums.upper[0] = std::max(sums.upper[0], run.end - 1);
            sums.lower[1] = std::min(sums.lower[1], row);
            sums.upper[1] = std::max(sums.upper[1], row);
            sums.lower[2] = std::min(sums.lower[2], plane);
            sums.upper[2] = plane;
        }
    }

    void addSecondMoments(std::size_t count, std::uint32_t row, std::uint32_t plane) {
        const Int128 y = row;
        const Int128 z = plane;
        for (std::size_t i = 0; i < count; ++i) {
            const Run& run = m_runs[i];
            SecondMoments& sums = m_table.second[run.slot];
            const Int128 length = run.end - run.begin;
            const Int128 x = Int128{run.begin} * length + sumBelow(run.end - run.begin);
            sums.xx += sumOfSquaresBelow(run.end) - sumOfSquaresBelow(run.begin);
            sums.xy += x * y;
            sums.yy += length * y * y;
            if (plane > 0) {
                sums.xz += x * z;
                sums.yz += length * y * z;
                sums.zz += length * z * z;
            }
        }
    }

    void addOutline(std::size_t count, std::uint32_t row, std::uint32_t plane) {
        // The rows of a line lie at the end; several runs of an object are few, so they are found by their slot.
        m_outlineOfSlot.resize(m_table.size(), none);
        const std::size_t first = m_table.outline.size();
        for (std::size_t i = 0; i < count; ++i) {
            const Run& run = m_runs[i];
            const std::size_t known = m_outlineOfSlot[run.slot];
            if (known != none && known >= first) {
                m_table.outline[known].end = run.end;
            } else {
                m_outlineOfSlot[run.slot] = m_table.outline.size();
                m_table.outline.push_back({run.slot, row, plane, run.begin, run.end});
                ++m_table.outlineRows[run.slot];
            }
        }
    }

    void addIntensity(std::size_t count, std::size_t channel) {
        double* const shifts = m_shiftBuffer.as<double>();
        RunSums* const runSums = m_sumBuffer.as<RunSums>();
        const std::size_t channels = m_table.channels();
        for (std::size_t i = 0; i < count; ++i) {
            IntensitySums& sums = m_table.intensity[m_runs[i].slot * channels + channel];
            if (std::isnan(sums.shift)) {
                // Sums about a value of the object itself lose no digits to a large mean.
                const double value = m_intensity->value(m_runs[i].begin);
                sums.shift = std::isfinite(value) ? value : 0.0;
            }
            shifts[i] = sums.shift;
        }
        m_intensity->sum(m_runs, count, shifts, runSums);
        for (std::size_t i = 0; i < count; ++i) {
            IntensitySums& sums = m_table.intensity[m_runs[i].slot * channels + channel];
            sums.sum += runSums[i].sum;
            sums.squares += runSums[i].squares;
            sums.minimum = std::min(sums.minimum, runSums[i].minimum);
            sums.maximum = std::max(sums.maximum, runSums[i].maximum);
        }
    }

    void addWeighted(std::size_t count, std::size_t channel, std::uint32_t row, std::uint32_t plane) {
        if (m_table.weighted.empty()) {
            return;
        }
        double* const moments = m_shiftBuffer.as<double>();
        const RunSums* const runSums = m_sumBuffer.as<RunSums>();
        m_intensity->moments(m_runs, count, moments);
        const std::size_t channels = m_table.channels();
        for (std::size_t i = 0; i < count; ++i) {
            const Run& run = m_runs[i];
            const std::size_t place = run.slot * channels + channel;
            const double weight =
                runSums[i].sum + m_table.intensity[place].shift * static_cast<double>(run.end - run.begin);
            WeightedPosition& sums = m_table.weighted[place];
            sums[0] += moments[i] + weight * run.begin;
            sums[1] += weight * row;
            sums[2] += weight * plane;
        }
    }

    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    const BandPlan& m_plan;
    BandTable& m_table;
    std::unique_ptr<LabelLines> m_labels;
    std::unique_ptr<IntensityLines> m_intensity;
    std::optional<Contacts> m_contacts;
    access::Scratch m_runBuffer;
    access::Scratch m_sumBuffer;
    access::Scratch m_shiftBuffer;
    Run* m_runs;
    access::CountedVector<std::size_t> m_outlineOfSlot;
};

}  // namespace

std::vector<ObjectTable> gatherObjects(access::ExecutionContext& context, OptimLevelType level,
                                       const ImageModel& labels, const ImageModel* intensity, std::uint32_t gathered) {
    const BandPlan plan(labels, gathered);
    const std::size_t channels = intensity != nullptr ? intensity->getNumOf(SPECTRAL_SERIES) : 1;
    std::vector<BandTable> bands(plan.plan.blockCount(), BandTable(gathered, channels));
    access::run(context, plan.plan, [&](const access::Block& band, access::BlockProgress& progress) {
        BandGatherer(plan, level, labels, intensity, bands[band.index]).run(band, progress);
    });

    std::vector<ObjectTable> frames;
    for (std::size_t frame = 0; frame < plan.frames; ++frame) {
        const std::span<BandTable> own(bands.data() + frame * plan.bandsOfFrame(), plan.bandsOfFrame());
        frames.emplace_back(own, context);
        for (BandTable& band : own) {
            band = BandTable(gathered, channels);  // moved: the memory goes
        }
    }
    return frames;
}

}  // namespace rix::individual_analysis
