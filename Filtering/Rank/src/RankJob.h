#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/image/ImageModel.h>

#include "RankWindow.h"

namespace rix::filtering::rank {

/// What a run computes.
struct RankJob {
    RankWindow window;
    double rank = 0.5;
    access::BorderPolicy border = access::BorderPolicy::MIRROR;
    double borderValue = 0.0;
    const ImageModel* mask = nullptr;
};

}  // namespace rix::filtering::rank
