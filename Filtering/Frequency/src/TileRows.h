#pragma once

#include <cstddef>
#include <memory>

#include <rix/access/BorderConditions.h>
#include <rix/access/ImageModelProxy.h>
#include <rix/access/Rows.h>

#include "NotFinite.h"
#include "TileConvolution.h"

namespace rix::filtering::frequency {

/// The way of rows from the images into tiles and back. Tiles are contiguous. Any number of threads may use an object.
template <class Real>
class TileRows {
public:
    /// The arguments outlive this.
    TileRows(const ImageModel& input, const ConvolutionJob& job);

    std::size_t offsetOf(std::size_t row, std::size_t plane) const {
        return (plane * m_tiles.tile[1] + row) * m_tiles.tile[0];
    }

    /// The whole tile of a kernel, scaled so that the way there and back gives what was there.
    void loadKernel(const ImageModel& kernel, Real* tile) const;
    /// Brings the voxels that the results of a block see into a row of a tile, and zeros behind them: what the tile has
    /// beyond these voxels reaches none of the results.
    void load(const access::Block& block, std::size_t row, std::size_t plane, Real* tile) const;
    /// Writes a row of results.
    /// @param at the first of them; the result that sees the voxels from i on stands where the last of them was
    void store(const access::Block& block, const access::Position& at, const Real* tile, const NotFinite& notFinite,
               access::RowWriter<Real>& writer) const;

private:
    const ConvolutionTiles& m_tiles;
    ImageModelProxy m_input;
    std::shared_ptr<const access::BorderCondition<Real>> m_border;
};

extern template class TileRows<float>;
extern template class TileRows<double>;

}  // namespace rix::filtering::frequency
