#include <vessel/Version.h>

namespace vessel {

const char* version() noexcept {
    return VESSEL_VERSION;
}

}  // namespace vessel
