#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <rix/Assert.h>
#include <rix/Export.h>
#include <rix/access/BorderPolicy.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/image/ImageModel.h>

// For what goes along lines of an axis: separable and recursive filters, running extrema, distances, transforms.

namespace rix::access {

/// What work along lines needs.
struct BundleNeeds {
    Reach::Axis reach{};  ///< elements before and after each line that the border supplies
    BorderPolicy border = BorderPolicy::MIRROR;
    double borderValue = 0.0;  ///< of `FIXED`
    /// Rough cost of the work, for deciding whether threads pay and how long a bundle takes.
    double nanosecondsPerVoxel = 1.0;
};

/// The cut into bundles: blocks that span the whole axis and as many neighbouring lines as fit half a level-2 cache as
/// samples of the work (up to four times that, where rows would be read in pieces below 512 bytes), but at least a cache
/// line of the images' samples, and not more than take 20 ms. Lines are neighbours on the columns (rows, when the axis
/// is the columns) and then, where these are few, on the next axis.
/// Settings don't change it.
/// @param workBytes size of a sample of the work
/// @throws UnexpectedError when the extents of the images differ, or they have more elements than 64 bits can count
RIX_EXPORT Plan cutBundles(const ImageModel& input, const ImageModel& output, Components axis, std::size_t workBytes,
                           const BundleNeeds& needs);

/// The most bytes that the bundles of a run hold, for descriptions: the lines of all its threads, and rows on their way
/// from one type to another.
RIX_EXPORT std::size_t bundleMemory(const ImageModel& input, Components axis, std::size_t workBytes,
                                    const BundleNeeds& needs, std::size_t threads);

/// The most samples that a row of a plan's bundles has, in whole cache lines (`Bundle::paddedWidth`). @param samples an
/// element
RIX_EXPORT std::size_t widestBundle(const Plan& plan, Components axis, std::size_t workBytes, std::size_t samples = 1);

/// A bundle of neighbouring lines, as rows of samples: one row for each element of the axis, which holds that element
/// of all lines.
template <class Work>
class RIX_EXPORT Bundle {
public:
    /// For the lines of a block of `cutBundles`. The arguments but `block` must outlive this.
    /// @throws MemoryError when there is no memory for the lines
    Bundle(const ImageModel& input, Components axis, const BundleNeeds& needs, const Block& block);

    /// Elements of each line, without the border.
    std::size_t length() const { return m_length; }
    /// Samples of a row: of all lines, and where an element has several samples, of all these.
    std::size_t width() const { return m_width; }
    /// The width in whole cache lines: so much of a row may be read and written. What lies behind `width` is 0 at
    /// first, and nobody's result.
    std::size_t paddedWidth() const { return m_paddedWidth; }
    /// The samples of an element, aligned to a line of the cache. Elements -reach.before to length() + reach.after - 1
    /// exist; each may be written.
    Work* row(std::int64_t element) const {
        RIX_ASSERT(element >= -static_cast<std::int64_t>(m_before) &&
                   element < static_cast<std::int64_t>(m_length + m_after));
        return m_first + element * static_cast<std::int64_t>(m_stride);
    }
    /// Tells that element i of the result stands in `row(first + i)`. A filter that walks upwards can so put each
    /// result where the first element of its window was, and needs no second bundle; at first 0.
    /// @param first from -reach.before to reach.after
    void setResult(std::int64_t first) { m_result = first; }
    /// What the bundle covers of the images.
    const Block& block() const { return m_block; }

    /// Reads the lines and their borders.
    void load(const ImageModel& input);
    /// Writes the result.
    void store(ImageModel& output);

private:
    template <class Use>
    void forEachPiece(const Use& use) const;
    template <class Use>
    void forEachPlace(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const Use& use) const;
    void loadAcross(const ImageModel& input);
    void storeAcross(ImageModel& output);
    void extend();
    RowSegment lineAt(std::size_t line) const;

    const BundleNeeds& m_needs;
    Components m_axis;
    Components m_inner;  ///< the axis on which lines are neighbours
    Components m_next;
    Block m_block;
    std::size_t m_samples;  ///< an element
    std::size_t m_length;
    std::size_t m_before;
    std::size_t m_after;
    std::size_t m_width;
    std::size_t m_paddedWidth;
    std::size_t m_stride;
    std::int64_t m_result = 0;
    Work* m_first = nullptr;
    Scratch m_rows;
};

/// Calls `body(bundle)` or `body(bundle, progress)` for bundles of all lines of an axis, in parallel, and writes the
/// result. The samples are read as `Work` and converted from it by the rules of `castSample`. The body works in place,
/// in any direction; what it makes of a line must not depend on which others are in the bundle.
/// @param axis any of the five
/// @param output of the same extents and samples an element; the very image of the input, or one that shares no memory
///        with it
/// Cost beside the body: two copies in cache a voxel; along the columns, where lines are transposed, about twice that.
template <class Work, class Body>
void forEachBundle(ExecutionContext& context, const ImageModel& input, ImageModel& output, Components axis,
                   const BundleNeeds& needs, const Body& body) {
    const Plan plan = cutBundles(input, output, axis, sizeof(Work), needs);
    run(context, plan, [&](const Block& block, BlockProgress& progress) {
        Bundle<Work> bundle(input, axis, needs, block);
        bundle.load(input);
        if constexpr (std::is_invocable_v<const Body&, Bundle<Work>&, BlockProgress&>) {
            body(bundle, progress);
        } else {
            body(bundle);
        }
        bundle.store(output);
    });
}

extern template class Bundle<std::uint8_t>;
extern template class Bundle<std::uint16_t>;
extern template class Bundle<std::uint32_t>;
extern template class Bundle<std::int8_t>;
extern template class Bundle<std::int16_t>;
extern template class Bundle<std::int32_t>;
extern template class Bundle<float>;
extern template class Bundle<double>;
extern template class Bundle<std::complex<float>>;
extern template class Bundle<std::complex<double>>;

}  // namespace rix::access
