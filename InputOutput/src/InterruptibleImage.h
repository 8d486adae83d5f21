#pragma once

#include <functional>

#include <rix/access/ImageModelProxy.h>
#include <rix/exceptions/Exception.h>

#include "Codec.h"

namespace rix::io {

/// An image whose rows can't be had any more once the writing is to end: all codecs read rows.
class InterruptibleImage : public ImageModelProxy {
public:
    InterruptibleImage(const ImageModel& image, const std::function<bool()>& interrupted)
        : ImageModelProxy(&image, image.getVoxelType()), m_interrupt(interrupted) {}

    [[nodiscard]] bool readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                 std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) const override {
        m_interrupt.pass(nbElement * helper::getSizeOf(getVoxelType()));
        return realImageReadOnly()->readRowAt(nbElement, buffer, firstCols, firstRows, firstPlans, firstSequence,
                                              firstSpectralSeries);
    }

private:
    mutable InterruptPoint m_interrupt;
};

}  // namespace rix::io
