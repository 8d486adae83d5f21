#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include <rix/access/BorderPolicy.h>

#include "LineTaps.h"

namespace rix::edge_detection {

/// One of the sums that a filter needs of each voxel's neighbourhood: taps along x, y and z.
struct FieldComponent {
    std::array<LineTaps, 3> taps;
    std::size_t source = 0;  ///< of which of the filter's images
};

/// What a filter computes of each voxel, before it makes results of it.
struct FieldJob {
    std::vector<FieldComponent> components;
    access::BorderPolicy border = access::BorderPolicy::MIRROR;
    double borderValue = 0.0;
    std::array<std::size_t, 3> margin{};  ///< around each voxel where the components are wanted as well
    bool isSum = false;                   ///< whether only the sum of the components is wanted, as one
};

/// How the sums are taken: along x first, then y, then z, each but once where several components begin alike, and of
/// what is added up before where the components end alike.
template <class T>
struct FieldPlan {
    struct Kernel {
        std::vector<T> half;
        bool isOdd;
        bool isIdentity;
        std::size_t reach() const { return half.size() - 1; }
        /// What is made of a constant.
        T ofConstant(T value) const;
    };
    /// Rows of an image, summed along x.
    struct Line {
        std::size_t source;
        std::size_t kernel;
    };
    /// A line or a field that is summed along the next axis.
    struct Term {
        std::size_t of;
        std::size_t kernel;
    };
    using Sum = std::vector<Term>;

    explicit FieldPlan(const FieldJob& job);

    /// A field beyond the edges of the image, where that has its fixed value.
    T beyond(const Sum& field) const;
    /// Products of a voxel, roughly.
    double products() const;

    std::vector<Kernel> kernels;
    std::vector<Line> lines;      ///< those of a source one after the other
    std::vector<Sum> fields;      ///< of lines, along y
    std::vector<Sum> components;  ///< of fields, along z
    std::size_t sources = 0;
    std::array<std::size_t, 3> reach{};  ///< of the kernels along each axis, without the margin
    bool isFlat = true;                  ///< whether nothing is summed along z
    std::array<std::size_t, 3> margin;
    access::BorderPolicy border;
    double borderValue;
};

}  // namespace rix::edge_detection
