#pragma once

#include <cstdint>

#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/image/ImageModel.h>
#include <rix/properties/Property.h>
#include <rix/properties/PropertySingleChoice.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>

#include "labeling/LabelingBody.h"

namespace rix::segmentation {

/// What `Labeling2d` and `Labeling3d` have in common. Their enumerations of label types are the same.
struct LabelingPrivate : algorithms::AbstractPrivateImplementation {
    LabelingPrivate(const EnumInfo& labelTypes, const EnumInfo& neighborhoods)
        : labelType(&labelTypes), neighborhood(&neighborhoods) {}

    /// Attaches the rules; the properties have their names by then.
    void attachRules();
    /// Gives the output its shape and meaning. A wider type of labels than the one asked for stays until the labels are
    /// counted: the output may be a view, whose type never changes.
    void shapeOutput();
    /// Gives the output the type that the labels need. A wider one stays where it is fixed.
    /// @return the output's type
    VoxelTypes retypeOutput(VoxelTypes needed);
    void label(BaseAlgorithm& algorithm, OptimLevelType level, Connectivity connectivity);
    AlgorithmDescription describe(Connectivity connectivity, std::size_t threads) const;

    Property<const ImageModel*> inputObjectImage;
    PropertySingleChoice labelType;
    PropertySingleChoice neighborhood;
    Property<ImageModel*> outputLabelImage;
    LabelingTuning tuning;
    RunVisitor visitRun;
    std::uint64_t numberOfLabels = 0;
};

struct Labeling2dPrivate : LabelingPrivate {
    Labeling2dPrivate() : LabelingPrivate(Labeling2d::getInfoLabelType(), Labeling2d::getInfoNeighborhood2DType()) {}
};

struct Labeling3dPrivate : LabelingPrivate {
    Labeling3dPrivate() : LabelingPrivate(Labeling3d::getInfoLabelType(), Labeling3d::getInfoNeighborhood3DType()) {}
};

}  // namespace rix::segmentation
