#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/access/Blocks.h>
#include <rix/image/ImageModel.h>

namespace rix::morphology {

/// Columns, rows and planes.
using Offset = std::array<std::int64_t, 3>;

/// Voxels of a structuring element beside each other in a row: a chord of it.
struct Chord {
    Offset first{};
    std::int64_t length = 0;
};

/// A structuring element: a box, or chords.
class Element {
public:
    /// Of an even extent one more lies before the origin than after it.
    static Element ofBox(const Offset& extents);
    /// All offsets within a radius, which is given in voxels along each axis; an axis without takes no part.
    static Element ofBall(const std::array<double, 3>& radii, std::size_t axes);
    /// The same with the sum of the magnitudes as length.
    static Element ofOctahedron(const std::array<double, 3>& radii, std::size_t axes);
    static Element ofLine(const Offset& end);
    /// What is not 0; empty where there is no such voxel. Of a header without samples all that may be: the whole box.
    static Element ofImage(const ImageModel& image);
    /// Whether that is not empty: reads up to the first voxel of it.
    static bool isIn(const ImageModel& image);

    /// Turned around its origin.
    Element reflected() const;
    /// What voxels of an image can see of that image through it: no offset is longer than from edge to edge. Elements
    /// that see nothing stay as they are.
    Element within(const ImageModel& image) const;

    bool isBox() const { return m_isBox; }
    bool isEmpty() const { return !m_isBox && m_chords.empty(); }
    /// Of a box, too.
    std::vector<Chord> chords() const;
    /// 0 for a box.
    std::size_t chordCount() const;
    std::int64_t longestChord() const;
    access::Reach reach() const;

private:
    void takeBounds();

    bool m_isBox = false;
    std::vector<Chord> m_chords;
    Offset m_lowest{};   ///< of all voxels
    Offset m_highest{};  ///< of all voxels
};

}  // namespace rix::morphology
