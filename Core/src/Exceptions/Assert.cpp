#include <rix/Assert.h>

#include <cstdio>
#include <cstdlib>

namespace rix::detail {

void assertionFailed(const char* text, std::source_location where) {
    std::fprintf(stderr, "%s:%u: Assertion '%s' failed.\n", where.file_name(), static_cast<unsigned>(where.line()),
                 text);
    std::fflush(stderr);
    std::abort();
}

}  // namespace rix::detail
