#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include <rix/access/MemoryAccount.h>

namespace rix::edge_detection {

/// A straight row of a field: its voxels from -reach to reach, as arrays behind each other, each as long as `stride`,
/// which vectors fill. Behind the last voxel the field is 0.
struct VoteRow {
    enum Array : std::size_t {
        AlongX,      ///< the x component of the direction to the voxel
        Inverse,     ///< one over the distance
        Polynomial,  ///< five coefficients by powers of u
        BallAcross = Polynomial + 5,
        BallAlong,  ///< what is added to it along the direction
        Arrays
    };
    const float* array(std::size_t i) const { return samples + i * stride; }

    const float* samples;
    std::size_t stride;
    std::size_t reach;
};

/// The decay of votes with the distance r of a voxel and the angle a between the direction to it and the token's
/// tangent: exp(-(s^2 + c k^2) / scale^2) with the arc length s = r a / sin(a) and the curvature k = 2 sin(a) / r.
///
/// For each voxel it is a polynomial of degree four in u = sin(a)^2, which are the first five even angular harmonics,
/// fitted between 0 and 45 degrees, where it is off by less than 2e-4 of the largest vote. Beyond `reach` votes are
/// below 5e-4 of that, and left out. Rows are held for the distances of one octant (or quadrant) of rows.
class VoteField {
public:
    static constexpr std::size_t coefficients = 5;
    /// To which u there are votes: 45 degrees, and what rounding adds.
    static constexpr double largestSquare = 0.5 + 1e-6;

    /// @param axes 2 or 3
    VoteField(std::size_t axes, double scale);
    static std::size_t bytes(std::size_t axes, double scale);
    static std::size_t reachOf(double scale);

    std::size_t reach() const { return m_reach; }
    /// The row at a distance across rows; null beyond the reach.
    const VoteRow* row(std::ptrdiff_t y, std::ptrdiff_t z) const;
    /// Voxels of the field.
    std::size_t size() const { return m_size; }
    /// An entry xx, xy, (xz,) yy, (yz, zz) of what a token without orientation votes for at (x, y, z).
    float ballEntry(std::size_t entry, const std::array<std::ptrdiff_t, 3>& at) const;

private:
    std::size_t m_axes;
    std::size_t m_reach;
    std::size_t m_size = 0;
    access::CountedVector<float> m_samples;
    access::CountedVector<VoteRow> m_rows;  ///< y + z (reach + 1)
};

/// Means over the arcs of a circle of normals around a tangent that lie within 45 degrees.
/// I_j(w), j from 0 to 5: the mean of cos(f)^(2 j) over those f of a turn for which cos(f)^2 (1 - w) <= 1/2, as a table
/// by sqrt(1/2 - w), along which they are smooth.
struct ArcMeans {
    static constexpr std::size_t steps = 256;
    static constexpr std::size_t means = VoteField::coefficients + 1;
    ArcMeans();
    std::array<float, (steps + 2) * means> table{};
};

}  // namespace rix::edge_detection
