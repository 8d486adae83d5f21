#pragma once

#include <vector>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

/// A rule of a text that lists words, separated by commas, and knows which there are. Tools find it by `dynamic_cast`
/// from the rule, to offer them.
class RIX_EXPORT KnownWords {
public:
    virtual ~KnownWords();
    /// In the order in which they are offered; forms that take an argument are left out.
    virtual std::vector<String> words() const = 0;
};

}  // namespace rix
