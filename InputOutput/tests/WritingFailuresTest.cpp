#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>

#include <rix/io/ChunkedFile.h>
#include <rix/io/TextFile.h>

#include "TestImages.h"

namespace rix::io::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The file system refuses to let files grow beyond a size, as a full disk does.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) {
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_old);
        rlimit limit = m_old;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }

private:
    rlimit m_old{};
    void (*m_oldHandler)(int) = nullptr;
};

/// An image on a medium that fails at one of its rows.
class FaultyImage : public MemoryImage {
public:
    std::size_t faultyRow = 0;

    bool readRowAt(std::size_t count, RawData buffer, std::size_t column, std::size_t row, std::size_t plane,
                   std::size_t sequence, std::size_t spectral) const override {
        return row != faultyRow && MemoryImage::readRowAt(count, buffer, column, row, plane, sequence, spectral);
    }
    bool getRowAt(std::size_t count, RawData& address, std::size_t column, std::size_t row, std::size_t plane,
                  std::size_t sequence, std::size_t spectral) const override {
        return row != faultyRow && MemoryImage::getRowAt(count, address, column, row, plane, sequence, spectral);
    }
};

const std::vector<WriteOptions>& tiffOptions() {
    static const std::vector<WriteOptions> all{{},
                                               {.compression = Compression::Deflate},
                                               {.compression = Compression::Lzw, .tileColumns = 32, .tileRows = 32}};
    return all;
}

TEST(WritingFailures, AFullDiskLeavesTheOldFileAndNothingElse) {
    const TemporaryFolder folder;
    const MemoryImage image = randomImage(RIX_UINT8, {200, 200, 1, 1, 1});
    for (const char* name : {"image.tif", "image.png", "image.jpg"}) {
        for (const WriteOptions& options : tiffOptions()) {
            const WriteOptions& used = std::string(name) == "image.tif" ? options : tiffOptions().front();
            writeImage(folder / name, image, used);
            const auto bytes = std::filesystem::file_size(folder / name);
            const std::string old = "an older file";
            putContent(folder / name, old);
            // At the first byte, in the samples, just before the end.
            for (const rlim_t limit : {rlim_t{0}, rlim_t{5}, rlim_t{1000}, rlim_t{20000}, bytes - 300, bytes - 1}) {
                std::string text;
                {
                    const FullDisk disk(limit);
                    text = textOf<WritingError>([&] { writeImage(folder / name, image, used); });
                }
                EXPECT_THAT(text, HasSubstr("File too large")) << name << ' ' << limit;
                EXPECT_THAT(text, HasSubstr((folder / name).string()));
                EXPECT_THAT(folder.names(), ElementsAre(name));
                EXPECT_EQ(contentOf(folder / name), old);
            }
            {
                const FullDisk disk(bytes);
                writeImage(folder / name, image, used);
            }
            const auto read = readImage(folder / name);  // JPEG changes samples
            EXPECT_EQ(std::string(name) == "image.jpg" ? "" : difference(image, *read), "");
            std::filesystem::remove(folder / name);
        }
    }
}

TEST(WritingFailures, WhatIsKeptUntilItIsCompleteGoesOnWhenThereIsRoom) {
    const TemporaryFolder folder;
    const MemoryImage content = randomImage(RIX_UINT8, {200, 1000, 1, 1, 1});
    const auto image = createImage(folder / "image.nrrd");
    ASSERT_TRUE(image->reserve(RIX_UINT8, 200, 1000, 1, 1, 1));
    std::vector<std::uint8_t> row(200);
    const auto write = [&](std::size_t y) {
        return content.readRowAt(200, row.data(), 0, y, 0, 0, 0) && image->writeRowAt(200, row.data(), 0, y, 0, 0, 0);
    };
    for (std::size_t y = 0; y < 700; ++y) {
        ASSERT_TRUE(write(y));
    }
    for (int i = 0; i < 2; ++i) {
        const FullDisk disk(5000);
        EXPECT_THAT(textOf<WritingError>([&] { image->flush(); }), HasSubstr("File too large"));
        EXPECT_FALSE(write(700)) << "a row was taken that cannot be kept";
    }
    image->flush();
    for (std::size_t y = 700; y < 1000; ++y) {
        ASSERT_TRUE(write(y));
    }
    image->close();
    EXPECT_EQ(difference(content, *readImage(folder / "image.nrrd")), "");
    EXPECT_THAT(folder.names(), ElementsAre("image.nrrd"));
}

TEST(WritingFailures, AnImageThatGivesNoRow) {
    const TemporaryFolder folder;
    auto image = randomImage<FaultyImage>(RIX_UINT8, {40, 50, 1, 1, 3});
    image.setColorInterpretation(RGB);
    for (const std::size_t row : {0U, 31U, 49U}) {
        image.faultyRow = row;
        for (const char* name : {"image.tif", "image.png", "image.jpg"}) {
            const std::string text = textOf<WritingError>([&] { writeImage(folder / name, image); });
            EXPECT_THAT(text, HasSubstr("does not give its row " + std::to_string(row) + " "));
            EXPECT_THAT(text, HasSubstr(name));
            EXPECT_TRUE(folder.names().empty());
        }
    }
}

TEST(WritingFailures, TargetsThatCannotBe) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "folder.tif");
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    ASSERT_LT((folder / "socket.png").string().size(), sizeof(address.sun_path));
    std::strcpy(address.sun_path, (folder / "socket.png").c_str());
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ::close(listener);
    const MemoryImage image = randomImage(RIX_UINT8, {4, 4, 1, 1, 1});
    struct Case {
        const char* name;
        const char* reason;
    };
    for (const Case& c : {Case{"folder.tif", "This is a folder"}, Case{"socket.png", "neither a file nor a pipe"},
                          Case{"missing/image.tif", "' does not exist."},
                          Case{"image", "no extension that tells the format. Known are TIFF (.tif, .tiff), "},
                          Case{"image.gif", "'.gif' stands for no format that is known. Known are TIFF (.tif, .tiff)"},
                          Case{"image.tif.", "The extension '.' stands for no format"}}) {
        const std::string text = textOf<WritingError>([&] { writeImage(folder / c.name, image); });
        EXPECT_THAT(text, HasSubstr(c.reason));
        EXPECT_THAT(text, HasSubstr("Cannot write the image file '" + (folder / c.name).string() + "'."));
    }
    EXPECT_THROW(writeImage(folder / String("a\0.png", 6), image), WritingError);
    EXPECT_THAT(folder.names(), ElementsAre("folder.tif", "socket.png"));
}

TEST(WritingFailures, OptionsAndElementsThatTiffCannotHold) {
    const TemporaryFolder folder;
    MemoryImage vectors;
    ASSERT_TRUE(vectors.reserve(VECTOR_3, RIX_FLOAT32, 2, 2, 1, 1, 1));
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(folder / "image.tif", vectors); }),
                HasSubstr("TIFF cannot hold elements of type 3-Vector, only scalars. No other format can hold it."));
    const MemoryImage image = randomImage(RIX_UINT8, {4, 4, 1, 1, 1});
    for (const auto& [columns, rows] :
         {std::pair{16, 0}, std::pair{0, 16}, std::pair{17, 16}, std::pair{16, 1 << 20}}) {
        const WriteOptions options{.tileColumns = static_cast<std::size_t>(columns),
                                   .tileRows = static_cast<std::size_t>(rows)};
        EXPECT_THAT(textOf<WritingError>([&] { writeImage(folder / "image.tif", image, options); }),
                    HasSubstr("TIFF cannot have tiles of " + std::to_string(columns) + " x " + std::to_string(rows)));
    }
    EXPECT_TRUE(folder.names().empty());
}

TEST(WritingFailures, FoldersAndFilesWithoutPermission) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "root may do everything";
    }
    const TemporaryFolder folder;
    const MemoryImage image = randomImage(RIX_UINT8, {4, 4, 1, 1, 1});
    writeImage(folder / "image.tif", image);
    ::chmod((folder / "image.tif").c_str(), 0400);
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(folder / "image.tif", image); }), HasSubstr("write-protected"));
    ::chmod((folder / "image.tif").c_str(), 0200);
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(folder / "image.tif"); }), HasSubstr("permission denied"));
    ::chmod(folder.path().c_str(), 0500);
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(folder / "new.tif", image); }),
                HasSubstr("No file can be created"));
    ::chmod(folder.path().c_str(), 0700);
}

TEST(Writing, ReplacesThroughLinksAndKeepsPermissions) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "store");
    putContent(folder / "store/target.tif", "an older file");
    ::chmod((folder / "store/target.tif").c_str(), 0640);
    std::filesystem::create_symlink("store/target.tif", folder / "link.tif");
    const MemoryImage image = randomImage(RIX_UINT8, {4, 4, 1, 1, 1});
    writeImage(folder / "link.tif", image);
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.tif"));
    EXPECT_EQ(difference(image, *readImage(folder / "store/target.tif")), "");
    EXPECT_EQ(std::filesystem::status(folder / "store/target.tif").permissions(),
              static_cast<std::filesystem::perms>(0640));
    // A new file gets what the mask of the process allows.
    const mode_t old = ::umask(027);
    writeImage(folder / "new.png", image);
    ::umask(old);
    EXPECT_EQ(std::filesystem::status(folder / "new.png").permissions(), static_cast<std::filesystem::perms>(0640));
    std::filesystem::create_symlink("store/later.tif", folder / "dangling.tif");
    writeImage(folder / "dangling.tif", image);
    EXPECT_EQ(difference(image, *readImage(folder / "store/later.tif")), "");
}

TEST(Writing, KeepsOwnerAndOtherNamesOfAFile) {
    const TemporaryFolder folder;
    const MemoryImage image = randomImage(RIX_UINT8, {30, 40, 1, 1, 1});
    putContent(folder / "first.tif", std::string(5000, 'x'));
    std::filesystem::create_hard_link(folder / "first.tif", folder / "second.tif");
    writeImage(folder / "first.tif", image);
    EXPECT_EQ(difference(image, *readImage(folder / "second.tif")), "") << "both names show one file";
    EXPECT_EQ(std::filesystem::hard_link_count(folder / "first.tif"), 2U);
    {
        const FullDisk disk(100);
        EXPECT_THROW(writeImage(folder / "first.tif", randomImage(RIX_UINT8, {90, 90, 1, 1, 1})), WritingError);
    }
    EXPECT_EQ(difference(image, *readImage(folder / "second.tif")), "");
    EXPECT_THAT(folder.names(), ElementsAre("first.tif", "second.tif"));
    if (::geteuid() == 0) {  // who alone gives files away
        std::filesystem::remove(folder / "second.tif");
        ASSERT_EQ(::chown((folder / "first.tif").c_str(), 12345, 54321), 0);
        writeImage(folder / "first.tif", image);
        struct stat status{};
        ASSERT_EQ(::stat((folder / "first.tif").c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, 12345U);
        EXPECT_EQ(status.st_gid, 54321U);
    }
}

TEST(Writing, GoesToPipesAndOpenFilesAsTheyStand) {
    const TemporaryFolder folder;
    const MemoryImage image = randomImage(RIX_UINT8, {300, 400, 1, 1, 1});
    writeImage(folder / "expected.png", image);
    ASSERT_EQ(::mkfifo((folder / "pipe.png").c_str(), 0600), 0);
    std::thread writer([&] { writeImage(folder / "pipe.png", image); });
    const std::string piped = contentOf(folder / "pipe.png");
    writer.join();
    EXPECT_EQ(piped, contentOf(folder / "expected.png"));
    EXPECT_TRUE(std::filesystem::is_fifo(folder / "pipe.png"));

    // An open file that appends, as >> gives it: what it has stays.
    putContent(folder / "log.txt", "before, ");
    const int log = ::open((folder / "log.txt").c_str(), O_WRONLY | O_APPEND);
    writeTextFile("/dev/fd/" + std::to_string(log), "after");
    ::close(log);
    EXPECT_EQ(contentOf(folder / "log.txt"), "before, after");
    EXPECT_THROW(writeTextFile("/dev/full", "much"), WritingError);
}

}  // namespace
}  // namespace rix::io::test
