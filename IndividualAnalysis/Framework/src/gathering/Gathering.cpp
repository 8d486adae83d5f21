#include "Gathering.h"

#include <algorithm>
#include <memory>
#include <span>
#include <vector>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

#include "BandPlan.h"
#include "Lines.h"

namespace rix::individual_analysis {

namespace {

/// The work of one thread on one band.
class BandGatherer final : public RunLine {
public:
    BandGatherer(const BandPlan& plan, OptimLevelType level, const ImageModel& labels, const ImageModel* intensity,
                 const GatheringNeeds& needs, BandTable& table)
        : m_plan(plan),
          m_table(table),
          m_channels(needs.intensity ? needs.image.channels : 0),
          m_labels(makeLabelLines(labels, level)),
          m_intensity(needs.intensity ? makeIntensityLines(*intensity, level) : nullptr),
          m_runBuffer(plan.columns * sizeof(Run)),
          m_runs(m_runBuffer.as<Run>()),
          m_lines(needs.neighbours ? plan.lookBack + 1 : 0) {
        for (const QuantityTable::Entry& entry : table.quantities().entries()) {
            (entry.info->needsIntensity ? m_ofGrey : m_ofShape).push_back(&entry);
        }
    }

    void run(const access::Block& band, access::BlockProgress& progress) {
        const std::size_t frame = band.sequence();
        const access::Interval lines = band.rows();
        for (std::size_t line = lines.begin - std::min(lines.begin, m_plan.lookBack); line < lines.begin; ++line) {
            remember(line, m_labels->findRuns(m_plan.segment(frame, line), m_runs));
            m_looks.add(m_plan.columns);
        }
        for (std::size_t line = lines.begin; line < lines.end; ++line) {
            addLine(frame, line, m_labels->findRuns(m_plan.segment(frame, line), m_runs));
            progress.add(m_plan.columns);
        }
        m_table.finish();
    }

    std::span<const double> values() const override {
        if (!m_hasValues) {
            if (m_values.data() == nullptr) {
                m_values = access::Scratch(m_plan.columns * sizeof(double));
            }
            m_intensity->copyRow(m_values.as<double>(), m_plan.columns);
            m_hasValues = true;
        }
        return {m_values.as<const double>(), m_plan.columns};
    }

    std::span<const Run> neighbour(int rows, int planes) const override {
        const bool outside = (rows < 0 && m_row == 0) || (rows > 0 && m_row + std::size_t{1} == m_plan.rows) ||
                             (planes < 0 && m_plane == 0);
        if (outside) {
            return {};
        }
        const std::size_t before = (rows < 0 ? 1U : 0U) + (planes < 0 ? m_plan.rows : 0U);
        const std::size_t line = m_line + (rows > 0 ? 1U : 0U) - before;
        return m_lines[line % m_lines.size()];
    }

    std::uint32_t slotOf(std::uint32_t label) const override { return m_table.slotOf(label); }
    const IntensityLines& intensity() const override { return *m_intensity; }

private:
    void remember(std::size_t line, std::size_t count) {
        if (!m_lines.empty()) {
            m_lines[line % m_lines.size()].assign(m_runs, m_runs + count);
        }
    }

    void addLine(std::size_t frame, std::size_t line, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            m_runs[i].slot = m_table.slotOf(m_runs[i].label);
        }
        m_table.grow();
        remember(line, count);
        m_current = {m_runs, count};
        m_line = line;
        m_row = static_cast<std::uint32_t>(line % m_plan.rows);
        m_plane = static_cast<std::uint32_t>(line / m_plan.rows);
        m_channel = 0;
        addTo(m_ofShape);
        for (; count > 0 && m_channel < m_channels; ++m_channel) {
            m_intensity->read(m_plan.segment(frame, line, m_channel));
            m_hasValues = false;
            addTo(m_ofGrey);
        }
    }

    void addTo(const std::vector<const QuantityTable::Entry*>& quantities) {
        for (const QuantityTable::Entry* const entry : quantities) {
            if (!m_current.empty() || entry->info->needsNeighbours) {
                entry->quantity->add(*this);
                m_looks.add(m_current.size());
            }
        }
    }

    const BandPlan& m_plan;
    BandTable& m_table;
    std::size_t m_channels;
    std::vector<const QuantityTable::Entry*> m_ofShape;
    std::vector<const QuantityTable::Entry*> m_ofGrey;
    std::unique_ptr<LabelLines> m_labels;
    std::unique_ptr<IntensityLines> m_intensity;
    access::Scratch m_runBuffer;
    Run* m_runs;
    std::size_t m_line = 0;
    access::Looks m_looks;
    mutable access::Scratch m_values;
    mutable bool m_hasValues = false;
    std::vector<access::CountedVector<Run>> m_lines;  ///< the last ones, each at its number modulo their count
};

}  // namespace

std::vector<ObjectTable> gatherObjects(access::ExecutionContext& context, OptimLevelType level,
                                       const ImageModel& labels, const ImageModel* intensity,
                                       const GatheringNeeds& needs) {
    const BandPlan plan(labels, needs.neighbours);
    std::vector<BandTable> bands;
    for (std::size_t band = 0; band < plan.plan.blockCount(); ++band) {
        bands.emplace_back(needs.makeTable());
    }
    access::run(context, plan.plan, [&](const access::Block& band, access::BlockProgress& progress) {
        BandGatherer(plan, level, labels, intensity, needs, bands[band.index]).run(band, progress);
    });

    std::vector<ObjectTable> frames;
    for (std::size_t frame = 0; frame < plan.frames; ++frame) {
        const std::span<BandTable> own(bands.data() + frame * plan.bandsOfFrame(), plan.bandsOfFrame());
        frames.emplace_back(own, needs.makeTable(), context);
        for (BandTable& band : own) {
            band = BandTable(QuantityTable(needs.image));  // moved: the memory goes
        }
    }
    return frames;
}

}  // namespace rix::individual_analysis
