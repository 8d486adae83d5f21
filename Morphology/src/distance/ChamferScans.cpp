#include "distance/ChamferScans.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <type_traits>

#include <rix/access/Looks.h>
#include <rix/access/WholeImage.h>
#include <rix/simd/Loops.h>

#include "distance/ChamferKernels.h"
#include "distance/ClassRows.h"
#include "distance/ScanParts.h"
#include "distance/ScanRing.h"
#include "reconstruction/FloodRun.h"

namespace rix::morphology {

namespace {

using access::RowSegment;
using access::Scratch;

/// Where only one class gets distances, scans begin at the voxels of the other, which are at 0. Else they begin at the
/// steps that lead from voxels to other classes: what comes by way of these is never cheaper.
bool beginsAtOthers(const DistanceTask& task) {
    return task.isOneSided();
}

/// @tparam Price of what is between the scans, which lies where the distances of the row will be
template <class Class, class Price>
class Scans {
public:
    Scans(const ImageModel& image, const DistanceTask& task, const ChamferWeights& weights, float* distances,
          OptimLevelType level)
        : m_image(image),
          m_task(task),
          m_weights(weights),
          m_distances(distances),
          m_columns(task.extents[COLUMNS]),
          m_kernels(chamferKernels<Price>(level)) {}

    static std::size_t bytes(const ImageModel& image, const DistanceTask& task) {
        const ChamferWeights some = ChamferWeights::ofChessboard(task.axes);
        return ScanRing<Price>(task, some).bytes() +
               Scratch::held(neighbourRows * task.extents[COLUMNS] * sizeof(Class)) + rowBytes(image, task);
    }

    void operator()(const ScanPart& part) const {
        ScanRing<Price> ring(m_task, m_weights);
        ring.take();
        const Scratch classMemory(neighbourRows * m_columns * sizeof(Class));
        auto* const classes = classMemory.as<Class>();
        const auto reader = readClasses<Class>(m_image, planScanRows(m_task), m_task.ofLabels);
        const bool fromOthers = beginsAtOthers(m_task);
        const Price outside = fromOthers && m_task.borderIsBackground && m_task.ofObjects() ? Price{0} : noPrice<Price>;
        const auto scan = [&](bool backwards, const auto& fill, const auto& finish) {
            access::Looks looks;
            ChamferSteps<Price> kinds[3];
            const std::size_t rows = m_task.extents[ROWS];
            ring.begin(outside);
            for (std::size_t i = 0; i < part.planes; ++i) {
                ring.endPlane();
                for (std::size_t j = 0; j < rows; ++j) {
                    looks.add(m_columns / 16 + 1);
                    const RowSegment segment =
                        part.row(backwards ? rows - 1 - j : j, backwards ? part.planes - 1 - i : i, m_columns);
                    Price* const row = ring.add();
                    fill(segment, row);
                    m_kernels.takeSteps(row, kinds, ring.stepsTo(kinds), ring.padded());
                    ring.frame(row);
                    (backwards ? m_kernels.spreadBack : m_kernels.spread)(row, static_cast<Price>(m_weights.straight()),
                                                                          outside, ring.padded());
                    ring.frame(row);
                    finish(segment, row);
                }
                ring.endPlane();
            }
        };
        const auto placed = [&](const RowSegment& segment) {
            return m_distances + access::detail::offsetOf(segment, m_task.extents);
        };
        scan(
            false,
            [&](const RowSegment& segment, Price* row) {
                if (fromOthers) {
                    reader->read(segment, classes);
                    beginAtOthers(classes, row);
                } else {
                    beginAtNeighbours(part, segment, *reader, classes, row);
                }
            },
            [&](const RowSegment& segment, const Price* row) {
                std::memcpy(placed(segment), row, m_columns * sizeof(Price));
            });
        scan(
            true,
            [&](const RowSegment& segment, Price* row) {
                std::memcpy(row, placed(segment), m_columns * sizeof(Price));
            },
            [&](const RowSegment& segment, const Price* row) {
                float* const out = placed(segment);
                m_kernels.toDistances(row, out, m_columns);
                if (m_task.side == DistanceSide::SIGNED) {
                    reader->read(segment, classes);
                    for (std::size_t x = 0; x < m_columns; ++x) {
                        out[x] = classes[x] == 0 ? -out[x] : out[x];
                    }
                }
            });
    }

private:
    static constexpr std::size_t neighbourRows = 2;

    bool isMeasured(Class oneClass) const { return oneClass != 0 ? m_task.ofObjects() : m_task.ofBackground(); }

    void beginAtOthers(const Class* classes, Price* row) const {
        const Class measured = m_task.ofObjects() ? 1 : 0;
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t x = 0; x < m_columns; ++x) {
            row[x] = classes[x] == measured ? noPrice<Price> : Price{0};
        }
    }

    /// Each step leads both ways. @param classes of a row and one of its neighbours
    void beginAtNeighbours(const ScanPart& part, const RowSegment& segment, ClassRows<Class>& reader, Class* classes,
                           Price* row) const {
        Class* const others = classes + m_columns;
        reader.read(segment, classes);
        for (std::size_t x = 0; x < m_columns; ++x) {
            row[x] = isMeasured(classes[x]) ? noPrice<Price> : Price{0};
        }
        const auto beyond = [&](std::size_t begin, std::size_t end, Price price) {
            for (std::size_t x = begin; x < end && m_task.borderIsBackground; ++x) {
                row[x] = classes[x] != 0 ? std::min(row[x], price) : row[x];
            }
        };
        for (const ChamferStep& step : m_weights.steps()) {
            const auto price = static_cast<Price>(step.price);
            for (const std::int64_t turn : {1, -1}) {
                const std::int64_t dx = turn * step.offset[0];
                const std::int64_t y = static_cast<std::int64_t>(segment.row) + turn * step.offset[1];
                const std::int64_t z = static_cast<std::int64_t>(segment.plane - part.plane) + turn * step.offset[2];
                const auto extent = static_cast<std::int64_t>(m_columns);
                const bool isInside = y >= 0 && y < static_cast<std::int64_t>(m_task.extents[ROWS]) && z >= 0 &&
                                      z < static_cast<std::int64_t>(part.planes) && std::abs(dx) < extent;
                const auto begin = static_cast<std::size_t>(isInside ? std::max<std::int64_t>(0, -dx) : extent);
                const auto end = static_cast<std::size_t>(isInside ? std::min(extent, extent - dx) : extent);
                beyond(0, begin, price);
                beyond(end, m_columns, price);
                if (!isInside) {
                    continue;
                }
                reader.read(part.row(static_cast<std::size_t>(y), static_cast<std::size_t>(z), m_columns), others);
                const Class* const moved = others + dx;
                for (std::size_t x = begin; x < end; ++x) {
                    row[x] = classes[x] != moved[x] ? std::min(row[x], price) : row[x];
                }
            }
        }
    }

    const ImageModel& m_image;
    const DistanceTask& m_task;
    const ChamferWeights& m_weights;
    float* m_distances;
    std::size_t m_columns;
    ChamferKernels<Price> m_kernels;
};

template <class Use>
void dispatchScans(const ImageModel& image, const DistanceTask& task, const ChamferWeights& weights, const Use& use) {
    dispatchClasses(image, task.ofLabels, [&](auto oneClass) {
        if (weights.isShortIn(task)) {
            use(static_cast<Scans<decltype(oneClass), std::uint16_t>*>(nullptr));
        } else {
            use(static_cast<Scans<decltype(oneClass), float>*>(nullptr));
        }
    });
}

}  // namespace

void scanChamfer(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                 const ChamferWeights& weights, ImageModel& output, OptimLevelType level) {
    constexpr double nanosecondsPerVoxel = 3.0;
    access::WholeOutput<float> result(output);
    dispatchScans(image, task, weights, [&](auto* none) {
        forEachScanPart(context, task, nanosecondsPerVoxel,
                        std::remove_pointer_t<decltype(none)>(image, task, weights, result.data(), level));
    });
    result.commit(context);
}

std::size_t scanBytes(const ImageModel& image, const DistanceTask& task, const ChamferWeights& weights,
                      const ImageModel* output, std::size_t threads) {
    std::size_t bytes = 0;
    dispatchScans(image, task, weights, [&](auto* none) {
        bytes = std::min(threads, scanPartsOf(task)) * std::remove_pointer_t<decltype(none)>::bytes(image, task);
    });
    return bytes + wholeOutputBytes(image, output, RIX_FLOAT32);
}

}  // namespace rix::morphology
