#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace rix::analysis {

/// The partial results of a reduction whose joins commute exactly: counts, sums of integers, extrema.
///
/// A block takes any partial result that is free, adds to it and gives it back. So there are never more than blocks run
/// at the same time, while a reduction along a tree would make one for each of its leaves: the tables of a histogram
/// are too large for that. Which blocks met in which partial result is left to chance, and the joined result can't
/// tell.
template <class Partial>
class PartialResults {
public:
    /// `make()` gives a new partial result, empty.
    template <class Make>
    std::unique_ptr<Partial> take(const Make& make) {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_free.empty()) {
                std::unique_ptr<Partial> partial = std::move(m_free.back());
                m_free.pop_back();
                return partial;
            }
        }
        return make();
    }

    void give(std::unique_ptr<Partial> partial) {
        const std::lock_guard lock(m_mutex);
        m_free.push_back(std::move(partial));
    }

    /// All partial results, once no block runs any more.
    const std::vector<std::unique_ptr<Partial>>& all() const { return m_free; }

private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Partial>> m_free;
};

}  // namespace rix::analysis
