#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/rules/SpacingRules.h>
#include <rix/rules/When.h>

#include "Field.h"

/// What the filters of this module share.
namespace rix::edge_detection {

/// The axes that a filter knows; its source says so of a class for volumes.
template <class Filter>
constexpr std::size_t axesOf = 2;
template <class Filter>
constexpr bool ofVolumes = axesOf<Filter> == 3;

/// A standard deviation for all axes: a length of at most `largestDeviation` voxels along each.
class RuleDeviation : public Rules<Property<double>> {
public:
    RuleDeviation(const Property<const ImageModel*>& image, const Property<int>& unit, std::size_t axes,
                  double smallest)
        : m_image(image), m_unit(unit), m_axes(axes), m_smallest(smallest) {}
    void apply(Property<double>& property) override;
    String describe() const override;

private:
    const Property<const ImageModel*>& m_image;
    const Property<int>& m_unit;
    std::size_t m_axes;
    double m_smallest;  ///< in the given unit
};

/// On the choice of a unit: what is divided by spacings needs some.
class RuleDivisors : public Rules<Property<int>> {
public:
    RuleDivisors(const Property<const ImageModel*>& image, std::size_t axes) : m_image(image), m_axes(axes) {}
    void apply(Property<int>& property) override;
    String describe() const override;

private:
    const Property<const ImageModel*>& m_image;
    std::size_t m_axes;
};

/// The image has one channel.
class RuleOneChannel : public Rules<Property<const ImageModel*>> {
public:
    bool isIndividual() const override { return true; }
    void apply(Property<const ImageModel*>& property) override;
    String describe() const override;
};

template <class Filter>
void declareDeviation(Filter& filter, algorithms::Properties& properties, Property<double>& deviation, double initial,
                      const char* description, double smallest = 0.0) {
    deviation = initial;
    properties.input(deviation, description);
    deviation.getImpl()->addRule(
        std::make_shared<RuleDeviation>(filter.inputImage, filter.lengthUnit, axesOf<Filter>, smallest));
}

template <class Filter>
void declareUnit(Filter& filter, algorithms::Properties& properties, const char* description) {
    properties.input(filter.lengthUnit, description);
    filter.lengthUnit.getImpl()->addRule(std::make_shared<RuleDivisors>(filter.inputImage, axesOf<Filter>));
}

/// An output like the input, of the type of derivatives.
template <class Filter>
AddRuleEnforceLike likeDerivative(const Filter& filter) {
    return AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE, .chosenType = [&filter] {
                                                      return derivativeType(filter.getInputImage()->getVoxelType());
                                                  }});
}

/// The only output of a filter.
template <class Filter>
void declareOutput(Filter& filter, algorithms::Properties& properties, const char* description) {
    properties.output(filter.outputImage, description, AddRuleAssertNotNull(), AddRuleDisjointFrom(filter.inputImage),
                      likeDerivative(filter));
}

/// Outputs that share no memory with the input nor with those before.
inline void declareDisjoint(Property<ImageModel*>& output, const Property<const ImageModel*>& input,
                            const std::vector<const Property<ImageModel*>*>& before) {
    addRules(output, AddRuleWhenSet(AddRuleDisjointFrom(input)));
    for (const Property<ImageModel*>* const other : before) {
        addRules(output, AddRuleWhen(
                             "when both are set",
                             [&output, other] { return output.get() != nullptr && other->get() != nullptr; },
                             AddRuleDisjointFrom(*other)));
    }
}

/// A deviation in voxels along each axis; 0 along those that the filter doesn't know.
template <class Filter>
std::array<double, 3> deviationsOf(const Filter& filter, const Property<double>& deviation) {
    std::array<double, 3> voxels{};
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        voxels[axis] = algorithms::lengthInVoxels(deviation, filter.getLengthUnit(), *filter.getInputImage(),
                                                  static_cast<Components>(axis));
    }
    return voxels;
}

/// What a length of one voxel along each axis is in the chosen unit.
template <class Filter>
std::array<double, 3> unitsOf(const Filter& filter) {
    std::array<double, 3> units{1.0, 1.0, 1.0};
    for (std::size_t axis = 0; axis < axesOf<Filter> && filter.getLengthUnit() == algorithms::LengthUnit::WORLD;
         ++axis) {
        units[axis] = std::abs(filter.getInputImage()->getSpacingOf(static_cast<Components>(axis)));
    }
    return units;
}

/// A derivative of a Gaussian, in the chosen unit.
FieldComponent gaussianComponent(const std::array<double, 3>& deviations, const std::array<std::size_t, 3>& orders,
                                 const std::array<double, 3>& units);

/// The border of a filter.
template <class Filter>
FieldJob jobWithBorder(const Filter& filter) {
    FieldJob job;
    job.border = filter.getBorderPolicy();
    job.borderValue = filter.getBorderValue();
    return job;
}

/// Calls `use` with the tag of the type that an image is computed in.
template <class Use>
void inWorkType(const ImageModel& input, const Use& use) {
    if (fieldWorkType(input.getVoxelType()) == RIX_FLOAT64) {
        use(access::TypeTag<double>{});
    } else {
        use(access::TypeTag<float>{});
    }
}

/// Of results that are not read at once, so many bytes a voxel.
template <class T>
access::Stores storesOf(const ImageModel& input, std::size_t outputs) {
    std::size_t voxels = 1;
    for (const std::size_t extent : helper::getExtents(input)) {
        voxels *= extent;
    }
    return access::chooseStores(voxels, outputs * sizeof(T));
}

/// For filters whose one output is the sum of their components.
inline FieldJob asSum(FieldJob job) {
    job.isSum = true;
    return job;
}

template <class Filter>
void processSum(Filter& filter, const FieldJob& job, OptimLevelType level) {
    const ImageModel& input = *filter.getInputImage();
    inWorkType(input, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const auto kernels = fieldKernels<T>(level);
        const access::Stores stores = storesOf<T>(input, 1);
        computeField<T>(filter.executionContext(), {&input}, job, {{filter.getOutputImage()}}, level,
                        [&](const T* const* components, T* const* outs, const access::RowSegment& segment) {
                            kernels.sum(components, 1, outs[0], segment.count, stores);
                        });
    });
}

/// The definition of such filters. @tparam jobOf gives the job of a filter
template <class Filter, FieldJob (*jobOf)(const Filter&), void (*declare)(Filter&, algorithms::Properties&)>
constexpr algorithms::Definition<Filter> definitionOfSum(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = declare,
        .process = [](Filter& filter, OptimLevelType level) { processSum(filter, asSum(jobOf(filter)), level); },
        .influence = [](const Filter& filter) { return fieldReach(jobOf(filter)); },
        .memory =
            [](const Filter& filter) {
                const ImageModel& input = *filter.getInputImage();
                return fieldBytes(input, asSum(jobOf(filter)), fieldWorkType(input.getVoxelType()), 1,
                                  filter.getMaximumThreads());
            },
    };
}

}  // namespace rix::edge_detection
