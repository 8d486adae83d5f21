#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/image/ImageModel.h>
#include <rix/individual_analysis/LabelAnalysisMsr.h>

namespace rix::individual_analysis {

class LabelAnalysis;

/// The body of a run, with the kernels of a level.
void processLabelAnalysis(LabelAnalysis& algorithm, OptimLevelType level);

/// Measures every object of a label image and gives one table with a row an object.
///
/// **Input** `inputLabelImage`: `uint8`, `uint16` or `uint32`, scalar, of any interpretation: equal values other than 0
/// are one object, connected or not, so a binary image has one. One channel; each frame (index of the sequence axis) is
/// measured on its own. An image of one plane holds areas in the plane, one of more planes bodies in space; spacings on
/// these axes are positive. Labels may have gaps: cost and memory follow the labels that occur.
/// **Input** `inputIntensityImage` (optional): grey values of any real type with as many columns, rows, planes and
/// frames, and any number of channels; needed for measures of grey values.
/// **Input** `measures`: what is measured, as text: names of measures, presets and formulas, separated by commas.
/// Default "Basic". The presets "Basic", "Shape", "Convexity", "Intensity" and "All" take what exists for the images.
/// For example "Area, Barycenter, Feret" or "Shape, Roundness = 4*pi*Area/Perimeter^2, sqrt(Roundness)". Formulas have
/// + - * / ^, parentheses and functions (sqrt, cbrt, abs, min, max, exp, log, log10, sin, cos, tan, asin, acos, atan,
/// atan2); they may use every single value ("BarycenterX") and other formulas by their name.
/// **Output** `outputMeasurement`: the table; an object that the algorithm makes when none is set. A run replaces what
/// is in it when all measures are done. Rows are in the order of frames, then labels; the first columns are "Frame" and
/// "Label", then come the values of the measures in the order of the request, with their units. Measures of grey values
/// of several channels have a column for each channel: "Mean[0]", "Mean[1]". An image without objects gives no row.
///
/// The request is checked before any pixel is read: names, circles of formulas, and units (an area is not added to a
/// length).
///
/// @throws RuleException from `run` for what is refused above.
/// Method: rows are read once as runs of equal label (a change of the label is found with vector compares), and sums
/// are updated run by run, never pixel by pixel; order statistics read the image once more. Bands of rows keep tables
/// of their own, which are joined in the order of the bands: results are the same, bit for bit, for every number of
/// threads and every level of optimisation.
/// Cost: about one reading of the images at memory speed plus a few nanoseconds a run and an object; it does not depend
/// on the sizes of bounding boxes. Extra memory: about 100 to 500 bytes an object and band, 20 bytes a row of each
/// object for measures of the outline, and the grey values of all objects for order statistics.
class RIX_EXPORT LabelAnalysis : public BaseAlgorithm {
public:
    static std::shared_ptr<LabelAnalysis> New();
    static AlgoInfo& getInfo();

    explicit LabelAnalysis(algorithms::AbstractPrivateImplementation* implementation = nullptr);
    AlgoInfo& getClassInfo() const override;
    AlgorithmDescription describe() const override;
    /// Also begins a new table: the passes of an iteration over frames append to one.
    void applyAllRules() override;

    void setInputLabelImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputLabelImage() const { return input<const ImageModel*>(0); }
    /// Null (the default) measures shapes only.
    void setInputIntensityImage(const ImageModel* image) { input<const ImageModel*>(1) = image; }
    const ImageModel* getInputIntensityImage() const { return input<const ImageModel*>(1); }
    /// Default "Basic".
    void setMeasures(const String& measures) { input<String>(2) = measures; }
    String getMeasures() const { return input<String>(2); }
    void setOutputMeasurement(LabelAnalysisMsr* result) { output<LabelAnalysisMsr*>(0) = result; }
    /// Unless one was set, null before the first run.
    LabelAnalysisMsr* getOutputMeasurement() const { return output<LabelAnalysisMsr*>(0); }

private:
    friend void processLabelAnalysis(LabelAnalysis& algorithm, OptimLevelType level);
};

}  // namespace rix::individual_analysis
