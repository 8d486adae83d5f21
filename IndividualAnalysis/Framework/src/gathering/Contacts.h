#pragma once

#include <cstddef>
#include <vector>

#include <rix/access/MemoryAccount.h>

#include "BandPlan.h"
#include "BandTable.h"
#include "Runs.h"

namespace rix::individual_analysis {

/// Counts, run by run, which pixels of the same object are neighbours, and what the Euler number is made of.
///
/// The Euler number is that of the union of the closed pixels (voxels), so that objects connect through corners and
/// background only through sides: the number of objects minus the holes, in space objects minus tunnels plus cavities.
/// The union is cut along the columns into intervals: over each row, each line shared by two rows and (in space) each
/// line shared by four. Over a row the intervals are its runs; over a shared line, the components of the runs that meet
/// there. The number is the alternating sum of these counts, which leaves runs + touching pairs of rows - joined runs
/// around lines of four in space, and runs - touching pairs of rows in the plane.
class Contacts {
public:
    Contacts(const BandPlan& plan, std::uint32_t gathered);

    /// Keeps the runs of a line before the band.
    void remember(std::size_t line, const Run* runs, std::size_t count);
    /// Counts a line of the band, whose runs have slots; all lines that it looks back to are known.
    void count(std::size_t line, const Run* runs, std::size_t count, BandTable& table);

private:
    using Line = access::CountedVector<Run>;

    const Line& lineAt(std::size_t line) const { return m_lines[line % m_lines.size()]; }
    void countPair(const Line& current, const Line& other, std::size_t firstDirection, std::int64_t touchWeight,
                   BandTable& table) const;
    void countEuler(std::size_t row, std::size_t plane, std::size_t line, BandTable& table) const;

    const BandPlan& m_plan;
    bool m_euler;
    std::vector<Line> m_lines;  ///< the last ones, each at its number modulo their count
};

}  // namespace rix::individual_analysis
