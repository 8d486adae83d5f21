#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <rix/access/ExecutionContext.h>
#include <rix/access/Looks.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Plan.h>
#include <rix/image/ImageModel.h>

namespace rix::geometry {

/// The lines of a level in all planes of an image: a point for each edge that the level crosses, numbered in storage
/// order, and which one follows.
class Contours {
public:
    struct Point {
        double x;  ///< in elements of its plane
        double y;
        std::uint64_t next;
    };

    /// @param isReflected lines lead the other way
    Contours(const ImageModel& input, double level, bool isReflected);

    /// Finds them: two steps of the run.
    void find(access::ExecutionContext& context);

    /// Calls `use(plane, line, point)` for all points along the lines, numbered from 1; planes are numbered through all
    /// frames and channels. @return the number of calls
    template <class Use>
    std::size_t forEachPoint(const Use& use) {
        m_passed ^= Passed;
        access::Looks looks;
        std::size_t lines = 0;
        std::size_t count = 0;
        const std::size_t rows = m_extents[ROWS];
        for (std::size_t plane = 0; plane * rows + 1 < m_before.size(); ++plane) {
            const std::size_t last = m_before[(plane + 1) * rows];
            for (const bool isClosed : {false, true}) {
                for (std::size_t i = m_before[plane * rows]; i < last; ++i) {
                    looks.add(1);
                    if (m_points[i].next == none || isPassed(i) || (!isClosed && (m_marks[i] & HasPrevious) != 0)) {
                        continue;
                    }
                    ++lines;
                    for (std::uint64_t at = i; at != none && !isPassed(at); at = m_points[at].next) {
                        use(plane, lines, m_points[at]);
                        m_marks[at] = static_cast<std::uint8_t>((m_marks[at] & HasPrevious) | m_passed);
                        ++count;
                        looks.add(1);
                    }
                    if (isClosed) {
                        use(plane, lines, m_points[i]);
                        ++count;
                    }
                }
            }
        }
        return count;
    }

    /// The most bytes that it can hold.
    static std::size_t bytes(const ImageModel& input, std::size_t threads);

private:
    static constexpr std::uint64_t none = ~std::uint64_t{0};
    enum Mark : std::uint8_t { HasPrevious = 1, Passed = 2 };

    bool isPassed(std::size_t i) const { return (m_marks[i] & Passed) == m_passed; }
    template <class Rows>
    void joinPoints(const Rows& rows, const access::Position& at);
    void joinSquare(const std::array<std::uint8_t, 4>& sides, const std::array<std::uint64_t, 4>& edges,
                    const std::array<double, 4>& samples);

    const ImageModel& m_input;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    double m_level;
    bool m_isReflected;
    access::Plan m_plan;
    access::CountedVector<std::size_t> m_before;  ///< points before each row
    access::CountedVector<Point> m_points;
    access::CountedVector<std::uint8_t> m_marks;
    std::uint8_t m_passed = 0;
};

}  // namespace rix::geometry
