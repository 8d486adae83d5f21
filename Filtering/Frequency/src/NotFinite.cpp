#include "NotFinite.h"

#include <algorithm>
#include <cmath>

#include <rix/access/AllFinite.h>
#include <rix/access/Looks.h>

namespace rix::filtering::frequency {

template <class Real>
void NotFinite::takeOut(Real* row, std::size_t offset, std::size_t count) {
    if (access::allFinite(row, count)) {
        return;
    }
    if (!any()) {
        const std::size_t samples = m_tile[0] * m_tile[1] * m_tile[2];
        m_marks = access::Scratch(samples);
        std::fill_n(m_marks.data(), samples, std::uint8_t{0});
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!std::isfinite(row[i])) {
            row[i] = 0;
            m_marks.data()[offset + i] = 1;
        }
    }
}

template void NotFinite::takeOut<float>(float*, std::size_t, std::size_t);
template void NotFinite::takeOut<double>(double*, std::size_t, std::size_t);

void NotFinite::spread(const TileExtents& window) {
    if (!any()) {
        return;
    }
    access::Looks looks;
    std::size_t pitch = 1;
    std::size_t samples = m_tile[0] * m_tile[1] * m_tile[2];
    for (std::size_t axis = 0; axis < m_tile.size(); ++axis) {
        const std::size_t length = m_tile[axis];
        for (std::size_t line = 0; line < samples / length; ++line) {
            std::uint8_t* const marks = m_marks.data() + line / pitch * pitch * length + line % pitch;
            std::size_t clear = window[axis];  // voxels since the last marked one, going backwards
            for (std::size_t i = length; i-- > 0;) {
                clear = marks[i * pitch] != 0 ? 0 : clear + 1;
                marks[i * pitch] = clear < window[axis] ? 1 : 0;
            }
            looks.add(length);
        }
        pitch *= length;
    }
}

}  // namespace rix::filtering::frequency
