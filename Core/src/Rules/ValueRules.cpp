#include <rix/rules/ValueRules.h>

namespace rix::rules {

const char* limitPhrase(LimitConfiguration configuration) {
    switch (configuration) {
        case CHECK_GREATER: return "must be greater than";
        case CHECK_LOWER: return "must be less than";
        case CHECK_GREATER_OR_EQUAL: return "must be greater than or equal to";
        case CHECK_LOWER_OR_EQUAL: return "must be less than or equal to";
    }
    refuseUnknownRule();
}

}  // namespace rix::rules
