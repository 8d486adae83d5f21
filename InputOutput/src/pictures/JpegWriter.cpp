#include "JpegWriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <vector>

#include <jpeglib.h>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"
#include "../SampleRows.h"
#include "../Units.h"
#include "JpegErrors.h"

namespace rix::io {
namespace {

/// Above it files grow quickly, and the differences get little smaller.
constexpr int UsualQuality = 90;
constexpr std::size_t LongestComment = 65533;

struct Density {
    UINT8 unit;  ///< dots an inch (1) or a centimetre (2)
    UINT16 x;
    UINT16 y;
};

/// The density of a picture in the whole dots that JPEG counts, where they tell its spacing to half a per cent: a field
/// that is nearly right would be believed.
std::optional<Density> densityOf(const ImageFileInfo& info) {
    constexpr double largest = 65535.0;
    double least = 0.005;
    std::optional<Density> density;
    const auto metres = metresOf(info.spatialUnitName);
    for (const auto& [unit, length] : {std::pair<UINT8, double>{2, 0.01}, std::pair<UINT8, double>{1, 0.0254}}) {
        if (!metres) {
            break;
        }
        const double x = length / (info.spacing[COLUMNS] * *metres);
        const double y = length / (info.spacing[ROWS] * *metres);
        if (!(x >= 1.0 && x <= largest && y >= 1.0 && y <= largest)) {
            continue;
        }
        const double error = std::max(std::abs(std::round(x) / x - 1.0), std::abs(std::round(y) / y - 1.0));
        if (error < least) {
            least = error;
            density = Density{unit, static_cast<UINT16>(std::round(x)), static_cast<UINT16>(std::round(y))};
        }
    }
    return density;
}

/// Where libjpeg puts its bytes.
struct Destination : jpeg_destination_mgr {
    OutputFile* file = nullptr;
    std::uint64_t position = 0;
    std::array<JOCTET, std::size_t{1} << 16U> buffer{};

    void begin() {
        next_output_byte = buffer.data();
        free_in_buffer = buffer.size();
    }

    bool flush(std::size_t bytes) {
        const bool done = file->writeAt(position, buffer.data(), bytes);
        position += bytes;
        begin();
        return done;
    }
};

Destination& destinationOf(j_compress_ptr jpeg) {
    return *static_cast<Destination*>(jpeg->dest);
}

void flush(j_compress_ptr jpeg, std::size_t bytes) {
    if (!destinationOf(jpeg).flush(bytes)) {
        JpegErrors::stop(reinterpret_cast<j_common_ptr>(jpeg), "the file system refuses");
    }
}

/// One run of libjpeg into a file of ours.
class JpegOutput {
public:
    explicit JpegOutput(OutputFile& file) {
        m_destination.file = &file;
        m_destination.init_destination = [](j_compress_ptr jpeg) { destinationOf(jpeg).begin(); };
        m_destination.empty_output_buffer = [](j_compress_ptr jpeg) -> boolean {
            flush(jpeg, destinationOf(jpeg).buffer.size());
            return TRUE;
        };
        m_destination.term_destination = [](j_compress_ptr jpeg) {
            flush(jpeg, destinationOf(jpeg).buffer.size() - destinationOf(jpeg).free_in_buffer);
        };
        m_errors.watch(reinterpret_cast<j_common_ptr>(&m_jpeg));
        try {
            guarded([this] {
                jpeg_create_compress(&m_jpeg);
                m_jpeg.dest = &m_destination;
            });
        } catch (...) {
            jpeg_destroy_compress(&m_jpeg);
            throw;
        }
    }
    JpegOutput(const JpegOutput&) = delete;
    JpegOutput& operator=(const JpegOutput&) = delete;
    ~JpegOutput() { jpeg_destroy_compress(&m_jpeg); }

    jpeg_compress_struct& jpeg() { return m_jpeg; }

    /// @throws WritingError when libjpeg reports an error in it
    template <class Body>
    void guarded(Body body) {
        if (!m_errors.guarded(body)) {
            const String failure = m_destination.file->failure();
            throw WritingError("Writing failed: " + (failure.empty() ? String(m_errors.message()) : failure) + '.');
        }
    }

private:
    jpeg_compress_struct m_jpeg{};
    JpegErrors m_errors;
    Destination m_destination;
};

}  // namespace

String refusalOfJpeg(const ImageModel& image, const WriteOptions& options) {
    const ImageFileInfo info = describe(image);
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    const String shape = helper::describeImage(image);
    if (const String reason = refusalOfElements("JPEG", image); !reason.empty()) {
        return reason;
    }
    if (info.voxelType != RIX_UINT8) {
        return "JPEG cannot hold samples of type " + helper::voxelTypesToString(info.voxelType) + ", only uint8.";
    }
    if (info.interpretation != RIX_VALUE) {
        return String("JPEG changes samples a little, and so would make ") +
               (info.interpretation == RIX_LABEL ? "other labels." : "greys of a binary image.");
    }
    if (info.extents[PLANS] != 1 || info.extents[SEQUENCE] != 1 ||
        (channels != 1 && !(channels == 3 && info.colorInterpretation == RGB))) {
        return "JPEG cannot hold more than one plane of grey or RGB: " + shape + '.';
    }
    if (info.extents[COLUMNS] > JPEG_MAX_DIMENSION || info.extents[ROWS] > JPEG_MAX_DIMENSION) {
        return "JPEG cannot hold more than " + std::to_string(JPEG_MAX_DIMENSION) + " columns or rows: " + shape + '.';
    }
    if (options.compression != Compression::FormatDefault || options.tileColumns != 0 || options.tileRows != 0) {
        return "JPEG has a compression of its own and no tiles; what it takes is a quality.";
    }
    if (options.quality < 0 || options.quality > 100) {
        return "JPEG has qualities from 1 to 100, not " + std::to_string(options.quality) + '.';
    }
    if (formatOwnKeys(info).size() > LongestComment) {
        return "JPEG cannot hold units of such long names.";
    }
    return {};
}

void writeJpeg(OutputFile& file, const std::filesystem::path&, const ImageModel& image, const WriteOptions& options) {
    const ImageFileInfo info = describe(image);
    const std::size_t columns = info.extents[COLUMNS];
    const std::size_t channels = info.extents[SPECTRAL_SERIES];
    const auto density = densityOf(info);
    const String keys = formatOwnKeys(info);
    std::vector<std::uint8_t> row(columns);
    std::vector<std::uint8_t> pixels(channels == 1 ? 0 : columns * channels);
    JpegOutput output(file);
    jpeg_compress_struct& jpeg = output.jpeg();
    output.guarded([&] {
        jpeg.image_width = static_cast<JDIMENSION>(columns);
        jpeg.image_height = static_cast<JDIMENSION>(info.extents[ROWS]);
        jpeg.input_components = static_cast<int>(channels);
        jpeg.in_color_space = channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_set_defaults(&jpeg);
        jpeg_set_quality(&jpeg, options.quality == 0 ? UsualQuality : options.quality, TRUE);
        jpeg.comp_info[0].h_samp_factor = 1;  // colours have the resolution of the picture
        jpeg.comp_info[0].v_samp_factor = 1;
        if (density) {
            jpeg.density_unit = density->unit;
            jpeg.X_density = density->x;
            jpeg.Y_density = density->y;
        }
        jpeg_start_compress(&jpeg, TRUE);
        jpeg_write_marker(&jpeg, JPEG_COM, reinterpret_cast<const JOCTET*>(keys.data()),
                          static_cast<unsigned>(keys.size()));
    });
    for (std::size_t y = 0; y < info.extents[ROWS]; ++y) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            readRow(image, row.data(), columns, 0, y, 0, 0, channel);
            if (channels > 1) {
                copySamples(row.data(), 1, pixels.data() + channel, channels, columns, 1);
            }
        }
        JSAMPROW line = channels > 1 ? pixels.data() : row.data();
        output.guarded([&] { jpeg_write_scanlines(&jpeg, &line, 1); });
    }
    output.guarded([&] { jpeg_finish_compress(&jpeg); });
}

}  // namespace rix::io
