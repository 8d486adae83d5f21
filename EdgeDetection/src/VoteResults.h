#pragma once

#include <cstddef>
#include <numbers>
#include <vector>

#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Scratch.h>

#include "Tensors.h"

/// What is made of the matrices that voxels receive as votes.
namespace rix::edge_detection {

/// The outputs, and the rows that their results go to.
template <class Filter>
struct VoteOutputs {
    explicit VoteOutputs(const Filter& filter) {
        if constexpr (ofVolumes<Filter>) {
            surface = add(filter.getOutputSurfaceSaliencyImage(), 1);
        }
        curve = add(filter.getOutputCurveSaliencyImage(), 1);
        junction = add(filter.getOutputJunctionSaliencyImage(), 1);
        orientation = add(filter.getOutputOrientationImage(), ofVolumes<Filter> ? 6 : 1);
    }
    std::vector<FieldOutput> images;
    static constexpr std::size_t none = ~std::size_t{0};
    std::size_t surface = none;
    std::size_t curve = none;
    std::size_t junction = none;
    std::size_t orientation = none;

private:
    std::size_t add(ImageModel* image, std::size_t channels) {
        return image == nullptr ? none : addChannels(images, image, channels);
    }
};

/// Makes rows of results of rows of sums.
template <class Filter>
class ResultRows {
public:
    ResultRows(const VoteOutputs<Filter>& outputs, std::size_t columns, OptimLevelType level)
        : m_outputs(outputs), m_memory(bytesOfValues(columns)), m_columns(columns) {
        const SecondOrderKernels<float> kernels = secondOrderKernels<float>(level);
        m_tensors = ofVolumes<Filter> ? kernels.tensors3 : kernels.tensors2;
        m_writers.reserve(outputs.images.size());
        for (const FieldOutput& output : outputs.images) {
            m_writers.emplace_back(*output.image);
        }
    }
    static std::size_t bytes(std::size_t columns, std::size_t outputs) {
        return access::Scratch::held(bytesOfValues(columns)) + outputs * 2 * access::Scratch::held(columns * 8);
    }

    void write(const float* const* sums, access::RowSegment segment) {
        constexpr std::size_t axes = axesOf<Filter>;
        const std::size_t count = segment.count;
        float* const memory = m_memory.as<float>();
        TensorRows<float> rows{};
        for (std::size_t i = 0; i < axes; ++i) {
            rows.values[i] = memory + i * m_columns;
        }
        if (m_outputs.orientation != m_outputs.none) {
            for (std::size_t i = 0; i < axes * axes && ofVolumes<Filter>; ++i) {
                rows.vectors[i] = memory + (axes + i) * m_columns;
            }
            rows.orientation = ofVolumes<Filter> ? nullptr : memory + axes * m_columns;
        }
        m_tensors(sums, rows, count);
        m_looks.add(count * m_writers.size() / 4 + 1);
        const auto each = [&](std::size_t output, const auto& value) {
            if (output == m_outputs.none) {
                return;
            }
            segment.spectral = m_outputs.images[output].channel;
            float* const out = m_writers[output].open(segment);
            for (std::size_t x = 0; x < count; ++x) {
                out[x] = value(x);
            }
            m_writers[output].flush();
        };
        // Rounding may leave the smallest a little below 0.
        const auto positive = [](float value) { return value > 0.0F ? value : 0.0F; };
        const float* const least = rows.values[0];
        const float* const most = rows.values[axes - 1];
        const float* const middle = rows.values[axes - 2];
        each(m_outputs.surface, [&](std::size_t x) { return positive(most[x] - middle[x]); });
        each(m_outputs.curve,
             [&](std::size_t x) { return positive(axes == 3 ? middle[x] - least[x] : most[x] - least[x]); });
        each(m_outputs.junction, [&](std::size_t x) { return positive(least[x]); });
        if (m_outputs.orientation == m_outputs.none) {
            return;
        }
        if (ofVolumes<Filter>) {
            for (std::size_t i = 0; i < 6; ++i) {
                const float* const from = rows.vectors[i < 3 ? 6 + i : i - 3];
                each(m_outputs.orientation + i, [&](std::size_t x) { return from[x]; });
            }
        } else {
            // The tangent is a quarter turn from the normal.
            constexpr auto quarter = static_cast<float>(std::numbers::pi / 2.0);
            each(m_outputs.orientation, [&](std::size_t x) {
                const float angle = rows.orientation[x];
                return angle > 0.0F ? angle - quarter : angle + quarter;
            });
        }
    }

private:
    static std::size_t bytesOfValues(std::size_t columns) { return 12 * columns * sizeof(float); }

    const VoteOutputs<Filter>& m_outputs;
    access::Scratch m_memory;
    std::size_t m_columns;
    access::Looks m_looks;
    void (*m_tensors)(const float* const*, const TensorRows<float>&, std::size_t);
    std::vector<access::RowWriter<float>> m_writers;
};

}  // namespace rix::edge_detection
