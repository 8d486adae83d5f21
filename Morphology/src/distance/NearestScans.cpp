// Chamfer distances with the voxels that they lead to.

#include <algorithm>
#include <limits>

#include <rix/access/Looks.h>
#include <rix/access/WholeImage.h>

#include "distance/ChamferScans.h"
#include "distance/ClassRows.h"
#include "distance/NearestOutput.h"
#include "distance/ScanParts.h"
#include "reconstruction/FloodRun.h"

namespace rix::morphology {

namespace {

using access::Scratch;

std::size_t voxelsOf(const DistanceTask& task) {
    std::size_t voxels = 1;
    for (const std::size_t extent : task.extents) {
        voxels *= extent;
    }
    return voxels;
}

/// A plane or volume: prices, the voxels that they lead to and classes, in storage order.
template <class Class>
class NearestScan {
public:
    NearestScan(const DistanceTask& task, const ScanPart& part, std::vector<ChamferStep> steps, float* prices,
                std::uint32_t* voxels, const Class* classes)
        : m_task(task),
          m_steps(std::move(steps)),
          m_extents{static_cast<std::int64_t>(task.extents[COLUMNS]), static_cast<std::int64_t>(task.extents[ROWS]),
                    static_cast<std::int64_t>(part.planes)},
          m_prices(prices),
          m_voxels(voxels),
          m_classes(classes) {}

    void run() {
        const std::int64_t rows = m_extents[1] * m_extents[2];
        access::Looks looks;
        for (std::int64_t row = 0; row < rows; ++row) {
            begin(row);
        }
        for (const bool backwards : {false, true}) {
            for (std::int64_t i = 0; i < rows; ++i) {
                looks.add(static_cast<std::size_t>(m_extents[0]));
                takeRow(backwards ? rows - 1 - i : i, backwards);
            }
        }
        for (std::int64_t i = 0; i < rows * m_extents[0] && m_task.side == DistanceSide::SIGNED; ++i) {
            m_prices[i] = m_classes[i] == 0 ? -m_prices[i] : m_prices[i];
        }
    }

private:
    void begin(std::int64_t row) {
        for (std::int64_t i = row * m_extents[0]; i < (row + 1) * m_extents[0]; ++i) {
            const bool isMeasured = m_classes[i] != 0 ? m_task.ofObjects() : m_task.ofBackground();
            m_prices[i] = isMeasured ? std::numeric_limits<float>::infinity() : 0.0F;
            m_voxels[i] = isMeasured ? noVoxel : static_cast<std::uint32_t>(i);
        }
    }

    void offer(std::int64_t i, float price, std::uint32_t voxel) {
        if (price < m_prices[i] || (price == m_prices[i] && voxel < m_voxels[i])) {
            m_prices[i] = price;
            m_voxels[i] = voxel;
        }
    }

    /// Steps from voxel j, or from beyond the edges, to voxel i.
    void step(std::int64_t i, std::int64_t j, float price) {
        if (m_classes[i] != m_classes[j]) {
            offer(i, price, static_cast<std::uint32_t>(j));
        } else {
            offer(i, m_prices[j] + price, m_voxels[j]);
        }
    }
    void stepFromBeyond(std::int64_t i, float price) {
        if (m_task.borderIsBackground && m_classes[i] != 0) {
            offer(i, price, noVoxel);
        }
    }

    void takeRow(std::int64_t row, bool backwards) {
        const std::int64_t columns = m_extents[0];
        const std::int64_t y = row % m_extents[1];
        const std::int64_t z = row / m_extents[1];
        const std::int64_t turn = backwards ? -1 : 1;
        const ChamferStep* within = nullptr;
        for (const ChamferStep& each : m_steps) {
            if (each.isWithinRow()) {
                within = &each;
                continue;
            }
            const std::int64_t dx = turn * each.offset[0];
            const std::int64_t fromY = y + turn * each.offset[1];
            const std::int64_t fromZ = z + turn * each.offset[2];
            const bool isInside = fromY >= 0 && fromY < m_extents[1] && fromZ >= 0 && fromZ < m_extents[2];
            const std::int64_t from = (fromZ * m_extents[1] + fromY) * columns + dx;
            for (std::int64_t x = 0; x < columns; ++x) {
                if (isInside && x + dx >= 0 && x + dx < columns) {
                    step(row * columns + x, from + x, each.price);
                } else {
                    stepFromBeyond(row * columns + x, each.price);
                }
            }
        }
        for (std::int64_t k = 0; k < columns; ++k) {
            const std::int64_t i = row * columns + (backwards ? columns - 1 - k : k);
            if (k > 0) {
                step(i, i - turn, within->price);
            } else {
                stepFromBeyond(i, within->price);
            }
        }
    }

    const DistanceTask& m_task;
    std::vector<ChamferStep> m_steps;
    std::array<std::int64_t, 3> m_extents;
    float* m_prices;
    std::uint32_t* m_voxels;
    const Class* m_classes;
};

}  // namespace

void scanNearest(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                 const ChamferWeights& weights, ImageModel& output, ImageModel& nearest) {
    constexpr double nanosecondsPerVoxel = 50.0;
    const NearestOutput numbers(context, image, task, nearest);
    access::WholeOutput<float> result(output);
    const Scratch voxels(voxelsOf(task) * sizeof(std::uint32_t));
    dispatchClasses(image, task.ofLabels, [&](auto oneClass) {
        using Class = decltype(oneClass);
        const Scratch classes(voxelsOf(task) * sizeof(Class));
        forEachScanPart(context, task, nanosecondsPerVoxel, [&](const ScanPart& part) {
            const auto reader = readClasses<Class>(image, planScanRows(task), task.ofLabels);
            const std::size_t columns = task.extents[COLUMNS];
            const std::size_t first = access::detail::offsetOf(part.row(0, 0, columns), task.extents);
            for (std::size_t row = 0; row < task.extents[ROWS] * part.planes; ++row) {
                reader->read(part.row(row % task.extents[ROWS], row / task.extents[ROWS], columns),
                             classes.as<Class>() + first + row * columns);
            }
            NearestScan<Class>(task, part, weights.steps(), result.data() + first, voxels.as<std::uint32_t>() + first,
                               classes.as<Class>() + first)
                .run();
        });
    });
    result.commit(context);
    numbers.writeAll(context, voxels.as<std::uint32_t>());
}

std::size_t scanNearestBytes(const ImageModel& image, const DistanceTask& task, const ImageModel* output,
                             std::size_t threads) {
    std::size_t bytes = 0;
    dispatchClasses(image, task.ofLabels, [&](auto oneClass) {
        bytes = Scratch::held(voxelsOf(task) * sizeof(std::uint32_t)) +
                Scratch::held(voxelsOf(task) * sizeof(oneClass)) +
                std::min(threads, scanPartsOf(task)) * rowBytes(image, task);
    });
    return bytes + wholeOutputBytes(image, output, RIX_FLOAT32) + NearestOutput::bytes(image, task);
}

}  // namespace rix::morphology
