#include <rix/rules/ImageRule.h>

namespace rix::rules {

bool isSameImage(const ImageModel& a, const ImageModel& b) {
    if (&a == &b) {
        return true;
    }
    // Two objects over one buffer (an array wrapped twice, say) disturb each other just as one object does.
    const ConstRawData buffer = a.getImageBuffer();
    return buffer != nullptr && buffer == b.getImageBuffer();
}

String describeOperand(const ImageOperand& operand) {
    return quotedName(operand.property) + " is " + helper::describeImage(operand.image);
}

}  // namespace rix::rules
