#pragma once

#include <rix/access/Plan.h>

namespace rix::access {

/// What `chooseStores` answers while this lives, whatever the sizes. For tests, whose images are small; one at a time.
class ForcedStores {
public:
    explicit ForcedStores(Stores stores);
    ~ForcedStores();
    ForcedStores(const ForcedStores&) = delete;
    ForcedStores& operator=(const ForcedStores&) = delete;
};

}  // namespace rix::access
