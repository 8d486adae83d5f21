#include "ClassDivision.h"

#include <algorithm>

namespace rix::segmentation {

std::vector<std::size_t> divideClasses(std::span<const std::uint64_t> counts, std::size_t groups) {
    // Sums of the voxels and of their classes before each class that has any. The variance between groups is the sum of
    // (sum of classes)^2 / voxels over the groups, less what no division changes.
    std::vector<std::size_t> occupied;
    std::vector<double> voxels{0.0};
    std::vector<double> sums{0.0};
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] != 0) {
            const auto count = static_cast<double>(counts[i]);
            occupied.push_back(i);
            voxels.push_back(voxels.back() + count);
            sums.push_back(sums.back() + count * static_cast<double>(i));
        }
    }
    const std::size_t classes = occupied.size();
    const std::size_t parts = std::min(groups, classes);
    if (parts < 2) {
        return {};
    }
    const auto gain = [&](std::size_t begin, std::size_t end) {
        const double sum = sums[end] - sums[begin];
        return sum * sum / (voxels[end] - voxels[begin]);
    };
    // The best division of the first `end` classes into so many groups, and where the last of these begins.
    std::vector<double> best(classes + 1);
    std::vector<double> next(classes + 1);
    std::vector<std::vector<std::size_t>> begins(parts, std::vector<std::size_t>(classes + 1));
    for (std::size_t end = 1; end <= classes; ++end) {
        best[end] = gain(0, end);
    }
    for (std::size_t part = 1; part < parts; ++part) {
        for (std::size_t end = part + 1; end <= classes; ++end) {
            next[end] = -1.0;
            for (std::size_t begin = part; begin < end; ++begin) {
                const double value = best[begin] + gain(begin, end);
                if (value > next[end]) {
                    next[end] = value;
                    begins[part][end] = begin;
                }
            }
        }
        std::swap(best, next);
    }
    std::vector<std::size_t> lasts(parts - 1);
    std::size_t end = classes;
    for (std::size_t part = parts - 1; part > 0; --part) {
        end = begins[part][end];
        lasts[part - 1] = occupied[end - 1];
    }
    return lasts;
}

}  // namespace rix::segmentation
