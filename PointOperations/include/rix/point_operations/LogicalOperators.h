#pragma once

#include <rix/Export.h>

namespace rix {

class EnumInfo;

namespace point_operations {

/// The operators of the logical operations, which have them as members. With a the first operand and b the second:
/// a & b, a | b, a ^ b, ~(a & b), ~(a | b), ~(a ^ b), a & ~b.
class RIX_EXPORT LogicalOperators {
public:
    enum LogicalOperatorType : int { AND = 0, OR, XOR, NAND, NOR, NXOR, SUBTRACT };
    static const EnumInfo& getInfoLogicalOperatorType();
};

}  // namespace point_operations
}  // namespace rix
