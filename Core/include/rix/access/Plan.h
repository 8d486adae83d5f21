#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>

#include <rix/Export.h>
#include <rix/access/BlockSize.h>
#include <rix/access/Blocks.h>
#include <rix/image/ImageModel.h>

namespace rix {
class EnumInfo;
}

namespace rix::access {

/// How the setting "RIX_PARTITIONER_MODE" overrides the cut of images into blocks.
enum PartitionMode : int {
    RIX_PARTITION_DEFAULT = 0,
    RIX_PARTITION_FULL_ROW_COL_ALTERNATE,  ///< full rows, then columns where a row alone is too large (the default cut)
    RIX_PARTITION_ONLY_COLUMNS,            ///< blocks span all rows and are cut on columns only
    RIX_PARTITION_ONLY_ROWS                ///< blocks are full rows
};

RIX_EXPORT const EnumInfo& getInfoPartitionMode();
RIX_EXPORT PartitionMode partitionModeOfSettings();

/// How results get to an image: through the caches, or past them, where they would not stay there anyway.
enum class Stores : std::uint8_t { Cached, Streaming };

/// Streaming, when what a run writes fills half of the last-level cache: then little of it would still be there for
/// whoever reads it next. The one thing that is asked of the processor: it decides how fast results are written, never
/// what they are.
/// @param outputBytes bytes written a voxel
RIX_EXPORT Stores chooseStores(std::size_t voxels, std::size_t outputBytes);

/// Which neighbouring axes of an image are walked as one, so that blocks may begin and end anywhere in them.
enum class JoinedAxes : std::uint8_t {
    None,
    RowsAndPlanes,  ///< all rows of a volume
    Lines,          ///< all rows of all planes, frames and channels
    All             ///< one long line: only where every image is one contiguous buffer
};

/// How one axis is cut: into even parts, or at multiples of a step.
struct AxisCut {
    std::size_t parts = 1;
    std::size_t step = 0;   ///< 0: parts are even
    std::size_t group = 1;  ///< even parts begin at multiples of this
};

/// The cut of images into the blocks of a run. The cutters below make it, from the images' extents and types and what
/// the work needs; never from the number of threads or the processor, so that it is the same on every machine.
class RIX_EXPORT Plan {
public:
    Plan() = default;
    /// @param extents of the images; none may be 0 unless there are no blocks
    Plan(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, JoinedAxes joined);

    void cut(Components axis, const AxisCut& cut);
    void setSmall(bool small) { m_small = small; }

    std::size_t blockCount() const { return m_blocks; }
    /// Blocks are numbered in storage order. Of joined axes the first counts on through all of them.
    Block block(std::size_t index) const;
    std::size_t voxelCount() const { return m_voxels; }
    /// True when the whole work is too small to pay for threads.
    bool isSmall() const { return m_small; }
    /// True when every row of every image is addressed as part of one line.
    bool rowsAreJoined() const { return m_joined == JoinedAxes::All; }
    /// Extents with joined axes as one.
    const std::array<std::size_t, RIX_COMPONENTS_SIZE>& gridExtents() const { return m_grid; }
    std::size_t parts(Components axis) const { return m_cuts[axis].parts; }
    /// The most indices of an axis that a block has.
    std::size_t largestPart(Components axis) const;

    /// Calls `segment` for every row segment of a block, in storage order.
    template <class F>
    void forEachSegment(const Block& block, F&& segment) const {
        block.forEachRow([&](const Position& at) { segment(segmentAt(at, block.columns().length())); });
    }
    /// The segment at a position of the plan's axes.
    RowSegment segmentAt(const Position& at, std::size_t count) const;
    /// A whole row of the images, by its number in storage order.
    RowSegment lineAt(std::size_t line) const;

private:
    RowSegment rowAt(std::size_t line) const;

    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents{};
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_grid{};
    std::array<AxisCut, RIX_COMPONENTS_SIZE> m_cuts{};
    JoinedAxes m_joined = JoinedAxes::None;
    std::size_t m_voxels = 0;
    std::size_t m_blocks = 0;
    bool m_small = true;
};

// The cutters -------------------------------------------------------------------------------------------------------

/// Lines, for what is done to every voxel by itself: full rows, cut on columns only where they are long.
/// @param images every image that the operation reads or writes; all have the same extents. When each of them is one
///        contiguous buffer, or a contiguous part of one, rows are joined into one long line, so that narrow images
///        cost what wide ones do. When one of them prefers to be accessed by blocks, as chunks on disk do, the cut is
///        along those.
/// @param nanosecondsPerVoxel rough cost of the work, for deciding whether threads pay
/// @throws UnexpectedError when extents differ, or there are more elements than 64 bits can count
RIX_EXPORT Plan cutLines(std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel);
/// For tests: with a given cut instead of that of the settings.
RIX_EXPORT Plan cutLines(std::initializer_list<const ImageModel*> images, double nanosecondsPerVoxel,
                         PartitionMode mode);

/// State that a body carries from row to row, or from plane to plane, of a block, such as running sums. A block begins
/// it anew with its first window, so blocks are long against windows.
struct Carried {
    Components axis = ROWS;            ///< ROWS or PLANS
    std::size_t group = 1;             ///< blocks begin at multiples of this on every axis
    std::size_t piece = 8192;          ///< rows are cut on columns when they are at least twice as long
    std::size_t voxels = 1U << 18;     ///< of a block, where the image has so many
    std::size_t bandVoxels = 1 << 17;  ///< whose state fits the level-2 cache, of a plane when the axis is PLANS
};

/// What a filter of neighbourhoods needs.
struct BoxNeeds {
    Reach reach;
    /// Rough cost of the work, for deciding whether threads pay and how long a block takes.
    double nanosecondsPerVoxel = 1.0;
    /// Bytes that a block keeps of each voxel in its windows; 0 for the elements of the inputs as they are.
    std::size_t heldBytesPerVoxel = 0;
    std::optional<Carried> carried{};
};

/// Boxes, for what looks at neighbours: bands of rows of some planes of one frame and channel.
///
/// The windows of a row of blocks fit half a level-2 cache: of a 2D filter those of one row, of a filter that looks at
/// other planes those of all rows of the block, because it reads a row again for every plane. A band is at least four
/// times as high as the reach, and as many planes deep, so that what neighbouring blocks read twice stays small; unless
/// a block would take more than 20 ms, after which a cancellation must be seen. Rows are cut on columns only where the
/// windows of a single row are too large. With carried state, that decides (see `Carried`). Else, of images that prefer
/// to be accessed by blocks, as chunks on disk do, bands are whole ones of these.
/// @param inputs,outputs the images that the filter reads and writes; all have the same extents
/// @throws UnexpectedError when they have not, or have more elements than 64 bits can count
RIX_EXPORT Plan cutBoxes(std::initializer_list<const ImageModel*> inputs,
                         std::initializer_list<const ImageModel*> outputs, const BoxNeeds& needs);
/// For tests: with a given cut instead of that of the settings.
RIX_EXPORT Plan cutBoxes(std::initializer_list<const ImageModel*> inputs,
                         std::initializer_list<const ImageModel*> outputs, const BoxNeeds& needs, PartitionMode mode);

/// What work needs that goes through images in bands and joins what it found of them, band after band.
struct BandNeeds {
    JoinedAxes joined = JoinedAxes::None;
    Components axis = ROWS;    ///< that is cut; those before it stay whole, those behind it are walked singly
    std::size_t elements = 1;  ///< of the axis that a band has at least
    std::size_t group = 1;     ///< bands begin at multiples of this
    std::size_t mostBands = std::numeric_limits<std::size_t>::max();  ///< that the axis is cut into
    double nanosecondsPerVoxel = 1.0;
};

/// Bands in storage order. Settings don't change them: sums of reals are joined along them.
/// @throws UnexpectedError when there are more elements than 64 bits can count
RIX_EXPORT Plan cutBands(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const BandNeeds& needs);

}  // namespace rix::access
