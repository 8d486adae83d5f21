// Parts of images: what a text selects, and that it is what is read, and no more.

#include "ForeignTiff.h"

namespace rix::io::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

struct Box {
    Extents first{};
    Extents count{1, 1, 1, 1, 1};

    std::string text() const {
        std::string text;
        for (std::size_t axis = 0; axis < first.size(); ++axis) {
            text += (text.empty() ? "" : ",") + std::string(1, "xyztc"[axis]) + '=' + std::to_string(first[axis]) +
                    ':' + std::to_string(first[axis] + count[axis]);
        }
        return text;
    }
};

/// The reference: a part of an image that was read whole.
MemoryImage crop(const MemoryImage& image, const Box& box) {
    ImageHeader header = helper::headerOf(image);
    const auto& directions = header.spatialDirections;
    const std::array<const vessel::Vector3d*, 3> steps{&directions.columnDirection, &directions.rowDirection,
                                                       &directions.sliceDirection};
    std::array<double, 3> way{};
    for (std::size_t axis = 0; axis < box.first.size(); ++axis) {
        const double length = static_cast<double>(box.first[axis]) * header.spacing[axis];
        header.origin[axis] += axis > PLANS ? length : 0.0;
        for (std::size_t i = 0; axis <= PLANS && box.first[axis] != 0 && i < way.size(); ++i) {
            way[i] += length * (*steps[axis])[i];
        }
    }
    for (std::size_t i = 0; i < way.size(); ++i) {
        header.origin[i] += way[i];
    }
    const bool keepsColour =
        box.first[SPECTRAL_SERIES] == 0 && (box.count[SPECTRAL_SERIES] == header.extents[SPECTRAL_SERIES] ||
                                            (header.colorInterpretation == RGB && box.count[SPECTRAL_SERIES] == 3));
    header.colorInterpretation = keepsColour ? header.colorInterpretation : UNKNOWN;
    header.extents = box.count;
    MemoryImage part;
    EXPECT_TRUE(helper::applyHeader(header, part));
    const auto& n = box.count;
    const auto& at = box.first;
    std::vector<std::uint8_t> row(n[0] * helper::getElementSize(image));
    for (std::size_t s = 0; s < n[4]; ++s) {
        for (std::size_t t = 0; t < n[3]; ++t) {
            for (std::size_t z = 0; z < n[2]; ++z) {
                for (std::size_t y = 0; y < n[1]; ++y) {
                    EXPECT_TRUE(image.readRowAt(n[0], row.data(), at[0], at[1] + y, at[2] + z, at[3] + t, at[4] + s));
                    EXPECT_TRUE(part.writeRowAt(n[0], row.data(), 0, y, z, t, s));
                }
            }
        }
    }
    return part;
}

Box randomBox(const Extents& extents, std::mt19937& random) {
    Box box;
    for (std::size_t axis = 0; axis < extents.size(); ++axis) {
        if (random() % 3 == 0) {  // all of it
            box.count[axis] = extents[axis];
            continue;
        }
        box.first[axis] = random() % extents[axis];
        box.count[axis] = 1 + random() % (extents[axis] - box.first[axis]);
    }
    return box;
}

/// Reads parts of a file and compares them with those of the whole.
void compareParts(const std::filesystem::path& path, unsigned seed, int parts) {
    std::mt19937 random(seed);
    const auto whole = readImage(path, {.warn = [](const String&) {}});
    for (int i = 0; i < parts; ++i) {
        const Box box = randomBox(extentsOf(*whole), random);
        const ReadOptions options = selecting(box.text());
        const MemoryImage expected = crop(*whole, box);
        ASSERT_EQ(difference(expected, *readImage(path, options)), "") << path << '[' << box.text() << ']';
        const ImageFileInfo info = readImageInfo(path, options);
        EXPECT_EQ(info.extents, box.count) << path << '[' << box.text() << ']';
        EXPECT_EQ(info.origin[ROWS], expected.getOriginOf(ROWS)) << path << '[' << box.text() << ']';
    }
}

TEST(Selections, ArePartsOfTheImageInEveryFormatOfEveryType) {
    const TemporaryFolder folder;
    struct Case {
        const char* name;
        WriteOptions options{};
    };
    unsigned seed = 0;
    for (const VoxelTypes type : rix::test::allTypes) {
        for (const Extents& shape :
             {Extents{37, 23, 1, 1, 1}, Extents{19, 33, 1, 1, 3}, Extents{18, 9, 5, 1, 1}, Extents{6, 5, 4, 3, 2}}) {
            MemoryImage image = randomImage(type, shape, ++seed);
            for (int axis = 0; axis < RIX_COMPONENTS_SIZE; ++axis) {
                image.setSpacingOf(static_cast<Components>(axis), 0.25 * (axis + 1));
                image.setOriginOf(static_cast<Components>(axis), axis - 3.5);
            }
            image.setSpatialDirections({{0.6, 0.8, 0.0}, {-0.8, 0.6, 0.0}, {0.0, 0.0, -1.0}});
            image.setSpatialUnitName("mm");
            interpret(image, seed % 3 == 0 ? RIX_BINARY : seed % 3 == 1 ? RIX_LABEL : RIX_VALUE);
            image.setColorInterpretation(shape[4] == 3 ? RGB : UNKNOWN);
            for (const Case& c :
                 {Case{"a.tif"}, Case{"a.tif", {.compression = Compression::Lzw}},
                  Case{"a.tif", {.compression = Compression::Deflate, .tileColumns = 16, .tileRows = 16}},
                  Case{"a.ome.tif"}, Case{"a.png"}, Case{"a.nrrd"}, Case{"a.nhdr"},
                  Case{"a.nrrd", {.compression = Compression::Deflate}}, Case{"a.mha"},
                  Case{"a.mhd", {.compression = Compression::Deflate}}, Case{"a.nii"}, Case{"a.nii.gz"},
                  Case{"a.npy", {.dropMetadata = true}}, Case{"a.ppm"}, Case{"a.bmp", {.dropMetadata = true}}}) {
                try {
                    writeImage(folder / c.name, image, c.options);
                } catch (const WritingError&) {
                    continue;  // not every format holds all
                }
                compareParts(folder / c.name, ++seed, 4);
            }
        }
    }
}

/// Layouts that we don't write: mirrored, packed, interlaced, palettes, channels in planes, samples of many pages in
/// one piece, ...
TEST(Selections, ArePartsOfForeignFiles) {
    unsigned seed = 0;
    int files = 0;
    for (const char* folder : {"tiff", "png", "nrrd", "meta_image", "nifti", "npy", "jpeg", "bmp", "pnm"}) {
        for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(RIX_FUZZ_CORPUS) / folder)) {
            try {
                readImage(entry.path(), {.warn = [](const String&) {}});
            } catch (const LoadingError&) {
                continue;
            }
            compareParts(entry.path(), ++seed, 20);
            ++files;
        }
    }
    EXPECT_GT(files, 70);
    const TemporaryFolder folder;
    const auto path = folder / "image.tif";
    for (const int orientation :
         {ORIENTATION_TOPLEFT, ORIENTATION_TOPRIGHT, ORIENTATION_BOTRIGHT, ORIENTATION_BOTLEFT}) {
        for (const int samples : {1, 3}) {
            for (const int rowsOfStrip : {1, 4, 20}) {
                for (const bool separate : {false, true}) {
                    RawTiff raw(path, "wb");
                    raw.page(7, 20, 16, samples, samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK)
                        .set(TIFFTAG_ORIENTATION, orientation)
                        .set(TIFFTAG_ROWSPERSTRIP, rowsOfStrip)
                        .set(TIFFTAG_PLANARCONFIG, separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
                    const std::uint32_t strips = TIFFNumberOfStrips(raw.get());
                    std::mt19937 random(seed);
                    for (std::uint32_t strip = 0; strip < strips; ++strip) {
                        std::vector<std::uint16_t> block(static_cast<std::size_t>(TIFFVStripSize(
                                                             raw.get(), static_cast<std::uint32_t>(rowsOfStrip))) /
                                                         2);
                        std::generate(block.begin(), block.end(), [&] { return static_cast<std::uint16_t>(random()); });
                        raw.block(strip, block);
                    }
                    raw.endPage();
                }
                compareParts(path, ++seed, 6);
            }
        }
    }
}

/// Bytes that this process has read so far.
std::uint64_t bytesRead() {
    std::ifstream counters("/proc/self/io");
    std::string name;
    std::uint64_t value = 0;
    while (counters >> name >> value) {
        if (name == "rchar:") {
            return value;
        }
    }
    ADD_FAILURE() << "the system counts no bytes";
    return 0;
}

TEST(Selections, ReadAndKeepNothingElse) {
    const TemporaryFolder folder;
    // 64 GiB of samples, nearly all of them a hole in the file.
    putContent(folder / "a.raw", "");
    std::filesystem::resize_file(folder / "a.raw", std::uint64_t{1} << 36U);
    const std::string nrrd =
        "NRRD0005\ntype: uchar\ndimension: 3\nsizes: 4096 4096 4096\nencoding: raw\ndata file: a.raw\n";
    const std::string channels =
        "NRRD0005\ntype: uchar\ndimension: 4\nsizes: 4096 4 4096 1024\n"
        "kinds: list domain domain domain\nencoding: raw\ndata file: a.raw\n";
    const auto selected = [](const std::filesystem::path& path, const std::string& text, std::uint64_t memory,
                             std::uint64_t most) {
        ReadOptions options = selecting(text);
        options.maximumImageSize = memory;
        const std::uint64_t before = bytesRead();
        const auto image = readImage(path, options);
        EXPECT_LT(bytesRead() - before, most) << path << '[' << text << ']';
        return extentsOf(*image);
    };
    putContent(folder / "a.nhdr", nrrd);
    EXPECT_EQ(selected(folder / "a.nhdr", "z=4000,y=10:20,x=-96:", 960, 10 * 4096 + 20000), (Extents{96, 10, 1, 1, 1}));
    EXPECT_EQ(selected(folder / "a.nhdr", "z=1:3,y=-1", 8192, 30000), (Extents{4096, 1, 2, 1, 1}));
    putContent(folder / "a.nhdr", channels);
    EXPECT_EQ(selected(folder / "a.nhdr", "c=7,y=4095,z=:10", 40, 10 * 16384 + 20000), (Extents{4, 1, 10, 1, 1}));

    // Pages that are not selected may even be damaged.
    for (const bool compressed : {true, false}) {
        const MemoryImage image = randomImage(RIX_UINT16, {300, 200, 20, 1, 1});
        writeImage(folder / "a.tif", image, {.compression = compressed ? Compression::Deflate : Compression::None});
        EXPECT_EQ(selected(folder / "a.tif", "z=7", 120000, 200000), (Extents{300, 200, 1, 1, 1}));
        EXPECT_LT(selected(folder / "a.tif", "z=7,y=3:5,x=2:4", 8, compressed ? 200000 : 60000)[0], 3U);
        if (compressed) {
            std::string content = contentOf(folder / "a.tif");
            std::fill_n(content.begin() + static_cast<std::ptrdiff_t>(content.size() / 40 * 31), 5000, 'x');  // page 16
            putContent(folder / "a.tif", content);
            EXPECT_THROW(readImage(folder / "a.tif"), LoadingError);
            EXPECT_EQ(difference(crop(image, {{0, 0, 1, 0, 0}, {300, 200, 2, 1, 1}}),
                                 *readImage(folder / "a.tif", selecting("z=1:3"))),
                      "");
        }
    }
}

TEST(Selections, WhatIsNoneSaysWhatIsAccepted) {
    const TemporaryFolder folder;
    writeImage(folder / "a.tif", randomImage(RIX_UINT8, {30, 20, 10, 1, 1}));
    for (const auto& [text, message] : std::initializer_list<std::pair<const char*, const char*>>{
             {"", "The selection '' means nothing. A selection has parts such as x=100:300"},
             {"x=1,,y=2", "The selection '' means nothing"},
             {"q=1", "The selection 'q=1' means nothing"},
             {"x", "'x' means nothing"},
             {"x=", "has '' for an index. An axis takes an index (3, or -1 for the last one) or a range"},
             {"x=1:b", "has 'b' for an index"},
             {"x=1:2:3", "has a step"},
             {"x=9223372036854775808", "has '9223372036854775808' for an index"},
             {"x=1, x=2", "The selection 'x=2' comes after another one of x."},
             {"series=-1", "takes the number of an image"},
             {"axes=", "names no axis"},
             {"axes=zyz", "names the axis z twice"},
             {"axes=zwx", "has 'w' for an axis"},
             {"axes=z0yx", "an axis of 0 elements"}}) {
        EXPECT_THAT(textOf<SerializationException>([&, text = text] { parseSelection(text); }), HasSubstr(message));
    }
    for (const auto& [text, message] : std::initializer_list<std::pair<const char*, const char*>>{
             {"z=10",
              "The selection 'z=10' is not in the image: z goes from 0 to 9. The image has x 0:30, y 0:20, z 0:10"},
             {"z=-11", "'z=-11' is not in the image"},
             {"x=20:31", "'x=20:31' reaches beyond the image: x goes from 0 to 29"},
             {"x=-9223372036854775808:", "reaches beyond the image"},
             {"y=5:5", "'y=5:5' is empty"},
             {"y=-1:2", "'y=-1:2' is empty"},
             {"t=1", "t goes from 0 to 0"},
             {"series=1", "'series=1' is not in the file: it has one image, series=0."},
             {"axes=zyxc", "does not end with yx"},
             {"axes=tzyx", "all of them but one need a number"},
             {"axes=tz3yx", "asks for a multiple of 3 pages; the file has 10"},
             {"axes=z18446744073709551615t2yx", "more pages than 64 bits can count"},
             {"axes=z5yx", "asks for 5 pages; the file has 10"}}) {
        const std::string whole =
            textOf<LoadingError>([&, text = text] { readImage(folder / "a.tif", selecting(text)); });
        EXPECT_THAT(whole, AllOf(HasSubstr(message), HasSubstr("a.tif")));
        EXPECT_EQ(whole, textOf<LoadingError>([&, text = text] { readImageInfo(folder / "a.tif", selecting(text)); }));
    }
    const auto image = readImage(folder / "a.tif", selecting(" x = -5 : , y=:-18,z=-1 , series=0"));
    EXPECT_EQ(extentsOf(*image), (Extents{5, 2, 1, 1, 1}));
    EXPECT_EQ(image->getOriginOf(PLANS), 9.0);
}

TEST(Selections, NamesWithBracketsAreNamesWhereThereAreSuchFiles) {
    const TemporaryFolder folder;
    const auto split = [&](const std::string& name) {
        const SelectedFile file = splitSelection(folder / name);
        return file.path.filename().string() + '|' + file.selection;
    };
    for (const char* name : {"a.tif", "a[z=1].tif", "b[z=1]"}) {
        putContent(folder / name, "x");
    }
    EXPECT_EQ(split("a.tif[z=1]"), "a.tif|z=1");
    EXPECT_EQ(split("missing.tif[z=1]"), "missing.tif|z=1");
    EXPECT_EQ(split("a[z=1].tif"), "a[z=1].tif|");
    EXPECT_EQ(split("a[z=1].tif[x=2]"), "a[z=1].tif|x=2");
    EXPECT_EQ(split("b[z=1]"), "b[z=1]|");
    EXPECT_EQ(split("a.tif[3]"), "a.tif|3");
    EXPECT_EQ(split("cell[12]"), "cell[12]|");
    EXPECT_EQ(splitSelection("[z=1]").selection, "");
}

}  // namespace
}  // namespace rix::io::test
