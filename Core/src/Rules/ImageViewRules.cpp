#include <rix/rules/ImageViewRules.h>

namespace rix::rules {

namespace {

template <class View>
std::shared_ptr<ImageModel> open(const std::shared_ptr<View>& view) {
    if (view == nullptr) {
        return nullptr;
    }
    try {
        return std::make_shared<ImageModelFromView>(view);
    } catch (const InvalidCall& exception) {
        refuse(exception.getMessage());  // seen from a property, its value is refused
    }
}

}  // namespace

std::shared_ptr<ImageModel> openView(const std::shared_ptr<vessel::ImageView>& view) {
    return open(view);
}

std::shared_ptr<const ImageModel> openView(const std::shared_ptr<const vessel::ImageView>& view) {
    return open(view);
}

}  // namespace rix::rules
