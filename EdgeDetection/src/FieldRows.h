#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <rix/access/Scratch.h>
#include <rix/access/WindowRows.h>

#include "FieldKernels.h"
#include "FieldPlan.h"
#include "KernelSums.h"

namespace rix::edge_detection {

/// The images that a plan's windows look at, in their order, and what lies beyond their edges.
template <class T>
struct FieldSource {
    const ImageModel* image;
    std::shared_ptr<const access::BorderCondition<T>> border;
};

/// Computes the components of rows of a block. Made by the thread that uses it, once a block.
template <class T>
class FieldRows {
public:
    FieldRows(const FieldPlan<T>& plan, const std::vector<FieldSource<T>>& sources, const access::Block& block,
              const FieldKernels<T>& kernels);

    /// The components of a row of the block or its margin: cheapest for the row behind the last one; from its first
    /// column on and as far as the margin reaches on both sides; valid until the next call.
    const T* const* compute(std::int64_t row, std::int64_t plane);

    /// Samples of a row with its margin.
    std::size_t count() const { return m_count; }

    /// Bytes of scratch memory for blocks of so many columns.
    static std::size_t bytes(const FieldPlan<T>& plan, std::size_t columns);

private:
    void computePlane(std::size_t index, std::int64_t row, std::int64_t z, bool goesOn);
    T* rowAt(std::size_t index) const;

    const FieldPlan<T>& m_plan;
    const FieldKernels<T>& m_kernels;
    std::vector<std::unique_ptr<access::WindowRows<T>>> m_windows;
    std::size_t m_count;
    std::size_t m_extended;  ///< samples of a row with all that sums along x look at
    std::size_t m_stride;
    access::Scratch m_memory;
    std::vector<const T*> m_rows;  ///< of a sum
    std::vector<KernelSum<T>> m_sums;
    std::vector<const T*> m_lines;
    std::vector<const T*> m_components;
    std::vector<std::vector<const T*>> m_planeRows;  ///< of each plane, around a row
    std::int64_t m_row = 0;                          ///< that they are around
    std::int64_t m_plane = -1;                       ///< -1: none yet
};

}  // namespace rix::edge_detection
