#include <rix/rules/CompareRules.h>

namespace rix::rules {

const char* relationPhrase(CompareRelation relation) {
    switch (relation) {
        case CompareRelation::Equal: return "equal to";
        case CompareRelation::NotEqual: return "not equal to";
        case CompareRelation::Less: return "less than";
        case CompareRelation::LessOrEqual: return "less than or equal to";
        case CompareRelation::Greater: return "greater than";
        case CompareRelation::GreaterOrEqual: return "greater than or equal to";
    }
    refuseUnknownRule();
}

}  // namespace rix::rules
