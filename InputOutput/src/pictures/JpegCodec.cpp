// JPEG changes samples: it is written when its name is given, and proposed for nothing.

#include <array>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

#include <rix/exceptions/Exception.h>

#include "../Codec.h"
#include "../Metadata.h"
#include "../Resolution.h"
#include "JpegErrors.h"
#include "JpegWriter.h"

namespace rix::io {
namespace {

constexpr std::array<const char*, 2> Extensions{"jpg", "jpeg"};
/// 64 samples in a bit, times the subsampling of colour.
constexpr std::uint64_t JpegRatio = 2048;
/// Sound files have about ten; each costs a pass over the picture.
constexpr int MostScans = 100;
constexpr unsigned LongestMarker = 0xFFFF;

bool recognises(std::span<const std::uint8_t> beginning) {
    return beginning.size() >= 3 && beginning[0] == 0xFF && beginning[1] == 0xD8 && beginning[2] == 0xFF;
}

/// One run of libjpeg over a file of ours.
class JpegSession {
public:
    explicit JpegSession(InputFile& file) : m_bytes(static_cast<std::size_t>(file.size())) {
        if (file.readAt(0, m_bytes.data(), m_bytes.size()) != m_bytes.size()) {
            throw LoadingError("Reading failed: " + file.failure() + '.');
        }
        m_errors.watch(reinterpret_cast<j_common_ptr>(&m_jpeg));
        m_progress.progress_monitor = &checkScans;
        try {
            guarded([this] {
                jpeg_create_decompress(&m_jpeg);
                m_jpeg.progress = &m_progress;
                jpeg_mem_src(&m_jpeg, m_bytes.data(), static_cast<unsigned long>(m_bytes.size()));
                jpeg_save_markers(&m_jpeg, JPEG_COM, LongestMarker);
                jpeg_read_header(&m_jpeg, TRUE);
            });
        } catch (...) {
            jpeg_destroy_decompress(&m_jpeg);
            throw;
        }
    }
    JpegSession(const JpegSession&) = delete;
    JpegSession& operator=(const JpegSession&) = delete;
    ~JpegSession() { jpeg_destroy_decompress(&m_jpeg); }

    jpeg_decompress_struct& jpeg() { return m_jpeg; }

    /// The lines of all comments.
    String comments() const {
        String text;
        for (auto* marker = m_jpeg.marker_list; marker != nullptr; marker = marker->next) {
            text.append(reinterpret_cast<const char*>(marker->data), marker->data_length);
            text += '\n';
        }
        return text;
    }

    /// @throws LoadingError when libjpeg reports damage in it
    template <class Body>
    void guarded(Body body) {
        if (!m_errors.guarded(body)) {
            throw LoadingError("The JPEG file is damaged: " + String(m_errors.message()) + '.');
        }
    }

private:
    static void checkScans(j_common_ptr jpeg) {
        if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > MostScans) {
            JpegErrors::stop(jpeg, "it has too many scans");
        }
    }

    std::vector<std::uint8_t> m_bytes;
    jpeg_decompress_struct m_jpeg{};
    JpegErrors m_errors;
    jpeg_progress_mgr m_progress{};
};

ImageFileInfo describe(JpegSession& session, const InputFile& file, const ReadOptions& options) {
    const jpeg_decompress_struct& jpeg = session.jpeg();
    const bool grey = jpeg.jpeg_color_space == JCS_GRAYSCALE;
    if (!grey && jpeg.jpeg_color_space != JCS_YCbCr && jpeg.jpeg_color_space != JCS_RGB) {
        throw LoadingError("The colours are kept as inks (CMYK) or in another way. Supported are greys and RGB.");
    }
    ImageFileInfo info;
    info.format = "JPEG";
    info.storage = "JPEG, lossy, 8 bits a sample";
    info.fileBytes = file.size();
    info.extents = {jpeg.image_width, jpeg.image_height, 1, 1, grey ? 1U : 3U};
    info.colorInterpretation = grey ? UNKNOWN : RGB;
    std::size_t bytes = 0;
    if (!helper::checkedMultiply(info.extents[0], info.extents[1] * info.extents[4], bytes)) {
        throw LoadingError("The header promises more bytes of samples than 64 bits can count.");
    }
    checkPromise(bytes, file.size(), JpegRatio, "JPEG");
    if (jpeg.saw_JFIF_marker != 0 && (jpeg.density_unit == 1 || jpeg.density_unit == 2)) {
        const double inMetre = jpeg.density_unit == 1 ? 1.0 / 0.0254 : 100.0;
        applyResolution(jpeg.X_density * inMetre, jpeg.Y_density * inMetre, options, info);
    }
    applyOwnKeys(parseKeys(session.comments()), info);
    return info;
}

ImageFileInfo readInfo(InputFile& file, const ReadOptions& options) {
    JpegSession session(file);
    return describe(session, file, options);
}

std::unique_ptr<MemoryImage> read(InputFile& file, const ReadOptions& options) {
    JpegSession session(file);
    const ImageFileInfo info = describe(session, file, options);
    PartialImage image(info, options);
    InterruptPoint interrupt(options.interrupted);
    jpeg_decompress_struct& jpeg = session.jpeg();
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    std::vector<std::uint8_t> line(info.extents[COLUMNS] * channels);
    session.guarded([&] {
        jpeg.out_color_space = channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_start_decompress(&jpeg);
    });
    for (std::size_t row = 0; row < image.kept(ROWS).end(); ++row) {
        std::uint8_t* target = line.data();
        session.guarded([&] { jpeg_read_scanlines(&jpeg, &target, 1); });
        interrupt.pass(line.size());
        for (std::size_t c = 0; c < channels; ++c) {
            image.put(line.data() + c, channels, {.row = row, .channel = c}, info.extents[COLUMNS]);
        }
    }
    if (image.kept(ROWS).end() == info.extents[ROWS]) {  // what comes behind is not looked at otherwise
        session.guarded([&] { jpeg_finish_decompress(&jpeg); });
    }
    return image.release();
}

}  // namespace

const Codec jpegCodec{"JPEG", Extensions, &recognises, &refusalOfJpeg, &readInfo, &read, &writeJpeg, false, true};

}  // namespace rix::io
