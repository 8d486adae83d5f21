#include "LabelAnalysisRun.h"

#include <memory>
#include <utility>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/exceptions/Exception.h>
#include <rix/individual_analysis/MeasureSet.h>

#include "MeasureTable.h"
#include "gathering/Gathering.h"
#include "gathering/GreyValues.h"
#include "measures/LabelMeasure.h"

namespace rix::individual_analysis {

namespace {

using Status = MeasureProcessingStatus;

/// One run: drives every measure of the set through its life.
class Analysis {
public:
    Analysis(access::ExecutionContext& context, OptimLevelType level, const ImageModel& labels,
             const ImageModel* intensity, std::shared_ptr<const MeasureGroup> request)
        : m_context(context), m_level(level), m_labels(labels), m_intensity(intensity), m_request(std::move(request)) {}

    void run(LabelAnalysisMsr& result) {
        const GatheringNeeds needs(m_labels, m_intensity, *m_request);
        const access::Steps steps(m_context, needs.values ? 3 : 2);
        // The first pass finds the labels, which the set has to know, and gathers all that measures need of it at once.
        m_objects = gatherObjects(m_context, m_level, m_labels, m_intensity, needs);
        showGathered();
        MeasureSet set(m_request, imageInfo());
        set.setupDependencies();
        set.initMeasures();
        while (set.getNumMeasures(Status::Done) < set.getMeasures().size()) {
            if (set.hasMeasuresReadyForProcessing(MeasureProcessingType::Runs)) {
                process(set, MeasureProcessingType::Runs);
            }
            if (set.hasMeasuresReadyForProcessing(MeasureProcessingType::Values)) {
                gatherValues();
                process(set, MeasureProcessingType::Values);
            }
            if (finalizeReady(set) == 0) {
                throw UnexpectedError("No measure of the set can go on.");
            }
        }
        // The values are final: what they came from makes room for the table.
        m_values.clear();
        for (ObjectTable& frame : m_objects) {
            m_context.throwIfCancelled();
            frame.releaseQuantities();
        }
        fillTable(result, set, m_objects);
    }

private:
    LabelImageInfo imageInfo() const {
        LabelImageInfo info;
        for (const ObjectTable& frame : m_objects) {
            info.numLabels.push_back(frame.size());
            info.labelSizes.push_back(frame.labels().empty() ? 0 : frame.labels().back());
        }
        info.numSpectralPlanes = m_intensity != nullptr ? m_intensity->getNumOf(SPECTRAL_SERIES) : 1;
        info.calibration.init(m_labels);
        info.dimensionalMode = modeOf(m_labels);
        return info;
    }

    void showGathered() {
        for (const ObjectTable& objects : m_objects) {
            m_gathered.push_back({&objects, nullptr});
        }
    }

    void gatherValues() {
        if (m_values.empty()) {
            m_values = gatherGreyValues(m_context, m_level, m_labels, *m_intensity, m_objects);
            for (std::size_t frame = 0; frame < m_values.size(); ++frame) {
                m_gathered[frame].values = m_values[frame].get();
            }
        }
    }

    /// Takes the measures of one type through the pass for which they wait; its data have been gathered.
    void process(const MeasureSet& set, MeasureProcessingType type) {
        for (const auto& [id, measure] : set.getMeasures()) {
            if (measure->getMeasureAttributes().processingType != type ||
                measure->getProcessingStatus() != Status::ReadyForProcessing ||
                !measure->canStartParallelProcessing()) {
                continue;
            }
            measure->startParallelProcessing();
            if (auto* const own = dynamic_cast<LabelMeasure*>(measure.get()); own != nullptr) {
                own->setGathered(m_gathered);
            }
            measure->endParallelProcessing();
        }
    }

    /// Finalises the measures that can be. @return how many
    std::size_t finalizeReady(const MeasureSet& set) {
        std::size_t finalized = 0;
        for (const auto& [id, measure] : set.getMeasures()) {
            if (measure->getProcessingStatus() == Status::ReadyForFinalization && measure->canBeFinalized()) {
                finalizeMeasure(set, *measure);
                ++finalized;
            }
        }
        return finalized;
    }

    void finalizeMeasure(const MeasureSet& set, BaseMeasure& measure) {
        constexpr std::size_t objectsOfPart = 256;
        constexpr double nanosecondsOfPart = 3.0e4;
        measure.startFinalization();
        for (std::size_t frame = 0; frame < set.getNumSequencePlanes(); ++frame) {
            const std::size_t objects = set.getNumLabels(frame);
            const std::size_t parts = (objects + objectsOfPart - 1) / objectsOfPart;
            access::forEachPart(m_context, parts, nanosecondsOfPart, [&](std::size_t part) {
                const access::Interval range = access::partOf(objects, parts, part);
                measure.finalize(frame, range.begin, range.end);
            });
        }
        measure.endFinalization();
    }

    access::ExecutionContext& m_context;
    OptimLevelType m_level;
    const ImageModel& m_labels;
    const ImageModel* m_intensity;
    std::shared_ptr<const MeasureGroup> m_request;
    std::vector<ObjectTable> m_objects;  ///< of each frame
    std::vector<std::unique_ptr<GreyValues>> m_values;
    std::vector<GatheredFrame> m_gathered;  ///< all these, as measures see them
};

}  // namespace

void analyseLabels(access::ExecutionContext& context, OptimLevelType level, const ImageModel& labels,
                   const ImageModel* intensity, std::shared_ptr<const MeasureGroup> request, LabelAnalysisMsr& result) {
    Analysis(context, level, labels, intensity, std::move(request)).run(result);
}

}  // namespace rix::individual_analysis
