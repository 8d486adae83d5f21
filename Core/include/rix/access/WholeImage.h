#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/Export.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/image/ImageModel.h>
#include <rix/image/SampleMemory.h>

// For what addresses an image freely: queues, geodesic operations. A view of one volume or plane is a whole image, too.

namespace rix::access {

/// Whether a whole image may be the image's own memory.
enum class Sharing : std::uint8_t {
    Allowed,
    Never  ///< always a copy: the image will be changed while it is needed as it was
};

namespace detail {

/// The place of a segment's first element in storage order.
inline std::size_t offsetOf(const RowSegment& at, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& n) {
    return (((at.spectral * n[SEQUENCE] + at.sequence) * n[PLANS] + at.plane) * n[ROWS] + at.row) * n[COLUMNS] +
           at.column;
}

/// @throws MemoryError when the bytes do not fit 64 bits, or there is no memory
RIX_EXPORT Scratch wholeMemory(const ImageModel& image, std::size_t sampleBytes);

/// Rough cost of a copy, for deciding whether threads pay.
inline constexpr double nanosecondsPerCopy = 0.2;

}  // namespace detail

/// Whether an image is to be copied so that its samples can be read in storage order as type `voxelType`: those of a
/// binary image are read as 0 and 1.
RIX_EXPORT bool needsCopy(const ImageModel& image, VoxelTypes voxelType);

/// The samples of an image in its own memory, in storage order and of type `T`; null where they need a copy.
template <class T>
const T* samplesInPlace(const ImageModel& image) {
    return needsCopy(image, voxelTypeOf<T>) ? nullptr : reinterpret_cast<const T*>(helper::contiguousSamples(image));
}
template <class T>
T* samplesInPlace(ImageModel& image) {
    return needsCopy(image, voxelTypeOf<T>) ? nullptr : reinterpret_cast<T*>(helper::contiguousSamples(image));
}

/// All samples of an image in storage order, to be read: its own memory where that is contiguous, aligned and of type
/// `T`, and the image not binary; else a temporary copy, which counts as working memory of the run.
template <class T>
class WholeInput {
public:
    /// Fills the copy, where there has to be one, in parallel: then that is a step of the run.
    /// @throws UnexpectedError when the image refuses to be read; MemoryError
    WholeInput(ExecutionContext& context, const ImageModel& image, Sharing sharing = Sharing::Allowed) {
        m_data = sharing == Sharing::Allowed ? samplesInPlace<T>(image) : nullptr;
        if (m_data != nullptr) {
            return;
        }
        m_copy = detail::wholeMemory(image, sizeof(T));
        m_data = m_copy.as<T>();
        const Plan plan = cutLines({&image}, detail::nanosecondsPerCopy);
        const auto extents = helper::getExtents(image);
        const std::size_t samples = helper::getElementNumber(image.getElementType());
        run(context, plan, [&](const Block& block) {
            RowReader<T> in(image, plan);
            plan.forEachSegment(block, [&](const RowSegment& segment) {
                std::copy_n(in.read(segment), segment.count * samples,
                            m_copy.as<T>() + detail::offsetOf(segment, extents) * samples);
            });
        });
    }
    const T* data() const { return m_data; }
    bool isCopy() const { return m_copy.data() != nullptr; }

private:
    const T* m_data = nullptr;
    Scratch m_copy;
};

/// The same for a result. What the memory holds at first is undefined.
template <class T>
class WholeOutput {
public:
    /// @throws MemoryError when the image needs a temporary and there is no memory
    explicit WholeOutput(ImageModel& image) : m_image(image) {
        const RawData own = helper::contiguousSamples(image);
        if (own != nullptr && image.getVoxelType() == voxelTypeOf<T> && isAligned(own, voxelTypeOf<T>)) {
            m_data = reinterpret_cast<T*>(own);
            return;
        }
        m_temporary = detail::wholeMemory(image, sizeof(T));
        m_data = m_temporary.as<T>();
    }
    T* data() const { return m_data; }
    bool isTemporary() const { return m_temporary.data() != nullptr; }

    /// Brings the result into the image, where it is not there already: then that is a step of the run.
    /// @throws UnexpectedError when the image refuses it
    void commit(ExecutionContext& context) {
        if (!isTemporary()) {
            return;
        }
        const Plan plan = cutLines({&m_image}, detail::nanosecondsPerCopy);
        const auto extents = helper::getExtents(m_image);
        const std::size_t samples = helper::getElementNumber(m_image.getElementType());
        run(context, plan, [&](const Block& block) {
            RowWriter<T> out(m_image, plan);
            plan.forEachSegment(block, [&](const RowSegment& segment) {
                std::copy_n(m_data + detail::offsetOf(segment, extents) * samples, segment.count * samples,
                            out.open(segment));
                out.flush();
            });
        });
    }

private:
    ImageModel& m_image;
    T* m_data = nullptr;
    Scratch m_temporary;
};

}  // namespace rix::access
