#include <vessel/ImageView.h>

namespace vessel {

ImageView::~ImageView() = default;

bool ImageView::isInside(const std::vector<Axis>& axes, const Region& region) noexcept {
    for (std::size_t i = 0; i < axes.size(); ++i) {
        if (region.first[i] > axes[i].extent || region.extent[i] > axes[i].extent - region.first[i]) {
            return false;
        }
    }
    return true;
}

}  // namespace vessel
