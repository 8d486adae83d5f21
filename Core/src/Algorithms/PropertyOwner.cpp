// The part of a property that speaks to the algorithm that owns it. It lies here because properties are the lower
// layer.

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/properties/BaseProperty.h>

namespace rix {

bool BaseProperty::isOutput() const {
    const BaseAlgorithm* owner = getOwner();
    return owner != nullptr && owner->isOutput(this);
}

void BaseProperty::notify() {
    if (BaseAlgorithm* owner = getOwner()) {
        owner->onPropertyChanged(this);
    }
}

}  // namespace rix
