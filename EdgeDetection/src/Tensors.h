#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include <rix/image/ImageHeader.h>

#include "EdgeProperties.h"
#include "SecondOrderKernels.h"

/// What the filters that make symmetric matrices share.
namespace rix::edge_detection {

/// Channels for the components of results, in place of the one of the input.
template <class Filter>
AddRuleEnforceHeader withChannels(const Filter& filter, std::size_t channels) {
    return AddRuleEnforceHeader(
        [&filter, channels] {
            ImageHeader header = helper::headerOf(*filter.getInputImage());
            header.extents[SPECTRAL_SERIES] = channels;
            header.voxelType = derivativeType(header.voxelType);
            header.interpretation = RIX_VALUE;
            header.colorInterpretation = UNKNOWN;
            return header;
        },
        "extents and calibration of the input, with a channel for each component");
}

/// The rows that results of an image with several channels go to. @return the place of the first
inline std::size_t addChannels(std::vector<FieldOutput>& outputs, ImageModel* image, std::size_t channels) {
    const std::size_t first = outputs.size();
    for (std::size_t i = 0; i < channels; ++i) {
        outputs.push_back({image, i});
    }
    return first;
}

/// The entries of a symmetric matrix, on and above its diagonal.
template <class Filter>
constexpr std::size_t entriesOf = axesOf<Filter> == 3 ? 6 : 3;

/// The second derivatives of an image that is smoothed with a Gaussian, in the order of the entries.
template <std::size_t axes>
void addSecondDerivatives(FieldJob& job, const std::array<double, 3>& deviations, const std::array<double, 3>& units) {
    for (std::size_t i = 0; i < axes; ++i) {
        for (std::size_t k = i; k < axes; ++k) {
            std::array<std::size_t, 3> orders{};
            ++orders[i];
            ++orders[k];
            job.components.push_back(gaussianComponent(deviations, orders, units));
        }
    }
}

/// Where the results of a filter of matrices go: its outputs, and their rows.
template <class Filter>
struct TensorOutputs {
    explicit TensorOutputs(const Filter& filter) {
        constexpr std::size_t axes = axesOf<Filter>;
        values = add(filter.getOutputEigenvaluesImage(), axes);
        vectors = add(filter.getOutputEigenvectorsImage(), axes * axes);
        if constexpr (requires { filter.getOutputCoherenceImage(); }) {
            coherence = add(filter.getOutputCoherenceImage(), 1);
        }
        if constexpr (requires { filter.getOutputOrientationImage(); }) {
            orientation = add(filter.getOutputOrientationImage(), 1);
        }
    }

    template <class T>
    TensorRows<T> rowsOf(T* const* outs) const {
        TensorRows<T> rows{};
        for (std::size_t i = 0; i < axesOf<Filter>; ++i) {
            rows.values[i] = values == none ? nullptr : outs[values + i];
        }
        for (std::size_t i = 0; i < axesOf<Filter> * axesOf<Filter>; ++i) {
            rows.vectors[i] = vectors == none ? nullptr : outs[vectors + i];
        }
        rows.coherence = coherence == none ? nullptr : outs[coherence];
        rows.orientation = orientation == none ? nullptr : outs[orientation];
        return rows;
    }

    std::vector<FieldOutput> images;

private:
    static constexpr std::size_t none = ~std::size_t{0};
    std::size_t add(ImageModel* image, std::size_t channels) {
        return image == nullptr ? none : addChannels(images, image, channels);
    }

    std::size_t values = none;
    std::size_t vectors = none;
    std::size_t coherence = none;
    std::size_t orientation = none;
};

/// Computes matrices and what is wanted of them.
template <class T, class Filter>
void computeTensors(Filter& filter, const std::vector<const ImageModel*>& sources, const FieldJob& job,
                    OptimLevelType level) {
    const TensorOutputs<Filter> outputs(filter);
    const SecondOrderKernels<T> kernels = secondOrderKernels<T>(level);
    const auto tensors = ofVolumes<Filter> ? kernels.tensors3 : kernels.tensors2;
    computeField<T>(filter.executionContext(), sources, job, outputs.images, level,
                    [&](const T* const* components, T* const* outs, const access::RowSegment& segment) {
                        tensors(components, outputs.template rowsOf<T>(outs), segment.count);
                    });
}

/// Names outputs that share no memory with each other.
class TensorDeclaration {
public:
    TensorDeclaration(algorithms::Properties& properties, const Property<const ImageModel*>& input)
        : m_properties(properties), m_input(input) {}
    template <class Shape>
    void add(Property<ImageModel*>& output, const char* description, const Shape& shape) {
        m_properties.output(output, description);
        declareDisjoint(output, m_input, m_outputs);
        addRules(output, AddRuleWhenSet(shape));
        m_outputs.push_back(&output);
    }

private:
    algorithms::Properties& m_properties;
    const Property<const ImageModel*>& m_input;
    std::vector<const Property<ImageModel*>*> m_outputs;
};

}  // namespace rix::edge_detection
