#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include <rix/access/WholeImage.h>

#include "distance/DistanceTask.h"
#include "distance/NearestLine.h"
#include "reconstruction/FloodRun.h"

namespace rix::morphology {

/// Writes rows of a nearest image from indices of voxels. Made once a block.
class NearestRows {
public:
    NearestRows() = default;
    NearestRows(const NearestRows&) = delete;
    NearestRows& operator=(const NearestRows&) = delete;
    virtual ~NearestRows() = default;

    virtual void write(const access::RowSegment& segment, const std::uint32_t* voxels) = 0;
};

/// What a nearest image is made of: indices plus 1, or the labels that are there.
class NearestOutput {
public:
    /// A step of the run where the labels have to be copied.
    NearestOutput(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                  ImageModel& nearest)
        : m_task(task), m_nearest(nearest) {
        if (!task.ofLabels) {
            m_open = [this] { return std::make_unique<Indices>(m_nearest); };
            return;
        }
        access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
            using T = typename decltype(tag)::type;
            auto labels = std::make_shared<access::WholeInput<T>>(context, image);
            m_open = [this, labels] { return std::make_unique<Labels<T>>(m_nearest, m_task, labels->data()); };
        });
    }

    std::unique_ptr<NearestRows> rows() const { return m_open(); }

    /// Writes all of an image: a step of the run.
    void writeAll(access::ExecutionContext& context, const std::uint32_t* voxels) const {
        forEachRowOf(
            context, m_task.extents, sizeof(std::uint32_t),
            [&](const access::RowSegment& segment, std::size_t offset) { rows()->write(segment, voxels + offset); });
    }

    static std::size_t bytes(const ImageModel& image, const DistanceTask& task) {
        return task.ofLabels ? wholeInputBytes(image, nullptr) : 0;
    }

private:
    class Indices : public NearestRows {
    public:
        explicit Indices(ImageModel& image) : m_writer(image) {}
        void write(const access::RowSegment& segment, const std::uint32_t* voxels) override {
            std::uint32_t* const out = m_writer.open(segment);
            for (std::size_t x = 0; x < segment.count; ++x) {
                out[x] = voxels[x] + 1;  // 0 for none
            }
            m_writer.flush();
        }

    private:
        access::RowWriter<std::uint32_t> m_writer;
    };

    template <class T>
    class Labels : public NearestRows {
    public:
        Labels(ImageModel& image, const DistanceTask& task, const T* labels)
            : m_writer(image), m_task(task), m_labels(labels) {}
        void write(const access::RowSegment& segment, const std::uint32_t* voxels) override {
            access::RowSegment first;  // of the plane or the volume
            first.plane = m_task.axes == 2 ? segment.plane : 0;
            first.sequence = segment.sequence;
            first.spectral = segment.spectral;
            const T* const labels = m_labels + access::detail::offsetOf(first, m_task.extents);
            T* const out = m_writer.open(segment);
            for (std::size_t x = 0; x < segment.count; ++x) {
                out[x] = voxels[x] == noVoxel ? T{0} : labels[voxels[x]];
            }
            m_writer.flush();
        }

    private:
        access::RowWriter<T> m_writer;
        const DistanceTask& m_task;
        const T* m_labels;
    };

    const DistanceTask& m_task;
    ImageModel& m_nearest;
    std::function<std::unique_ptr<NearestRows>()> m_open;
};

}  // namespace rix::morphology
