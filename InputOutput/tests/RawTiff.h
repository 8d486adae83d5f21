#pragma once

#include <filesystem>
#include <stdexcept>
#include <vector>

#include <tiffio.h>

namespace rix::io::test {

/// A TIFF file as other programs write it: straight through libtiff, none of our code.
class RawTiff {
public:
    explicit RawTiff(const std::filesystem::path& path, const char* mode = "w") : m_tiff(TIFFOpen(path.c_str(), mode)) {
        if (m_tiff == nullptr) {
            throw std::runtime_error("libtiff opens no file");
        }
    }
    RawTiff(const RawTiff&) = delete;
    RawTiff& operator=(const RawTiff&) = delete;
    ~RawTiff() { TIFFClose(m_tiff); }

    TIFF* get() const { return m_tiff; }

    template <class... Values>
    RawTiff& set(std::uint32_t tag, Values... values) {
        if (TIFFSetField(m_tiff, tag, values...) != 1) {
            throw std::runtime_error("libtiff takes no tag " + std::to_string(tag));
        }
        return *this;
    }

    /// The tags that every page has.
    RawTiff& page(std::uint32_t columns, std::uint32_t rows, int bits, int samples = 1,
                  int photometric = PHOTOMETRIC_MINISBLACK, int format = SAMPLEFORMAT_UINT) {
        return set(TIFFTAG_IMAGEWIDTH, columns)
            .set(TIFFTAG_IMAGELENGTH, rows)
            .set(TIFFTAG_BITSPERSAMPLE, bits)
            .set(TIFFTAG_SAMPLESPERPIXEL, samples)
            .set(TIFFTAG_PHOTOMETRIC, photometric)
            .set(TIFFTAG_SAMPLEFORMAT, format)
            .set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG)
            .set(TIFFTAG_ROWSPERSTRIP, rows);
    }

    /// One strip or tile.
    template <class Sample>
    RawTiff& block(std::uint32_t index, std::vector<Sample> samples) {
        const auto bytes = static_cast<tmsize_t>(samples.size() * sizeof(Sample));
        const tmsize_t written = TIFFIsTiled(m_tiff) != 0 ? TIFFWriteEncodedTile(m_tiff, index, samples.data(), bytes)
                                                          : TIFFWriteEncodedStrip(m_tiff, index, samples.data(), bytes);
        if (written != bytes) {
            throw std::runtime_error("libtiff writes no block");
        }
        return *this;
    }

    RawTiff& endPage() {
        if (TIFFWriteDirectory(m_tiff) != 1) {
            throw std::runtime_error("libtiff writes no directory");
        }
        return *this;
    }

private:
    TIFF* m_tiff;
};

}  // namespace rix::io::test
