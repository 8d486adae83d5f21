#include <rix/analysis/AutoThresholdingValue.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <memory>
#include <sstream>
#include <utility>
#include <vector>

#include <rix/access/MemoryAccount.h>
#include <rix/access/Steps.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/analysis/ThresholdCriteria.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/FrameView.h>

#include "CountedExtrema.h"
#include "HistogramFilling.h"
#include "Isodata.h"

namespace rix::analysis {

namespace {

void declare(AutoThresholdingValue& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputGrayImage, "The image whose threshold is chosen.", AddRulesForRealImage());
    properties.input(algorithm.rangeMode, "Which range of grey levels the histogram covers.");
    properties.input(algorithm.intensityInputRange, "Minimum and maximum of the range, when rangeMode is OTHER.",
                     AddRuleAssertFinite());
    properties.onlyWith(algorithm.rangeMode, {AutoThresholdingValue::OTHER}, algorithm.intensityInputRange);
    properties.input(algorithm.thresholdCriterion, "How the threshold is chosen from the histogram.");
    properties.output(algorithm.outputMeasurement, "The thresholds, one for each frame.", AddRuleAssertNotNull());
}

constexpr std::size_t mostClasses = 65535;

/// The children, made when a run first needs them and kept for the next: on a small image to make one takes longer than
/// to run it.
struct ThresholdingState : algorithms::AbstractPrivateImplementation {
    std::unique_ptr<CountedExtrema> counted;
    std::unique_ptr<IntensityExtrema> extrema;
};

template <class Child>
Child& made(std::unique_ptr<Child>& child) {
    if (child == nullptr) {
        child = std::make_unique<Child>();
    }
    return *child;
}

/// One run: the choices made for all frames.
class Thresholding {
public:
    Thresholding(AutoThresholdingValue& algorithm, OptimLevelType level)
        : m_algorithm(algorithm),
          m_input(*algorithm.getInputGrayImage()),
          m_context(algorithm.executionContext()),
          m_level(level),
          m_isInteger(access::contains(access::Integers{}, m_input.getVoxelType())) {}

    void run() {
        const std::size_t frames = m_input.getNumOf(SEQUENCE);
        const bool measuresRange = m_algorithm.getRangeMode() == ThresholdChoices::MIN_MAX;
        const access::Steps steps(m_context, frames + (measuresRange ? 1 : 0));
        const math::Vector2<double> range = measuresRange ? measureRange() : givenRange();
        auto& threshold = m_algorithm.getOutputMeasurement()->threshold;
        threshold.reset(frames);
        for (std::size_t frame = 0; frame < frames; ++frame) {
            math::Histogram histogram = emptyHistogram(range);
            const access::MemoryCharge ofHistogram(histogram.getNbClasses() * sizeof(std::uint64_t));
            try {
                threshold[frame] = thresholdOf(frame, histogram);
            } catch (InvalidCall& exception) {
                exception.addInfoLevel(explain(frame, histogram));
                throw;
            }
        }
    }

private:
    math::Vector2<double> givenRange() const {
        const math::Vector2<double> range = m_algorithm.getIntensityInputRange();
        return {std::min(range.x, range.y), std::max(range.x, range.y)};
    }

    /// Runs the child that finds the extrema; where it can, one that keeps the counts of the values as well.
    math::Vector2<double> measureRange() {
        auto& state = algorithms::stateOf<ThresholdingState>(m_algorithm);
        if (CountedExtrema::accepts(m_input)) {
            CountedExtrema& child = made(state.counted);
            const math::Vector2<double> range = rangeOf(child);
            m_counted = std::move(child.frames);
            return range;
        }
        return rangeOf(made(state.extrema));
    }

    math::Vector2<double> rangeOf(IntensityExtrema& child) {
        IntensityExtremaMsr extrema;
        child.setInputImage(&m_input);
        child.setOutputMeasurement(&extrema);
        algorithms::runChild(m_algorithm, child, m_level);
        child.setOutputMeasurement(nullptr);
        const double minimum = extrema.minimum[0];
        if (std::isnan(minimum)) {
            throw ProcessingException(
                "The image \"inputGrayImage\" has no finite value, so there is no range from its "
                "minimum to its maximum; give a range with rangeMode OTHER.");
        }
        return {minimum, extrema.maximum[0]};
    }

    math::Histogram emptyHistogram(const math::Vector2<double>& range) const {
        if (!m_isInteger) {
            return {mostClasses, range.x, range.y};
        }
        const double end = range.y + 1.0;
        // Beyond 2^53 adding 1 changes nothing: a range far from all voxels has one class all the same.
        const double classes = std::clamp(std::trunc(end - range.x), 1.0, static_cast<double>(mostClasses));
        return {static_cast<std::size_t>(classes), range.x, end};
    }

    double thresholdOf(std::size_t frame, math::Histogram& histogram) {
        const access::Steps steps(m_context, 2);
        const FrameView view(m_input, frame);
        const ImageModel& image = view.image();
        if (m_counted.empty() && !hasCountableRange(image)) {
            fillHistogram(m_context, m_level, image, histogram);
            m_context.throwIfCancelled();
            return criterionOf(image, histogram);
        }
        ValueCounts values;
        if (m_counted.empty()) {
            values = countValues(m_context, image);
        } else {
            m_context.startStep(1.0);
            values = std::move(m_counted[frame]);
        }
        fillHistogram(values, histogram);
        m_context.throwIfCancelled();
        return criterionOf(values, image, histogram);
    }

    double criterionOf(const ImageModel& image, const math::Histogram& histogram) const {
        // In the range of the image's own extrema, classes of width 1 hold one integer each: they are the image's
        // values with their counts, which need not be read again.
        if (m_isInteger && m_algorithm.getRangeMode() == ThresholdChoices::MIN_MAX && histogram.getBinSize() == 1.0) {
            const auto counts = histogram.getCounts();
            return criterionOf({histogram.getMinimum(), {counts.begin(), counts.end()}}, image, histogram);
        }
        return details::computeThreshold(m_algorithm.getThresholdCriterion(), histogram, image, m_context, m_level);
    }

    double criterionOf(const ValueCounts& values, const ImageModel& image, const math::Histogram& histogram) const {
        const auto criterion = m_algorithm.getThresholdCriterion();
        if (criterion != ThresholdChoices::ISODATA) {
            return details::computeThreshold(criterion, histogram, image, m_context, m_level);
        }
        return isodataOfCounts(values, details::computeThresholdFactorization(histogram));
    }

    String explain(std::size_t frame, const math::Histogram& histogram) const {
        const auto counts = histogram.getCounts();
        const auto occupied =
            std::count_if(counts.begin(), counts.end(), [](std::uint64_t count) { return count > 0; });
        const String criterion =
            ThresholdChoices::getInfoThresholdCriterionType().getLabelFromValue(m_algorithm.getThresholdCriterion());
        std::ostringstream text;
        text.imbue(std::locale::classic());
        text << "The criterion " << criterion << " finds no threshold in the image \"inputGrayImage\"";
        if (m_input.getNumOf(SEQUENCE) > 1) {
            text << ", frame " << frame;
        }
        if (occupied == 1 && counts.size() == 1) {
            text << ": it is constant (every counted voxel is " << histogram.getMinimum()
                 << "), so there is nothing to separate.";
        } else {
            text << ": it would lie beyond the last of the " << counts.size() << " classes from "
                 << histogram.getMinimum() << " to " << histogram.getMaximum() << '.';
        }
        return text.str();
    }

    AutoThresholdingValue& m_algorithm;
    const ImageModel& m_input;
    access::ExecutionContext& m_context;
    OptimLevelType m_level;
    bool m_isInteger;
    std::vector<ValueCounts> m_counted;  ///< of each frame, where the search for the extrema counted the values
};

void process(AutoThresholdingValue& algorithm, OptimLevelType level) {
    Thresholding(algorithm, level).run();
}

/// Assumes that every class of the histogram occurs.
std::size_t thresholdingMemory(const AutoThresholdingValue& algorithm) {
    const ImageModel& image = *algorithm.getInputGrayImage();
    const bool measuresRange = algorithm.getRangeMode() == ThresholdChoices::MIN_MAX;
    const std::size_t classes = measuresRange && helper::getSizeOf(image.getVoxelType()) == 1 ? 256 : mostClasses;
    const std::size_t keptFrames = measuresRange && CountedExtrema::accepts(image) ? image.getNumOf(SEQUENCE) : 1;
    const std::size_t tables = hasCountableRange(image) ? keptFrames * tableBytes(image) : 0;
    // The classes that occur, as they come, and what ISODATA takes their counts for or ENTROPY keeps of each.
    const std::size_t criterion =
        std::bit_ceil(classes) * 24 +
        classes * (algorithm.getThresholdCriterion() == ThresholdChoices::ENTROPY ? sizeof(long double) : 8);
    const std::size_t histogram = classes * sizeof(std::uint64_t);
    return tables + histogram + std::max(countingMemory(algorithm.getMaximumThreads()), criterion);
}

constexpr algorithms::Definition<AutoThresholdingValue> definition{
    .summary = "Chooses a threshold from the histogram of an image.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory = &thresholdingMemory,
    .memoryIsExact = false,  // it depends on the values that occur
};

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(AutoThresholdingValue, ThresholdingState, definition)

}  // namespace rix::analysis
