#pragma once

#include <array>
#include <cstdint>

#include <rix/Export.h>
#include <rix/measurement/MeasurementObject.h>

namespace rix::morphology {

/// The table of `SkeletonGraph2d` and `SkeletonGraph3d`: a row for each branch, in the order of their first nodes.
class RIX_EXPORT SkeletonGraphMsr : public measurement::MeasurementObject {
public:
    SkeletonGraphMsr();

    static const ObjectInfo& getInfo();
    const ObjectInfo& getClassInfo() const override;
    String getDescription() const override;

    /// Columns only where there are several.
    measurement::MeasurementArray<std::int64_t> frame;
    measurement::MeasurementArray<std::int64_t> channel;
    /// Nodes have numbers from 0 on through the whole image; the same number in two rows is where branches meet.
    std::array<measurement::MeasurementArray<std::int64_t>, 2> nodes;
    std::array<measurement::MeasurementArray<double>, 2> x;
    std::array<measurement::MeasurementArray<double>, 2> y;
    std::array<measurement::MeasurementArray<double>, 2> z;
    measurement::MeasurementArray<double> length;
    measurement::MeasurementArray<double> distance;
    measurement::MeasurementArray<std::int64_t> voxelCount;
    measurement::MeasurementArray<std::int64_t> freeEnds;

    /// A row.
    struct Branch {
        std::size_t frame = 0;
        std::size_t channel = 0;
        std::array<std::size_t, 2> nodes{};
        std::array<std::array<double, 3>, 2> positions{};
        double length = 0;
        double distance = 0;
        std::size_t voxels = 0;
        std::size_t freeEnds = 0;
    };
    /// No rows. @param unit of positions and lengths
    void reset(bool tellsFrames, bool tellsChannels, const String& unit);
    void append(const Branch& branch);

protected:
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override;

private:
    void resize(std::size_t rows);

    bool m_tellsFrames = false;
    bool m_tellsChannels = false;
};

}  // namespace rix::morphology
