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
};

/// How the sums are taken: along z first, then y, then x, each but once where several components begin alike. Sums
/// along z are taken in windows where they are short, else before, into temporary images.
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
    struct Window {
        std::size_t source;
        std::size_t kernel;  ///< along z, of a temporary image; else `none`
        std::size_t reachY = 0;
        std::size_t reachZ = 0;
    };
    struct Plane {
        std::size_t window;
        std::size_t kernel;  ///< along z, in the window; else `none`
        std::size_t source;
        std::size_t alongZ;  ///< the kernel in either case
        std::size_t reachY = 0;
    };
    struct Line {
        std::size_t plane;
        std::size_t kernel;
    };
    struct Component {
        std::size_t line;
        std::size_t kernel;
    };
    static constexpr std::size_t none = ~std::size_t{0};

    explicit FieldPlan(const FieldJob& job);

    std::size_t temporaries() const;
    /// Products of a voxel, roughly.
    double products() const;

    std::vector<Kernel> kernels;
    std::vector<Window> windows;
    std::vector<Plane> planes;
    std::vector<Line> lines;
    std::vector<Component> components;
    std::size_t reachX = 0;    ///< with the margin
    std::size_t mostRows = 1;  ///< that a sum has
    std::array<std::size_t, 3> margin;
};

}  // namespace rix::edge_detection
