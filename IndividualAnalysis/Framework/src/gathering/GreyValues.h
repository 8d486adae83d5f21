#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Scratch.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/image/ImageModel.h>

#include "ObjectTable.h"

namespace rix::individual_analysis {

/// The grey values of the objects of one frame, object by object, in no particular order.
class GreyValues {
public:
    GreyValues(VoxelTypes type, std::size_t channels, const ObjectTable& objects);

    /// Reserves the next places of an object for a run; safe from several threads for different places.
    RawData take(std::size_t index, std::size_t channel, std::size_t count);

    /// The value at the place p / 100 (n - 1) of the n sorted values of an object, NaN passed over; NaN when nothing
    /// else is there. Reorders the values of the object: one thread an object at a time.
    double percentile(std::size_t index, std::size_t channel, double percentage) const;

private:
    std::size_t place(std::size_t index, std::size_t channel) const { return channel * m_count + m_first[index]; }

    VoxelTypes m_type;
    std::size_t m_objects;
    std::size_t m_count = 0;                      ///< values of a channel
    access::CountedVector<std::size_t> m_first;   ///< of each object, and the end
    access::CountedVector<std::uint64_t> m_next;  ///< places taken, channel by channel
    access::Scratch m_data;
};

/// The second pass: gathers the grey values of all objects. One step of the run, measured in voxels.
/// Cost: one reading of both images; memory: a copy of the grey values of all objects.
std::vector<std::unique_ptr<GreyValues>> gatherGreyValues(access::ExecutionContext& context, OptimLevelType level,
                                                          const ImageModel& labels, const ImageModel& intensity,
                                                          const std::vector<ObjectTable>& objects);

}  // namespace rix::individual_analysis
