#include <rix/morphology/SkeletonGraphMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::morphology {

SkeletonGraphMsr::SkeletonGraphMsr()
    : frame("Frame", "The index on the sequence axis."),
      channel("Channel", "The index on the spectral axis."),
      nodes{measurement::MeasurementArray<std::int64_t>("Node1", "The number of the node where the branch begins."),
            measurement::MeasurementArray<std::int64_t>("Node2", "The number of the node where it ends.")},
      x{measurement::MeasurementArray<double>("X1", "The position of the first node on the columns axis."),
        measurement::MeasurementArray<double>("X2", "The position of the second node on the columns axis.")},
      y{measurement::MeasurementArray<double>("Y1", "The position of the first node on the rows axis."),
        measurement::MeasurementArray<double>("Y2", "The position of the second node on the rows axis.")},
      z{measurement::MeasurementArray<double>("Z1", "The position of the first node on the planes axis."),
        measurement::MeasurementArray<double>("Z2", "The position of the second node on the planes axis.")},
      length("Length", "The sum of the steps of the branch."),
      distance("Distance", "How far its nodes are apart."),
      voxelCount("VoxelCount", "The number of its voxels, without those of branch points."),
      freeEnds("FreeEnds", "How many of its nodes are ends of the skeleton.") {}

const ObjectInfo& SkeletonGraphMsr::getInfo() {
    static const ObjectInfo info("SkeletonGraphMsr", [] {
        return std::shared_ptr<measurement::MeasurementObject>(std::make_shared<SkeletonGraphMsr>());
    });
    return info;
}

const ObjectInfo& SkeletonGraphMsr::getClassInfo() const {
    return getInfo();
}

String SkeletonGraphMsr::getDescription() const {
    return "This object contains the branches of skeletons and the nodes that they join.";
}

void SkeletonGraphMsr::reset(bool tellsFrames, bool tellsChannels, const String& unit) {
    m_tellsFrames = tellsFrames;
    m_tellsChannels = tellsChannels;
    resize(0);
    for (measurement::BaseMeasurementArray* const array :
         {&x[0], &x[1], &y[0], &y[1], &z[0], &z[1], &length, &distance}) {
        array->setUnit(unit);
    }
}

void SkeletonGraphMsr::resize(std::size_t rows) {
    for (auto* const array : {&frame, &channel, nodes.data(), nodes.data() + 1, &voxelCount, &freeEnds}) {
        array->resize(rows);
    }
    for (auto* const array : {&x[0], &x[1], &y[0], &y[1], &z[0], &z[1], &length, &distance}) {
        array->resize(rows);
    }
}

void SkeletonGraphMsr::append(const Branch& branch) {
    const std::size_t row = length.size();
    resize(row + 1);
    frame[row] = static_cast<std::int64_t>(branch.frame);
    channel[row] = static_cast<std::int64_t>(branch.channel);
    for (std::size_t end = 0; end < 2; ++end) {
        nodes[end][row] = static_cast<std::int64_t>(branch.nodes[end]);
        x[end][row] = branch.positions[end][0];
        y[end][row] = branch.positions[end][1];
        z[end][row] = branch.positions[end][2];
    }
    length[row] = branch.length;
    distance[row] = branch.distance;
    voxelCount[row] = static_cast<std::int64_t>(branch.voxels);
    freeEnds[row] = static_cast<std::int64_t>(branch.freeEnds);
}

std::vector<const measurement::BaseMeasurementArray*> SkeletonGraphMsr::arrays() const {
    std::vector<const measurement::BaseMeasurementArray*> all;
    if (m_tellsFrames) {
        all.push_back(&frame);
    }
    if (m_tellsChannels) {
        all.push_back(&channel);
    }
    const std::array<const measurement::BaseMeasurementArray*, 12> others{
        &nodes[0], &nodes[1], &x[0], &y[0], &z[0], &x[1], &y[1], &z[1], &length, &distance, &voxelCount, &freeEnds};
    for (const measurement::BaseMeasurementArray* const array : others) {
        all.push_back(array);
    }
    return all;
}

}  // namespace rix::morphology
