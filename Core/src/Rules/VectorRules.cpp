#include <rix/rules/VectorRules.h>

namespace rix::rules {

const char* orderPhrase(LimitConfiguration configuration) {
    switch (configuration) {
        case CHECK_GREATER: return "in strictly ascending order";
        case CHECK_LOWER: return "in strictly descending order";
        case CHECK_GREATER_OR_EQUAL: return "in ascending order";
        case CHECK_LOWER_OR_EQUAL: return "in descending order";
    }
    refuseUnknownRule();
}

}  // namespace rix::rules
