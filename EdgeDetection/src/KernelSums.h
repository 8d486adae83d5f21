#pragma once

#include <cstddef>
#include <vector>

#include "FieldKernels.h"
#include "FieldPlan.h"

namespace rix::edge_detection {

/// A sum of a row by a kernel, and where it goes.
template <class T>
struct KernelSum {
    const typename FieldPlan<T>::Kernel* kernel;
    T* out;
};

/// Takes sums along a row, two at a time where they are equally long. @param from the first voxel, see `rowEven`
template <class T>
void takeRowSums(const FieldKernels<T>& kernels, const T* from, const std::vector<KernelSum<T>>& sums,
                 std::size_t count) {
    std::size_t done = 0;  // bits of those that are
    for (std::size_t i = 0; i < sums.size(); ++i) {
        if ((done >> i & 1U) != 0) {
            continue;
        }
        const auto& kernel = *sums[i].kernel;
        const std::size_t reach = kernel.reach();
        std::size_t other = i + 1;
        while (other < sums.size() &&
               ((done >> other & 1U) != 0 || reach == 0 || sums[other].kernel->reach() != reach ||
                (kernel.isOdd && sums[other].kernel->isOdd))) {
            ++other;
        }
        if (other == sums.size()) {
            (kernel.isOdd ? kernels.rowOdd : kernels.rowEven)(from, kernel.half.data(), reach, sums[i].out, count);
            continue;
        }
        done |= std::size_t{1} << other;
        const KernelSum<T>& even = kernel.isOdd ? sums[other] : sums[i];
        const KernelSum<T>& second = kernel.isOdd ? sums[i] : sums[other];
        const T* const halves[] = {even.kernel->half.data(), second.kernel->half.data()};
        T* const outs[] = {even.out, second.out};
        (second.kernel->isOdd ? kernels.rowEvenOdd : kernels.rowEvenEven)(from, halves, reach, outs, count);
    }
}

}  // namespace rix::edge_detection
