#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numbers>

#include <rix/access/RoundingRange.h>
#include <rix/access/Scratch.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WindowFilters.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/algorithms/InputMeaning.h>

#include "EdgeKernels.h"

/// What the filters that keep edges share.
namespace rix::filtering::smoothing {

/// 32-bit integers and doubles hold more than a float.
inline bool worksInDouble(const ImageModel& input) {
    const VoxelTypes type = input.getVoxelType();
    return type == RIX_FLOAT64 || type == RIX_INT32 || type == RIX_UINT32;
}

/// Calls `use` with the tag of the type that an image is computed in.
template <class Use>
void inWorkType(const ImageModel& input, const Use& use) {
    if (worksInDouble(input)) {
        use(access::TypeTag<double>{});
    } else {
        use(access::TypeTag<float>{});
    }
}

/// The binary logarithm of a weight exp(-x), within what the type holds: an infinite one times 0 would be NaN.
template <class T>
T logarithmOfWeight(double x) {
    return static_cast<T>(std::max(-std::numbers::log2e * x, static_cast<double>(std::numeric_limits<T>::lowest())));
}

/// How results become samples of an image: rounded for one of integers.
template <class T>
class Rounding {
public:
    Rounding(const ImageModel& output, const EdgeKernels<T>& kernels) : m_round(kernels.round), m_range(output) {}
    void operator()(T* row, std::size_t count) const {
        if (m_range.rounds) {
            m_round(row, count, m_range.lowest, m_range.highest);
        }
    }

private:
    void (*m_round)(T*, std::size_t, T, T);
    access::RoundingRange<T> m_range;
};

/// An array of a row; scratch memory of a thread.
template <class T>
class RowArray {
public:
    explicit RowArray(std::size_t count) : m_memory(count * sizeof(T)) {}
    T& operator[](std::size_t i) const { return data()[i]; }
    T* data() const { return m_memory.as<T>(); }

private:
    access::Scratch m_memory;
};

template <class Filter>
VoxelTypes chosenType(const Filter& filter) {
    return algorithms::voxelTypeOf(filter.getOutputType(), filter.getInputImage()->getVoxelType());
}

/// A number above 0.
inline void declarePositive(algorithms::Properties& properties, Property<double>& property, double value,
                            const char* description) {
    property = value;
    properties.input(property, description, AddRuleAssertFinite(), AddRuleLimitedValue<double>(0.0, CHECK_GREATER));
}

inline void declareRadius(algorithms::Properties& properties, Property<std::int32_t>& property, std::int32_t value,
                          std::int32_t largest, const char* description) {
    property = value;
    properties.input(property, description, AddRuleInRange<std::int32_t>(0, largest, Bound::Included, Bound::Included));
}

/// Border, type and output of filters that offer them.
template <class Filter>
void declareResult(Filter& filter, algorithms::Properties& properties) {
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.input(filter.outputType, "The type of the result.");
    properties.output(filter.outputImage, "The smoothed image.", AddRuleAssertNotNull(),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE,
                                                             .chosenType = [&filter] { return chosenType(filter); }}));
}

/// Calls `run(input, target)` with the input as it was meant and an image that may be written all the while.
template <class Filter, class Run>
void runApart(Filter& filter, const Run& run) {
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        access::writeApart(filter.executionContext(), input, *filter.getOutputImage(),
                           [&](ImageModel& target) { run(input, target); });
    });
}

/// The memory of windows and a temporary image, and so many bytes more a thread.
inline std::size_t edgeMemory(const ImageModel& input, const ImageModel* output, VoxelTypes outputType,
                              access::BoxNeeds needs, std::size_t threads, std::size_t more) {
    const std::size_t sample = worksInDouble(input) ? sizeof(double) : sizeof(float);
    needs.heldBytesPerVoxel = sample;
    constexpr std::size_t pages = 7 * access::Scratch::granularity;  // buffers are whole pages
    return access::windowMemory(input, needs, sample, threads) + threads * (more + pages) +
           access::writeApartMemory(input, output, outputType);
}

}  // namespace rix::filtering::smoothing
