#pragma once

#include <rix/Export.h>

namespace rix {

class EnumInfo;

namespace point_operations {

/// The operators of the arithmetic operations, which have them as members.
class RIX_EXPORT ArithmeticOperators {
public:
    enum ArithmeticOperatorType : int { ADD = 0, SUBTRACT, MULTIPLY, DIVIDE, MINIMUM, MAXIMUM };
    static const EnumInfo& getInfoArithmeticOperatorType();
};

}  // namespace point_operations
}  // namespace rix
