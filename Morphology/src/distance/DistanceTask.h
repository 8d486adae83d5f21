#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/Scratch.h>
#include <rix/image/ImageModel.h>
#include <rix/morphology/DistanceChoices.h>

#include "distance/DistanceKernels.h"

namespace rix::morphology {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// What a distance map is made of.
struct DistanceTask {
    Extents extents{};
    std::size_t axes = 2;  ///< planes by themselves, or volumes (3)
    DistanceMetric metric = DistanceMetric::EUCLIDEAN;
    DistanceSide side = DistanceSide::INSIDE;
    bool borderIsBackground = false;
    bool inWorld = false;
    std::array<double, 3> spacing{1, 1, 1};
    bool ofLabels = false;  ///< else all voxels but 0 are one object

    bool isSquared() const { return metric == DistanceMetric::EUCLIDEAN; }
    bool ofObjects() const { return side != DistanceSide::OUTSIDE; }
    bool ofBackground() const { return side != DistanceSide::INSIDE; }

    /// Whether no class has heights but one, so that heights tell classes.
    bool isOneSided() const { return !ofLabels && side != DistanceSide::SIGNED; }

    /// Whether heights are integers that fit.
    bool fitsIntegers() const {
        double most = 0;
        for (std::size_t axis = 0; axis < axes; ++axis) {
            const auto extent = static_cast<double>(extents[axis]);
            most += isSquared() ? extent * extent : extent;
        }
        return !inWorld && most < mostIntegerHeight;
    }

    template <class Height>
    LineNeeds<Height> lineNeeds() const {
        return {ofObjects(), ofBackground(), borderIsBackground ? Height{0} : noHeight<Height>};
    }
};

/// The height of what lies beyond the ends of lines, where one class has heights.
template <class Height>
Height beyondEnds(const DistanceTask& task) {
    return task.ofObjects() ? task.lineNeeds<Height>().beyondObjects : noHeight<Height>;
}

/// The bytes of rows on their way from and to images without addresses.
inline std::size_t rowBytes(const ImageModel& image, const DistanceTask& task) {
    const std::size_t bytes = helper::getSizeOf(image.getVoxelType()) + sizeof(float) + sizeof(double);
    return access::Scratch::held(task.extents[COLUMNS] * bytes);
}

/// The costs of steps along an axis.
template <class Height>
class StepCosts {
public:
    StepCosts(const DistanceTask& task, Components axis) : m_table(bytes(task, axis)) {
        const auto most = static_cast<std::ptrdiff_t>(task.extents[axis] + lineMargin);
        Height* const centre = m_table.as<Height>() + most;
        const double spacing = task.spacing[axis];
        for (std::ptrdiff_t steps = 0; steps <= most; ++steps) {
            const double length = static_cast<double>(steps) * spacing;
            const double cost = task.isSquared() ? length * length : length;
            centre[steps] = static_cast<Height>(cost);
            centre[-steps] = centre[steps];
        }
        m_costs = {centre, 1 / spacing, task.isSquared(), task.metric == DistanceMetric::CHESSBOARD};
    }

    const LineCosts<Height>& costs() const { return m_costs; }

    static std::size_t bytes(const DistanceTask& task, Components axis) {
        return (2 * (task.extents[axis] + lineMargin) + 1) * sizeof(Height);
    }

private:
    access::Scratch m_table;
    LineCosts<Height> m_costs;
};

/// Working memory that is divided among several rows. Sizes first, then the rows.
class RowMemory {
public:
    /// Room for a row of so many elements, with margins. @return where it will be
    template <class T>
    std::size_t add(std::size_t count) {
        constexpr std::size_t line = 64;
        const std::size_t place = m_bytes + lineMargin * sizeof(T);
        m_bytes = (place + (count + lineMargin) * sizeof(T) + line - 1) / line * line;
        return place;
    }
    std::size_t bytes() const { return m_bytes; }
    void take() { m_memory = access::Scratch(m_bytes); }
    template <class T>
    T* row(std::size_t place) const {
        return reinterpret_cast<T*>(m_memory.data() + place);
    }

private:
    std::size_t m_bytes = 0;
    access::Scratch m_memory;
};

}  // namespace rix::morphology
