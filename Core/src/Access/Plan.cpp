#include <rix/access/Plan.h>

#include <algorithm>
#include <atomic>
#include <string>

#include <rix/Assert.h>
#include <rix/access/ForcedStores.h>
#include <rix/devices/Cpu.h>
#include <rix/exceptions/Exception.h>
#include <rix/properties/EnumInfo.h>
#include <rix/settings/Settings.h>

#include "Access/Cutting.h"

namespace rix::access {

namespace {

/// No processor has more of its last-level cache for each of its cores. A virtual machine of few processors that is
/// told of a cache larger than that shares it with others.
constexpr std::size_t largestCachePerProcessor = std::size_t{32} << 20;

constexpr int notForced = -1;
std::atomic<int> forcedStores = notForced;

/// The first and the last of the axes that are walked as one.
struct AxisRange {
    std::size_t first;
    std::size_t last;
};

AxisRange rangeOf(JoinedAxes joined) {
    switch (joined) {
        case JoinedAxes::RowsAndPlanes: return {ROWS, PLANS};
        case JoinedAxes::Lines: return {ROWS, SPECTRAL_SERIES};
        case JoinedAxes::All: return {COLUMNS, SPECTRAL_SERIES};
        case JoinedAxes::None: break;
    }
    return {COLUMNS, COLUMNS};
}

Interval intervalOf(const AxisCut& cut, std::size_t extent, std::size_t index) {
    if (cut.step != 0) {
        const std::size_t begin = index * cut.step;
        return {begin, std::min(begin + cut.step, extent)};
    }
    const Interval groups = partOf(ceilDivide(extent, cut.group), cut.parts, index);
    return {groups.begin * cut.group, std::min(groups.end * cut.group, extent)};
}

}  // namespace

PartitionMode partitionModeOfSettings() {
    static const String& key = *new String("RIX_PARTITIONER_MODE");  // runs may outlast static objects
    const String text = globalSettings().getValue(key);
    if (text.empty()) {
        return RIX_PARTITION_DEFAULT;
    }
    const EnumInfo& info = getInfoPartitionMode();
    if (info.exists(text)) {
        return static_cast<PartitionMode>(info.getValueFromLabel(text));
    }
    const int value = globalSettings().getValueAsInt32(key, RIX_PARTITION_DEFAULT);
    return info.exists(value) ? static_cast<PartitionMode>(value) : RIX_PARTITION_DEFAULT;
}

const EnumInfo& getInfoPartitionMode() {
    static const EnumInfo info("PartitionMode",
                               "RIX_PARTITION_DEFAULT = 0, RIX_PARTITION_FULL_ROW_COL_ALTERNATE, "
                               "RIX_PARTITION_ONLY_COLUMNS, RIX_PARTITION_ONLY_ROWS");
    return info;
}

ForcedStores::ForcedStores(Stores stores) {
    forcedStores = static_cast<int>(stores);
}

ForcedStores::~ForcedStores() {
    forcedStores = notForced;
}

Stores chooseStores(std::size_t voxels, std::size_t outputBytes) {
    if (const int forced = forcedStores.load(std::memory_order_relaxed); forced != notForced) {
        return static_cast<Stores>(forced);
    }
    const std::size_t cache =
        std::min(devices::Cpu::lastLevelCache(), devices::Cpu::logicalProcessors() * largestCachePerProcessor);
    std::size_t output = 0;
    const bool counts = helper::checkedMultiply(voxels, outputBytes, output);
    return counts && output < cache / 2 ? Stores::Cached : Stores::Streaming;
}

std::size_t checkedVoxels(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents) {
    std::size_t voxels = 1;
    for (const std::size_t extent : extents) {
        if (extent == 0) {
            return 0;
        }
        if (!helper::checkedMultiply(voxels, extent, voxels)) {
            throw UnexpectedError("The image is too large: its number of elements does not fit 64 bits.");
        }
    }
    return voxels;
}

std::optional<std::array<std::size_t, RIX_COMPONENTS_SIZE>> preferredBlock(
    std::initializer_list<const ImageModel*> images) {
    std::optional<std::array<std::size_t, RIX_COMPONENTS_SIZE>> largest;
    double most = 0.0;
    for (const ImageModel* const image : images) {
        std::array<std::size_t, RIX_COMPONENTS_SIZE> block{};
        // Asking changes nothing; the interface does not say so.
        auto& asked = const_cast<ImageModel&>(*image);
        if (!asked.getPreferedSize(block[COLUMNS], block[ROWS], block[PLANS], block[SEQUENCE],
                                   block[SPECTRAL_SERIES])) {
            continue;
        }
        double elements = 1.0;
        for (std::size_t& extent : block) {
            extent = std::max<std::size_t>(extent, 1);
            elements *= static_cast<double>(extent);
        }
        if (elements > most) {
            most = elements;
            largest = block;
        }
    }
    return largest;
}

std::size_t elementBytes(std::initializer_list<const ImageModel*> images, const ImageModel& first) {
    std::size_t bytes = 0;
    for (const ImageModel* image : images) {
        if (helper::getExtents(*image) != helper::getExtents(first)) {
            throw UnexpectedError("The images of an operation have different sizes: " + helper::describeImage(first) +
                                  " and " + helper::describeImage(*image) + '.');
        }
        bytes += helper::getElementSize(*image);
    }
    return bytes;
}

Plan::Plan(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, JoinedAxes joined)
    : m_extents(extents), m_grid(extents), m_joined(joined), m_voxels(checkedVoxels(extents)) {
    const AxisRange range = rangeOf(joined);
    for (std::size_t axis = range.first + 1; axis <= range.last; ++axis) {
        m_grid[range.first] *= m_grid[axis];
        m_grid[axis] = 1;
    }
    m_blocks = m_voxels > 0 ? 1 : 0;
    for (std::size_t axis = 0; axis < m_cuts.size(); ++axis) {
        m_cuts[axis].parts = 1;
    }
}

void Plan::cut(Components axis, const AxisCut& cut) {
    m_cuts[axis] = cut;
    if (cut.step != 0) {
        m_cuts[axis].parts = ceilDivide(m_grid[axis], cut.step);
    }
    m_blocks = 1;
    for (const AxisCut& each : m_cuts) {
        m_blocks *= each.parts;
    }
    m_blocks = m_voxels > 0 ? m_blocks : 0;
}

Block Plan::block(std::size_t index) const {
    Block block;
    block.index = index;
    for (std::size_t axis = 0; axis < block.axes.size(); ++axis) {
        const AxisCut& cut = m_cuts[axis];
        block.axes[axis] = intervalOf(cut, m_grid[axis], index % cut.parts);
        index /= cut.parts;
    }
    return block;
}

std::size_t Plan::largestPart(Components axis) const {
    return m_blocks > 0 ? intervalOf(m_cuts[axis], m_grid[axis], 0).length() : 0;
}

RowSegment Plan::segmentAt(const Position& at, std::size_t count) const {
    RowSegment segment{at, count};
    if (m_joined == JoinedAxes::RowsAndPlanes) {
        segment.row = at.row % m_extents[ROWS];
        segment.plane = at.row / m_extents[ROWS];
    } else if (m_joined == JoinedAxes::Lines) {
        segment = rowAt(at.row);
        segment.column = at.column;
        segment.count = count;
    }
    return segment;
}

RowSegment Plan::lineAt(std::size_t line) const {
    const std::size_t columns = m_extents[COLUMNS];
    return m_joined == JoinedAxes::All ? RowSegment{{line * columns}, columns} : rowAt(line);
}

RowSegment Plan::rowAt(std::size_t line) const {
    RowSegment segment{{}, m_extents[COLUMNS]};
    segment.row = line % m_extents[ROWS];
    line /= m_extents[ROWS];
    segment.plane = line % m_extents[PLANS];
    line /= m_extents[PLANS];
    segment.sequence = line % m_extents[SEQUENCE];
    segment.spectral = line / m_extents[SEQUENCE];
    return segment;
}

}  // namespace rix::access
