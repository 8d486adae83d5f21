#pragma once

#include <cstddef>

#include <rix/image/DiskImage.h>

#include "Interrupts.h"

namespace rix::cli {

/// Calls `visit(row, plane, frame, channel)` for the rows of an image of these extents, in storage order. Ctrl-C ends
/// it.
template <class Visit>
void forEachRow(const io::DiskImage::Extents& extents, const Visit& visit) {
    for (std::size_t c = 0; c < extents[SPECTRAL_SERIES]; ++c) {
        for (std::size_t t = 0; t < extents[SEQUENCE]; ++t) {
            for (std::size_t z = 0; z < extents[PLANS]; ++z) {
                for (std::size_t y = 0; y < extents[ROWS]; ++y) {
                    Interrupts::throwIfRequested();
                    visit(y, z, t, c);
                }
            }
        }
    }
}

}  // namespace rix::cli
