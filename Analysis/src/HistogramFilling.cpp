#include "HistogramFilling.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include <rix/access/PointBlocks.h>
#include <rix/access/Rows.h>
#include <rix/access/VoxelTypeLists.h>

#include "ClassKernels.h"
#include "PartialResults.h"

namespace rix::analysis {

namespace {

constexpr double nanosecondsPerVoxel = 1.5;

/// Counts per class, one class more for the voxels that lie in none.
class ClassPartial {
public:
    explicit ClassPartial(std::size_t classes) : m_counts(classes + 1) {}

    /// Before `voxels` more are counted: 32-bit counters fit a closer cache, and must not overflow.
    void reserve(std::size_t voxels) {
        constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
        if (m_sinceCarry + voxels > most) {
            carry();
        }
        m_sinceCarry += voxels;
    }
    void add(const std::uint32_t* classes, std::size_t count) {
        std::uint32_t* const counts = m_counts.data();
        std::size_t i = 0;
        for (; i + 2 <= count; i += 2) {
            // Equal neighbours are counted at once, else the second would wait for the first.
            const bool equal = classes[i] == classes[i + 1];
            counts[classes[i]] += equal ? 2U : 1U;
            counts[classes[i + 1]] += equal ? 0U : 1U;
        }
        for (; i < count; ++i) {
            ++counts[classes[i]];
        }
    }
    void joinInto(math::Histogram& histogram) {
        carry();
        for (std::size_t i = 0; i + 1 < m_carried.size(); ++i) {
            histogram.addToClass(i, m_carried[i]);
        }
    }

private:
    void carry() {
        m_carried.resize(m_counts.size());
        for (std::size_t i = 0; i < m_counts.size(); ++i) {
            m_carried[i] += m_counts[i];
            m_counts[i] = 0;
        }
        m_sinceCarry = 0;
    }

    std::vector<std::uint32_t> m_counts;
    std::vector<std::uint64_t> m_carried;
    std::uint64_t m_sinceCarry = 0;
};

/// The classes as integers when samples of type `T` fall into them without a division.
template <class T>
std::optional<UnitClasses> unitClasses(const math::Histogram& histogram) {
    const double first = histogram.getMinimum();
    if (!std::is_integral_v<T> || histogram.getBinSize() != 1.0 || std::floor(first) != first ||
        first < static_cast<double>(std::numeric_limits<T>::min()) ||
        first > static_cast<double>(std::numeric_limits<T>::max())) {
        return std::nullopt;
    }
    return UnitClasses{static_cast<std::uint32_t>(static_cast<std::int64_t>(first)),
                       static_cast<std::uint32_t>(histogram.getNbClasses())};
}

}  // namespace

void fillHistogram(access::ExecutionContext& context, OptimLevelType level, const ImageModel& image,
                   math::Histogram& histogram) {
    const access::PointPlan plan({&image}, nanosecondsPerVoxel);
    PartialResults<ClassPartial> partials;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const ClassRows<T> rows = classRows<T>(level);
        const std::optional<UnitClasses> unit = unitClasses<T>(histogram);
        access::forEachBlock(context, plan, [&](const access::PointBlock& block) {
            constexpr std::size_t piece = 1024;
            std::uint32_t classes[piece];
            auto partial =
                partials.take([&] { return std::make_unique<ClassPartial>(histogram.getNbClasses()); });
            partial->reserve((block.lastLine - block.firstLine) * (block.lastColumn - block.firstColumn));
            access::RowReader<T> in(image, plan);
            plan.forEachSegment(block, [&](const access::RowSegment& segment) {
                const T* const row = in.read(segment);
                for (std::size_t i = 0; i < segment.count; i += piece) {
                    const std::size_t count = std::min(piece, segment.count - i);
                    if (unit) {
                        rows.unitClasses(row + i, classes, count, *unit);
                    } else {
                        rows.classes(row + i, classes, count, histogram.getClasses());
                    }
                    partial->add(classes, count);
                }
            });
            partials.give(std::move(partial));
        });
    });
    for (const auto& partial : partials.all()) {
        partial->joinInto(histogram);
    }
}

void fillHistogram(const ValueCounts& values, math::Histogram& histogram) {
    for (std::size_t i = 0; i < values.counts.size(); ++i) {
        if (values.counts[i] > 0) {
            histogram.addIntensity(values.valueAt(i), values.counts[i]);
        }
    }
}

}  // namespace rix::analysis
