#pragma once

#include <stdexcept>

namespace rix::rendering {

/// What was asked for can't be shown: a plane that an image does not have, labels of what has none.
class NotDrawable : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

}  // namespace rix::rendering
