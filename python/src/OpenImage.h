#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <pybind11/numpy.h>

#include <rix/image/DiskImage.h>

namespace rix::python {

/// An image on disk as Python has it: its axes, who uses it at the moment, and whether it is closed. Touched with the
/// interpreter's lock only, but for the samples.
class OpenImage {
public:
    /// For reading. @param axes those of its dimensions
    OpenImage(std::shared_ptr<io::DiskImage> image, std::string axes, std::string path);
    /// That a run gives its shape. @param path empty for temporary data
    /// @param asked what the image's writer asks whether to end; answers while `close` runs
    OpenImage(std::shared_ptr<io::DiskImage> image, std::string path,
              std::shared_ptr<std::function<bool()>> asked = nullptr);

    /// A letter for each dimension; empty for an image without elements.
    const std::string& axes() const { return m_axes; }
    /// After a run has shaped it.
    void setAxes(const std::string& axes) { m_axes = axes; }
    const std::string& path() const { return m_path; }
    bool isClosed() const { return m_image == nullptr; }

    /// The image for as long as what is given back lives. @throws MisuseError when it is closed, without elements, or
    /// being written
    std::shared_ptr<io::DiskImage> useForReading() const;
    /// The same for the one who shapes and writes it. It is without samples until `setAxes`: a run that fails leaves no
    /// image. @throws MisuseError when it is closed or in use, RefusedError when it is for reading
    std::shared_ptr<io::DiskImage> useForWriting();

    /// A part as an array in the order of the axes; each chunk of it is read once, others are not.
    /// @param ranges first index, count and a positive step, for each dimension
    /// @throws LoadingError for chunks that can't be read; Ctrl-C ends it
    pybind11::array read(const std::vector<std::array<std::size_t, 3>>& ranges) const;
    /// The extents of the chunks, for each dimension.
    std::vector<std::size_t> chunks() const;
    /// A rix.Image of the shape, type, calibration and meaning, whose samples are all the same 0.
    pybind11::object header() const;
    /// Takes calibration and meaning of a rix.Image of that shape.
    void calibrate(pybind11::handle image);

    /// Completes what was written, which then has its name, and lets go of the image. @throws MisuseError when it is
    /// in use, or has no samples and is let go of, WritingError when the image is as it was
    void close();
    /// Lets go of the image: of one that was written, nothing is left.
    void giveUp();

private:
    /// Keeps others away for as long as what is given back lives.
    std::shared_ptr<io::DiskImage> occupy();
    void refuseWhileUsed(const char* what) const;
    [[noreturn]] void refuse(const std::string& why) const;

    std::shared_ptr<io::DiskImage> m_image;  ///< null when closed; users hold it, too
    std::weak_ptr<io::DiskImage> m_owner;    ///< expired unless somebody writes or closes it
    std::string m_axes;
    std::string m_path;
    std::shared_ptr<std::function<bool()>> m_asked;
};

/// The image on disk that Python gave; null for anything else.
OpenImage* openImageOf(pybind11::handle object);

}  // namespace rix::python
