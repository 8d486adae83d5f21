#pragma once

#include <algorithm>
#include <deque>
#include <vector>

#include "Tensors.h"

/// The products of the components of gradients and their averages, for filters with an inner and an outer deviation.
namespace rix::edge_detection {

template <class Filter>
FieldJob gradientsOf(const Filter& filter) {
    FieldJob job = jobWithBorder(filter);
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        std::array<std::size_t, 3> orders{};
        orders[axis] = 1;
        job.components.push_back(
            gaussianComponent(deviationsOf(filter, filter.innerStandardDeviation), orders, unitsOf(filter)));
    }
    return job;
}

/// The averages of the products; where the image has a fixed value beyond its edges, nothing varies.
template <class Filter>
FieldJob averagesOf(const Filter& filter) {
    FieldJob job = jobWithBorder(filter);
    job.borderValue = 0.0;
    for (std::size_t i = 0; i < entriesOf<Filter>; ++i) {
        job.components.push_back(
            gaussianComponent(deviationsOf(filter, filter.outerStandardDeviation), {}, {1.0, 1.0, 1.0}));
        job.components.back().source = i;
    }
    return job;
}

/// The products of a filter's gradients. One step of the run.
template <class T, class Filter>
class GradientProducts {
public:
    GradientProducts(Filter& filter, OptimLevelType level) {
        const ImageModel& input = *filter.getInputImage();
        std::vector<FieldOutput> outputs;
        for (std::size_t i = 0; i < entriesOf<Filter>; ++i) {
            m_products.emplace_back(input, access::voxelTypeOf<T>);
            static_cast<void>(m_products.back().image().setInterpretation(RIX_VALUE));
            m_images.push_back(&m_products.back().image());
            outputs.push_back({&m_products.back().image()});
        }
        const SecondOrderKernels<T> kernels = secondOrderKernels<T>(level);
        computeField<T>(filter.executionContext(), {&input}, gradientsOf(filter), outputs, level,
                        [&](const T* const* components, T* const* outs, const access::RowSegment& segment) {
                            kernels.products(components, axesOf<Filter>, outs, segment.count);
                        });
    }
    const std::vector<const ImageModel*>& images() const { return m_images; }

private:
    std::deque<access::TemporaryImage> m_products;
    std::vector<const ImageModel*> m_images;
};

/// Most bytes that the products and their averages take. @param outputs rows of results of the averages
template <class Filter>
std::size_t averagedProductsBytes(const Filter& filter, std::size_t outputs) {
    const ImageModel& input = *filter.getInputImage();
    const VoxelTypes type = fieldWorkType(input.getVoxelType());
    const std::size_t threads = filter.getMaximumThreads();
    ImageHeader header = helper::headerOf(input);
    header.voxelType = type;
    return entriesOf<Filter> * access::TemporaryImage::bytes(input, type) +
           std::max(fieldBytes(input, gradientsOf(filter), type, entriesOf<Filter>, threads),
                    fieldBytes(HeaderImage(header), averagesOf(filter), type, outputs, threads));
}

/// How far the averages look.
template <class Filter>
access::Reach averagedProductsReach(const Filter& filter) {
    const access::Reach inner = fieldReach(gradientsOf(filter));
    const access::Reach outer = fieldReach(averagesOf(filter));
    const auto sum = [](const access::Reach::Axis& a, const access::Reach::Axis& b) {
        return access::Reach::Axis{a.before + b.before, a.after + b.after};
    };
    return {sum(inner.columns, outer.columns), sum(inner.rows, outer.rows), sum(inner.planes, outer.planes)};
}

}  // namespace rix::edge_detection
