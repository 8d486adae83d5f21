#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/individual_analysis/Quantity.h>

namespace rix::individual_analysis {

/// The 13 directions to half of the neighbours of a voxel: along the columns; to the row above; to the plane below.
inline constexpr std::size_t directionCount = 13;
inline constexpr std::size_t directionsInPlane = 4;
inline constexpr std::array<std::array<int, 3>, directionCount> directions{{{1, 0, 0},
                                                                            {-1, -1, 0},
                                                                            {0, -1, 0},
                                                                            {1, -1, 0},
                                                                            {-1, -1, -1},
                                                                            {0, -1, -1},
                                                                            {1, -1, -1},
                                                                            {-1, 0, -1},
                                                                            {0, 0, -1},
                                                                            {1, 0, -1},
                                                                            {-1, 1, -1},
                                                                            {0, 1, -1},
                                                                            {1, 1, -1}}};

/// How the pixels of an object lie to each other.
struct ContactSums {
    /// Pairs of pixels that are neighbours in a direction; not counted for the columns, where they follow from the
    /// runs.
    std::array<std::uint64_t, directionCount> pairs{};
    std::int64_t touches = 0;  ///< pairs of runs that touch, with their sign in the Euler number
};

/// Which pixels of the same object are neighbours, counted run by run.
class ContactsQuantity : public SumsOfObjects<ContactsQuantity, ContactSums> {
public:
    static const QuantityInfo info;

    explicit ContactsQuantity(QuantityTable& table) : m_inSpace(table.image().planes > 1) {}

    void add(const RunLine& line) override;
    static void joinValues(ContactSums& left, const ContactSums& right);

private:
    void countPairs(std::span<const Run> current, std::span<const Run> other, std::size_t firstDirection,
                    std::int64_t touchWeight);

    bool m_inSpace;
};

}  // namespace rix::individual_analysis
