#include "OpenImage.h"

#include <algorithm>
#include <utility>

#include <rix/access/SampleCast.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/RowRefusals.h>

#include "Arrays.h"
#include "Axes.h"
#include "Errors.h"
#include "Interaction.h"
#include "VoxelDtypes.h"

namespace py = pybind11;

namespace rix::python {
namespace {

using Extents = io::DiskImage::Extents;

/// A part of an image: on each axis the first index, how many, and how far from one to the next.
struct Part {
    Extents first{};
    Extents count{1, 1, 1, 1, 1};
    Extents step{1, 1, 1, 1, 1};
};

/// The elements of rows into `samples`, in storage order.
class PartReader {
public:
    PartReader(const io::DiskImage& image, const Part& part, RawData samples)
        : m_image(image), m_part(part), m_samples(samples), m_size(helper::getElementSize(image)) {
        // Columns farther apart than chunks are wide are fetched one by one: what lies between has chunks of its own.
        const bool isFar = part.step[COLUMNS] > image.chunkExtents()[COLUMNS];
        if (part.step[COLUMNS] > 1) {
            m_row.resize((isFar ? 1 : (part.count[COLUMNS] - 1) * part.step[COLUMNS] + 1) * m_size);
        }
        m_isFar = isFar;
    }

    /// Reads blocks along the chunks, so that each chunk serves all of its rows before the cache may give it up.
    void read(const std::function<bool()>& interrupted) { readAxis(RIX_COMPONENTS_SIZE - 1, interrupted); }

private:
    /// Cuts the part along the chunks of an axis, and of those below it.
    void readAxis(std::size_t axis, const std::function<bool()>& interrupted) {
        if (axis == COLUMNS) {
            if (interrupted()) {
                throw UserCancelException("The reading was interrupted.");
            }
            readRows(RIX_COMPONENTS_SIZE - 1, 0);
            return;
        }
        const std::size_t chunk = m_image.chunkExtents()[axis];
        for (m_begin[axis] = 0; m_begin[axis] < m_part.count[axis]; m_begin[axis] = m_end[axis]) {
            const std::size_t place = m_part.first[axis] + m_begin[axis] * m_part.step[axis];
            const std::size_t left = chunk - 1 - place % chunk;  // elements behind this one in its chunk
            m_end[axis] = std::min(m_part.count[axis], m_begin[axis] + left / m_part.step[axis] + 1);
            readAxis(axis - 1, interrupted);
        }
    }

    /// The rows of a block; `row` counts those of the part in storage order.
    void readRows(std::size_t axis, std::size_t row) {
        if (axis == COLUMNS) {
            readRow(m_samples + row * m_part.count[COLUMNS] * m_size);
            return;
        }
        for (std::size_t i = m_begin[axis]; i < m_end[axis]; ++i) {
            m_place[axis] = m_part.first[axis] + i * m_part.step[axis];
            readRows(axis - 1, row * m_part.count[axis] + i);
        }
    }

    void readRow(RawData to) {
        const std::size_t first = m_part.first[COLUMNS];
        const std::size_t count = m_part.count[COLUMNS];
        const std::size_t step = m_part.step[COLUMNS];
        if (step == 1) {
            fetch(count, first, to);
            return;
        }
        if (!m_isFar) {
            fetch((count - 1) * step + 1, first, m_row.data());
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (m_isFar) {
                fetch(1, first + i * step, m_row.data());
            }
            std::copy_n(m_row.data() + (m_isFar ? 0 : i * step * m_size), m_size, to + i * m_size);
        }
    }

    void fetch(std::size_t count, std::size_t column, RawData to) {
        if (!m_image.readRowAt(count, to, column, m_place[ROWS], m_place[PLANS], m_place[SEQUENCE],
                               m_place[SPECTRAL_SERIES])) {
            throw LoadingError(helper::takeRowRefusal());
        }
    }

    const io::DiskImage& m_image;
    const Part& m_part;
    RawData m_samples;
    std::size_t m_size;
    bool m_isFar = false;
    std::vector<std::uint8_t> m_row;
    Extents m_begin{};  ///< of the block, counted in elements of the part
    Extents m_end{};
    Extents m_place{};  ///< of the row in the image
};

/// Lets an image's writer ask whether to end, for as long as this lives.
class Answer {
public:
    /// @param asked null where nobody asks
    Answer(std::function<bool()>* asked, const std::function<bool()>& interrupted) : m_asked(asked) {
        if (m_asked != nullptr) {
            *m_asked = interrupted;
        }
    }
    ~Answer() {
        if (m_asked != nullptr) {
            *m_asked = nullptr;
        }
    }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

private:
    std::function<bool()>* m_asked;
};

}  // namespace

OpenImage::OpenImage(std::shared_ptr<io::DiskImage> image, std::string axes, std::string path)
    : m_image(std::move(image)), m_axes(std::move(axes)), m_path(std::move(path)) {}

OpenImage::OpenImage(std::shared_ptr<io::DiskImage> image, std::string path,
                     std::shared_ptr<std::function<bool()>> asked)
    : m_image(std::move(image)), m_path(std::move(path)), m_asked(std::move(asked)) {}

void OpenImage::refuse(const std::string& why) const {
    throw MisuseError((m_path.empty() ? std::string("the temporary image on disk") : "the image '" + m_path + "'") +
                      why);
}

void OpenImage::refuseWhileUsed(const char* what) const {
    if (m_image.use_count() > 1) {
        refuse(std::string(" is in use by a run or a reader, and can't be ") + what + " meanwhile");
    }
}

std::shared_ptr<io::DiskImage> OpenImage::occupy() {
    // The weak pointer keeps what deletes, but not the image.
    std::shared_ptr<io::DiskImage> owner(m_image.get(), [kept = m_image](io::DiskImage*) mutable { kept.reset(); });
    m_owner = owner;
    return owner;
}

std::shared_ptr<io::DiskImage> OpenImage::useForReading() const {
    if (m_image == nullptr) {
        refuse(" is closed");
    }
    if (!m_owner.expired()) {
        refuse(" is being written");
    }
    if (m_axes.empty()) {
        refuse(" has no samples: give it as out= of an operation first");
    }
    return m_image;
}

std::shared_ptr<io::DiskImage> OpenImage::useForWriting() {
    if (m_image == nullptr) {
        refuse(" is closed");
    }
    if (!m_image->isWritable()) {
        throw RefusedError("the image '" + m_path +
                           "' was opened for reading; rix.create_image makes one that takes a result");
    }
    refuseWhileUsed("written");
    m_axes.clear();
    return occupy();
}

py::array OpenImage::read(const std::vector<std::array<std::size_t, 3>>& ranges) const {
    const std::shared_ptr<io::DiskImage> image = useForReading();
    Part part;
    for (std::size_t dimension = 0; dimension < m_axes.size(); ++dimension) {
        const std::size_t axis = indexOf(axisOfLetter(m_axes[dimension]));
        const auto& [first, count, step] = ranges.at(dimension);
        if (count != 0 && (step == 0 || first >= image->header().extents[axis] ||
                           (count - 1) > (image->header().extents[axis] - 1 - first) / step)) {
            throw RefusedError("the range lies beyond the image");
        }
        part.first[axis] = first;
        part.count[axis] = count;
        part.step[axis] = step;
    }
    const SampleArray array = makeArray(image->header(), part.count, m_axes);
    if (array.array.size() == 0) {
        return array.array;
    }
    const auto bytes = static_cast<std::size_t>(array.array.nbytes());
    interruptibly([&](const std::function<bool()>& interrupted) {
        try {
            PartReader(*image, part, array.samples).read(interrupted);
        } catch (LoadingError& error) {
            error.addInfoLevel("Cannot read the image " +
                               (m_path.empty() ? String("on disk.") : "file '" + m_path + "'."));
            throw;
        }
        if (array.isBool) {  // whatever differs from 0 counts as 1
            access::makeZeroOrOne(RIX_UINT8, array.samples, bytes);
        }
    });
    return array.array;
}

std::vector<std::size_t> OpenImage::chunks() const {
    const std::shared_ptr<io::DiskImage> image = useForReading();
    std::vector<std::size_t> extents;
    for (const char letter : m_axes) {
        extents.push_back(image->chunkExtents()[indexOf(axisOfLetter(letter))]);
    }
    return extents;
}

py::object OpenImage::header() const {
    return imageWithoutSamples(useForReading()->header(), m_axes);
}

void OpenImage::calibrate(py::handle image) {
    const std::shared_ptr<io::DiskImage> kept = useForReading();
    const ImageHeader own = kept->header();
    ImageHeader header = headerOfImage(image, image.attr("array"), m_axes);
    header.extents = own.extents;
    header.voxelType = own.voxelType;
    header.elementType = own.elementType;
    if (!helper::applyHeader(header, *kept)) {
        throw RefusedError("the calibration can't be set");
    }
}

void OpenImage::close() {
    if (m_image == nullptr) {
        return;
    }
    refuseWhileUsed("closed");
    if (m_axes.empty() && !m_path.empty()) {
        m_image = nullptr;
        refuse(" has no samples, as no operation completed it: nothing is written");
    }
    const std::shared_ptr<io::DiskImage> closing = occupy();
    interruptibly([&](const std::function<bool()>& interrupted) {
        const Answer answer(m_asked.get(), interrupted);
        closing->close();
    });
    m_image = nullptr;
}

void OpenImage::giveUp() {
    if (m_image != nullptr) {
        refuseWhileUsed("given up");
        m_image = nullptr;
    }
}

OpenImage* openImageOf(py::handle object) {
    return py::isinstance<OpenImage>(object) ? object.cast<OpenImage*>() : nullptr;
}

}  // namespace rix::python
