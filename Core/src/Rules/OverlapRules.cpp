#include <rix/rules/OverlapRules.h>

#include <rix/image/SampleMemory.h>

namespace rix::rules {

namespace {

[[noreturn]] void refuseOverlap(const ImageOperand& operand, const ImageOperand& other, const char* accepted,
                                std::source_location where = std::source_location::current()) {
    refuse("The parameters " + quotedName(operand.property) + " and " + quotedName(other.property) +
               " share samples: " + quotedName(operand.property) + accepted,
           describeOperand(operand) + "; " + describeOperand(other) + ".", where);
}

}  // namespace

void DisjointFrom::apply(const ImageOperand& operand) const {
    const auto other = m_reference.open();
    if (helper::mayShareSamples(operand.image, *other)) {
        refuseOverlap(operand, {*other, m_reference.property()},
                      " must be another image, or a part of the same image that does not overlap.");
    }
}

String DisjointFrom::describe() const {
    return "must not share samples with " + m_reference.property().getName();
}

void InPlaceOrDisjoint::apply(const ImageOperand& operand) const {
    const auto other = m_reference.open();
    if (helper::mayShareSamples(operand.image, *other) && !helper::sharesLayout(operand.image, *other)) {
        refuseOverlap(operand, {*other, m_reference.property()},
                      " must be exactly the same part of the image, or one that does not overlap.");
    }
}

String InPlaceOrDisjoint::describe() const {
    return "must be " + m_reference.property().getName() + " itself or share no samples with it";
}

}  // namespace rix::rules
