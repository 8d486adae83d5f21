#pragma once

/// Everything an application needs: the library's start, images, properties, rules, and all algorithms.

#include <rix/Library.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/ObjectInfo.h>
#include <rix/analysis/AutoThresholdingValue.h>
#include <rix/analysis/IntensityExtrema.h>
#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/filtering/smoothing/BoxFilter3d.h>
#include <rix/image/ImageCalibration.h>
#include <rix/image/ImageModel.h>
#include <rix/image/ImageModel3dWithFull2d.h>
#include <rix/image/ImageModelFull2d.h>
#include <rix/image/ImageModelFull3d.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/image/MemoryImage.h>
#include <rix/individual_analysis/LabelAnalysis.h>
#include <rix/individual_analysis/LabelAnalysisMsr.h>
#include <rix/individual_analysis/MeasureSet.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/measurement/TableText.h>
#include <rix/point_operations/ArithmeticOperationWithImage.h>
#include <rix/point_operations/ArithmeticOperationWithValue.h>
#include <rix/point_operations/ConvertImage.h>
#include <rix/point_operations/LogicalOperationWithImage.h>
#include <rix/point_operations/LogicalOperationWithValue.h>
#include <rix/point_operations/MaskImage.h>
#include <rix/segmentation/AutoThresholdingBright.h>
#include <rix/segmentation/AutoThresholdingDark.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>
#include <rix/segmentation/ThresholdingByCriterion.h>
#include <rix/settings/Settings.h>
