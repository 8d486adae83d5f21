#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace rix::morphology {

/// One pass over the keys of an axis: the least of each and of those at some distances further on.
struct Pass {
    std::array<std::size_t, 4> offsets{};
    std::size_t count = 0;
    std::size_t reach() const { return offsets[count - 1]; }
};

/// The passes that take the least of `length` neighbours, each of up to four times as many as the one before.
inline std::vector<Pass> passesOf(std::size_t length) {
    std::vector<Pass> passes;
    for (std::size_t done = 1; done < length;) {
        const std::size_t next = std::min(4 * done, length);
        Pass pass;
        for (std::size_t offset = 0; offset + done < next; offset += done) {
            pass.offsets[pass.count++] = offset;
        }
        pass.offsets[pass.count++] = next - done;
        passes.push_back(pass);
        done = next;
    }
    return passes;
}

}  // namespace rix::morphology
