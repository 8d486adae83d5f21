#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include <rix/access/Looks.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Rows.h>
#include <rix/access/TemporaryImage.h>

#include "resampling/PlaceSampling.h"

namespace rix::geometry {

/// The samples of an image at single places: of each frame and channel in turn, as `double`.
class PointSampling {
public:
    using Places = access::CountedVector<std::array<double, 3>>;

    /// How samples are found at places in elements. Images of one plane are sampled in it, whatever the third place.
    static PlaceJob jobOf(const ImageModel& input, int degree, access::BorderPolicy border, double value);

    /// Takes as many steps of the run as it needs.
    PointSampling(access::ExecutionContext& context, const ImageModel& input, PlaceJob job, const Places& places,
                  OptimLevelType level);

    /// Calls `use(frame, channel, point, value)` for all points of each frame and channel, in order.
    template <class Use>
    void forEach(const Use& use) const {
        for (std::size_t spectral = 0; spectral < m_samples.image().getNumOf(SPECTRAL_SERIES); ++spectral) {
            for (std::size_t sequence = 0; sequence < m_samples.image().getNumOf(SEQUENCE); ++sequence) {
                access::RowReader<double> reader(m_samples.image());
                access::Looks looks;
                const std::size_t points = m_samples.image().getNumOf(COLUMNS);
                for (std::size_t first = 0; first < points; first += piece) {
                    access::RowSegment segment;
                    segment.column = first;
                    segment.sequence = sequence;
                    segment.spectral = spectral;
                    segment.count = std::min(piece, points - first);
                    const double* const values = reader.read(segment);
                    for (std::size_t i = 0; i < segment.count; ++i) {
                        use(sequence, spectral, first + i, values[i]);
                    }
                    looks.add(segment.count / 8);
                }
            }
        }
    }

    /// The most bytes that it holds, with the places. @param count of places
    static std::size_t bytes(const ImageModel& input, const PlaceJob& job, std::size_t count, std::size_t threads);

private:
    static constexpr std::size_t piece = 1024;

    access::TemporaryImage m_samples;
};

}  // namespace rix::geometry
