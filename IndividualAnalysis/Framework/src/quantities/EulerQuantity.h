#pragma once

#include <array>
#include <cstdint>

#include <rix/individual_analysis/Quantity.h>

namespace rix::individual_analysis {

/// What the Euler number of the union of the closed pixels (voxels) is made of, so that objects connect through corners
/// and background only through sides: the number of objects minus the holes, in space objects minus tunnels plus
/// cavities.
///
/// The union is cut along the columns into intervals: over each row, each line shared by two rows and (in space) each
/// line shared by four. Over a row the intervals are its runs; over a shared line, the components of the runs that meet
/// there. The number is the alternating sum of these counts, which leaves runs + touching pairs of rows - joined runs
/// around lines of four in space, and runs - touching pairs of rows in the plane. Runs and touching pairs are counted
/// with the shape and the contacts; here it is the joined runs, of which there are none in the plane.
class EulerQuantity : public SumsOfObjects<EulerQuantity, std::int64_t> {
public:
    static const QuantityInfo info;

    explicit EulerQuantity(QuantityTable& table) : m_image(table.image()) {}

    void add(const RunLine& line) override;
    static void joinValues(std::int64_t& left, std::int64_t right) { left += right; }

private:
    using Lines = std::array<std::span<const Run>, 4>;
    void subtractJoins(const RunLine& line, const Lines& around, std::size_t count);

    GatheredImage m_image;
};

}  // namespace rix::individual_analysis
