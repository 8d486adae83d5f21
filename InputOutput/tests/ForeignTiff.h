#pragma once

#include "RawTiff.h"
#include "TestImages.h"

namespace rix::io::test {

using Bytes = std::vector<std::uint8_t>;

/// A TIFF file that the test writes without our code and reads with it.
class ForeignTiff : public testing::Test {
protected:
    std::string refusal() const {
        const std::string text = textOf<LoadingError>([&] { readImage(m_path); });
        EXPECT_EQ(text, textOf<LoadingError>([&] { readImageInfo(m_path); }));
        return text;
    }

    /// Pages of one pixel, each with its number as value.
    void writePages(int pages, const std::string& description) const {
        RawTiff raw(m_path);
        for (int page = 0; page < pages; ++page) {
            raw.page(1, 1, 8).block(0, Bytes{static_cast<std::uint8_t>(page)});
            if (page == 0) {
                raw.set(TIFFTAG_IMAGEDESCRIPTION, description.c_str());
            }
            raw.endPage();
        }
    }

    template <class Sample>
    std::vector<Sample> read() const {
        const auto image = readImage(m_path);
        EXPECT_EQ(helper::getSizeOf(image->getVoxelType()), sizeof(Sample));
        EXPECT_EQ(readImageInfo(m_path).extents, extentsOf(*image));
        return samplesOf<Sample>(*image);
    }

    const TemporaryFolder m_folder;
    const std::filesystem::path m_path = m_folder / "foreign";  // the content tells the format, not the name
};

}  // namespace rix::io::test
