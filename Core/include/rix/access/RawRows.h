#pragma once

#include <cstddef>

#include <rix/Export.h>
#include <rix/access/PointBlocks.h>
#include <rix/access/Rows.h>
#include <rix/image/ImageModel.h>

namespace rix::access {

/// Reads the rows of an image as the bytes that it holds: in place when the storage can give an address, else copied
/// into a buffer of the calling thread. Made by the thread that uses it, once a block; the image outlives it.
///
/// For bodies that are compiled once for several types and convert samples themselves; `RowReader` gives typed samples.
class RIX_EXPORT RawRowReader {
public:
    RawRowReader(const ImageModel& image, const PointPlan& plan);

    /// The samples of a segment, aligned for their type; valid until the next call.
    /// @throws UnexpectedError when the image refuses to be read.
    ConstRawData read(const RowSegment& segment);

private:
    const ImageModel& m_image;
    detail::RowLayout m_layout;
    ConstRawData m_line;  ///< the image as one long line, when rows are joined
    detail::RowBuffer m_buffer;
};

/// Writes the rows of an image as bytes of its own type: in place when possible, else through a buffer of the calling
/// thread that `flush` writes. A row that was opened must be flushed before the next one is opened and before the
/// writer ends; builds with assertions check that for every storage.
class RIX_EXPORT RawRowWriter {
public:
    RawRowWriter(ImageModel& image, const PointPlan& plan);

    /// Where the samples of a segment are to be stored, aligned for their type. The memory may be that of the image
    /// or not; in the second case it holds nothing of the image yet.
    RawData open(const RowSegment& segment);

    /// Brings the opened segment into the image. @throws UnexpectedError when the image refuses it.
    void flush();

private:
    RawData target(const RowSegment& segment) const;

    ImageModel& m_image;
    detail::RowLayout m_layout;
    RowKind m_kind;
    RawData m_line;  ///< the image as one long line, when rows are joined; null where it is for reading only
    RowSegment m_segment;
    RawData m_target = nullptr;
    RawData m_row = nullptr;
    detail::OpenRow m_open;
    detail::RowBuffer m_buffer;
};

}  // namespace rix::access
