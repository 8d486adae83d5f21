#include <rix/point_operations/ArithmeticOperators.h>
#include <rix/point_operations/LogicalOperators.h>
#include <rix/properties/EnumInfo.h>

namespace rix::point_operations {

const EnumInfo& ArithmeticOperators::getInfoArithmeticOperatorType() {
    static const EnumInfo info("ArithmeticOperatorType", "ADD = 0, SUBTRACT, MULTIPLY, DIVIDE, MINIMUM, MAXIMUM");
    return info;
}

const EnumInfo& LogicalOperators::getInfoLogicalOperatorType() {
    static const EnumInfo info("LogicalOperatorType", "AND = 0, OR, XOR, NAND, NOR, NXOR, SUBTRACT");
    return info;
}

}  // namespace rix::point_operations
