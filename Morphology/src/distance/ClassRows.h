#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include <rix/access/Rows.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/simd/Loops.h>

namespace rix::morphology {

/// Reads rows of an image as classes: equal numbers for voxels of the same object, 0 for the background. Made once a
/// block.
template <class Class>
class ClassRows {
public:
    ClassRows() = default;
    ClassRows(const ClassRows&) = delete;
    ClassRows& operator=(const ClassRows&) = delete;
    virtual ~ClassRows() = default;

    virtual void read(const access::RowSegment& segment, Class* classes) = 0;
};

namespace detail {

/// Of labels their bits, so that NaN is a label, too; of others whether they are not 0.
template <class T, class Class, bool ofLabels>
class TypedClassRows : public ClassRows<Class> {
public:
    TypedClassRows(const ImageModel& image, const access::Plan& plan)
        : m_reader(image, plan, access::BinarySamples::AsStored) {}

    void read(const access::RowSegment& segment, Class* classes) override {
        const T* const samples = m_reader.read(segment);
        const std::size_t count = segment.count;  // bytes that are written might be those of the segment
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t x = 0; x < count; ++x) {
            if constexpr (ofLabels) {
                classes[x] = samples[x] == T{0} ? Class{0} : std::bit_cast<Class>(samples[x]);
            } else {
                classes[x] = samples[x] != T{0} ? 1 : 0;
            }
        }
    }

private:
    access::RowReader<T> m_reader;
};

}  // namespace detail

/// @param image whose labels have the size of a class, if they are told apart
/// @param plan that joins no rows
template <class Class>
std::unique_ptr<ClassRows<Class>> readClasses(const ImageModel& image, const access::Plan& plan, bool ofLabels) {
    std::unique_ptr<ClassRows<Class>> rows;
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (sizeof(T) == sizeof(Class)) {
            if (ofLabels) {
                rows = std::make_unique<detail::TypedClassRows<T, Class, true>>(image, plan);
                return;
            }
        }
        if constexpr (sizeof(Class) == 1) {
            rows = std::make_unique<detail::TypedClassRows<T, Class, false>>(image, plan);
        }
    });
    return rows;
}

/// Calls `use` with a class of the size that the classes of an image need.
template <class Use>
void dispatchClasses(const ImageModel& image, bool ofLabels, const Use& use) {
    switch (ofLabels ? helper::getSizeOf(image.getVoxelType()) : 1) {
        case 1: return use(std::uint8_t{});
        case 2: return use(std::uint16_t{});
        case 4: return use(std::uint32_t{});
        default: return use(std::uint64_t{});
    }
}

}  // namespace rix::morphology
