#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/LineBundles.h>
#include <rix/access/Scratch.h>

namespace rix::filtering::smoothing {

/// The samples of a bundle that no recursion can take in, because nothing would be left of its state: they are taken
/// out, and put into the results of the windows that hold them, as a finite sum would have it.
template <class T>
class WildSamples {
public:
    /// Has the memory that it may need, so that what a run holds does not depend on samples.
    /// @param reach of the windows; the bundle has as many rows before and after its lines
    WildSamples(const access::Bundle<T>& bundle, std::size_t reach);
    /// The bytes of that memory. @param rows of the bundle, with its borders
    static std::size_t bytes(std::size_t rows, std::size_t paddedWidth);

    /// Replaces what is not a number, or not below `limit` in magnitude, by 0, in all rows of the bundle.
    void takeOut(T limit);
    /// Makes the results, which stand `reach` rows lower than their lines, NaN or infinite where they have to be.
    void putBack();

private:
    const access::Bundle<T>& m_bundle;
    std::int64_t m_reach;
    access::Scratch m_marks;
    access::Scratch m_counts;
};

}  // namespace rix::filtering::smoothing
