#include "AutoThresholdingRunners.h"

#include <rix/access/Steps.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/LevelRunner.h>
#include <rix/analysis/AutoThresholdingValue.h>
#include <rix/segmentation/AutoThresholdingBright.h>
#include <rix/segmentation/AutoThresholdingDark.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

namespace rix::segmentation {

namespace {

template <ThresholdingByCriterion::CriterionType side>
void process(AutoThresholding& algorithm, OptimLevelType level) {
    const access::Steps steps(algorithm.executionContext(), 2);

    analysis::AutoThresholdingValue value;
    value.setInputGrayImage(algorithm.getInputGrayImage());
    value.setRangeMode(algorithm.getRangeMode());
    value.setIntensityInputRange(algorithm.getIntensityInputRange());
    value.setThresholdCriterion(algorithm.getThresholdCriterion());
    value.setOutputMeasurement(algorithm.getOutputMeasurement());
    algorithms::runChild(algorithm, value, level);

    ThresholdingByCriterion thresholding;
    thresholding.setInputGrayImage(algorithm.getInputGrayImage());
    thresholding.setComparisonCriterion(side);
    thresholding.setComparisonValue(algorithm.getOutputMeasurement()->threshold[0]);
    thresholding.setOutputBinaryImage(algorithm.getOutputBinaryImage());
    algorithms::runChild(algorithm, thresholding, level);
}

template <class Algorithm, ThresholdingByCriterion::CriterionType side>
void processSide(Algorithm& algorithm, OptimLevelType level) {
    process<side>(algorithm, level);
}

}  // namespace

void addAutoThresholdingBrightRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<AutoThresholdingBright,
                                &processSide<AutoThresholdingBright, ThresholdingByCriterion::GREATER_THAN_OR_EQUAL_TO>,
                                &algorithms::acceptsAll<AutoThresholdingBright>>(info);
}

void addAutoThresholdingDarkRunners(AlgoInfo& info) {
    algorithms::addLevelRunners<AutoThresholdingDark,
                                &processSide<AutoThresholdingDark, ThresholdingByCriterion::LESS_THAN>,
                                &algorithms::acceptsAll<AutoThresholdingDark>>(info);
}

}  // namespace rix::segmentation
