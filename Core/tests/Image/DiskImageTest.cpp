#include <rix/image/DiskImage.h>

#include <atomic>
#include <map>
#include <mutex>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include <rix/exceptions/Exception.h>
#include <rix/image/MemoryRefusals.h>
#include <rix/image/RowRefusals.h>
#include <rix/settings/Settings.h>

#include "ImageComparison.h"
#include "ImageFactories.h"
#include "ImageTestTools.h"
#include "Storages.h"

namespace rix {
namespace {

using test::Extents;
using test::huge;
using testing::HasSubstr;

/// The size of the cache while it lives.
class ScopedCache {
public:
    explicit ScopedCache(std::size_t bytes) { globalSettings().setValueAsSize_t(key, bytes); }
    ~ScopedCache() { globalSettings().remove(key); }
    ScopedCache(const ScopedCache&) = delete;
    ScopedCache& operator=(const ScopedCache&) = delete;

private:
    static constexpr const char* key = "RIX_DISK_CACHE_SIZE";
};

/// What a store was asked for, and what it kept: outlives the image.
struct Record {
    std::mutex mutex;
    std::map<std::size_t, std::vector<std::uint8_t>> chunks;
    std::map<std::size_t, int> reads;
    std::map<std::size_t, int> writes;
    std::atomic<bool> isFull{false};
    std::optional<ImageHeader> finished;
};

class RecordingStore final : public io::ChunkStore {
public:
    RecordingStore(Record& record, std::size_t bytes) : m_record(record), m_bytes(bytes) {}

    bool read(std::size_t chunk, RawData samples) override {
        const std::lock_guard lock(m_record.mutex);
        ++m_record.reads[chunk];
        const auto found = m_record.chunks.find(chunk);
        if (found != m_record.chunks.end()) {
            std::copy(found->second.begin(), found->second.end(), samples);
        }
        return found != m_record.chunks.end();
    }
    void write(std::size_t chunk, ConstRawData samples) override {
        if (m_record.isFull) {
            throw WritingError("no space is left for chunk " + std::to_string(chunk));
        }
        const std::lock_guard lock(m_record.mutex);
        ++m_record.writes[chunk];
        m_record.chunks[chunk].assign(samples, samples + m_bytes);
    }
    void finish(const ImageHeader& header) override { m_record.finished = header; }

private:
    Record& m_record;
    std::size_t m_bytes;
};

io::DiskImage::StoreMaker into(Record& record) {
    return [&record](const ImageHeader& header, const Extents& chunk) {
        const std::size_t elements = chunk[0] * chunk[1] * chunk[2] * chunk[3] * chunk[4];
        return std::make_unique<RecordingStore>(
            record, elements * helper::getSizeOf(header.voxelType) * helper::getElementNumber(header.elementType));
    };
}

bool shapeLike(const io::MemoryImage& content, io::DiskImage& image) {
    const Extents n = helper::getExtents(content);
    return image.reserve(content.getElementType(), content.getVoxelType(), n[0], n[1], n[2], n[3], n[4]);
}

TEST(DiskImage, KeepsWhatMemoryWould) {
    const test::ImageTraits traits[] = {{.voxelType = RIX_UINT8, .extents = {70, 41, 1, 1, 1}},
                                        {.voxelType = RIX_FLOAT64, .extents = {19, 9, 7, 2, 3}},
                                        {.voxelType = RIX_COMPLEX_FLOAT32, .extents = {1, 33, 2, 1, 1}}};
    for (const test::ImageTraits& each : traits) {
        const io::MemoryImage content = test::makeRandomImage(each, 3);
        for (const Extents& chunk :
             {Extents{}, Extents{1, 1, 1, 1, 1}, Extents{16, 5, 3, 1, 2}, Extents{99, 2, 2, 2, 2}}) {
            for (const std::size_t cache : {std::size_t{0}, std::size_t{3000}, std::size_t{1} << 30}) {
                const ScopedCache scope(cache);
                Record record;
                io::DiskImage image(into(record), chunk);
                io::DiskImage scratch;
                ASSERT_TRUE(shapeLike(content, image) && shapeLike(content, scratch));
                for (io::DiskImage* const written : {&image, &scratch}) {
                    EXPECT_TRUE(written->isOnDisk());
                    test::copySamples(content, *written);
                    test::copyMeaning(content, *written);
                    EXPECT_TRUE(test::imagesEqual(content, *written));
                    // Parts of rows over again, from the last to the first.
                    for (std::size_t y = content.getNumOf(ROWS); y-- > 0;) {
                        std::uint8_t samples[64] = {};
                        const std::size_t count = std::min<std::size_t>(3, content.getNumOf(COLUMNS));
                        EXPECT_TRUE(content.readRowAt(count, samples, content.getNumOf(COLUMNS) - count, y, 0, 0, 0));
                        EXPECT_TRUE(written->writeRowAt(count, samples, content.getNumOf(COLUMNS) - count, y, 0, 0, 0));
                    }
                    EXPECT_TRUE(test::imagesEqual(content, *written));
                }
                const io::DiskImage::Extents kept = image.chunkExtents();
                image.close();
                ASSERT_TRUE(record.finished.has_value());
                EXPECT_FALSE(image.readRowAt(1, record.chunks[0].data(), 0, 0, 0, 0, 0));
                std::size_t bytes = record.chunks[0].size();
                io::DiskImage again(std::make_unique<RecordingStore>(record, bytes), *record.finished, kept);
                EXPECT_TRUE(test::imagesEqual(content, again));
                EXPECT_FALSE(again.writeRowAt(1, record.chunks[0].data(), 0, 0, 0, 0, 0));
                EXPECT_FALSE(again.isWritable() || again.reserve(RIX_UINT8, 1, 2, 3, 4, 5));
            }
        }
    }
}

TEST(DiskImage, WritesAndReadsEachChunkOnceWhereTheCacheHoldsARowOfThem) {
    const io::MemoryImage content = test::makeRandomImage({.voxelType = RIX_UINT16, .extents = {100, 64, 1, 1, 1}}, 4);
    const ScopedCache scope(std::size_t{10} * 16 * 8 * 2);  // seven chunks are a row of them
    Record record;
    io::DiskImage image(into(record), {16, 8, 1, 1, 1});
    ASSERT_TRUE(shapeLike(content, image));
    test::copySamples(content, image);
    image.flush();
    EXPECT_EQ(record.writes.size(), 56U);
    for (const auto& [chunk, writes] : record.writes) {
        EXPECT_EQ(writes, 1) << chunk;
        EXPECT_EQ(record.reads[chunk], 1) << chunk << ", which is asked for once before it is there";
    }
    record.reads.clear();
    io::DiskImage again(std::make_unique<RecordingStore>(record, 256), image.header(), {16, 8, 1, 1, 1});
    EXPECT_TRUE(test::imagesEqual(content, again));
    for (const auto& [chunk, reads] : record.reads) {
        EXPECT_EQ(reads, 1) << chunk;
    }
}

TEST(DiskImage, LosesNothingWhenAChunkCannotBeWritten) {
    const io::MemoryImage content = test::makeRandomImage({.voxelType = RIX_UINT8, .extents = {32, 32, 1, 1, 1}}, 5);
    const ScopedCache scope(512);
    Record record;
    io::DiskImage image(into(record), {16, 16, 1, 1, 1});
    ASSERT_TRUE(shapeLike(content, image));
    record.isFull = true;
    std::vector<std::uint8_t> row(32);
    std::size_t y = 0;
    for (bool isTaken = true; isTaken && y < 32; y += isTaken ? 1 : 0) {
        ASSERT_TRUE(content.readRowAt(32, row.data(), 0, y, 0, 0, 0));
        isTaken = image.writeRowAt(32, row.data(), 0, y, 0, 0, 0);
    }
    ASSERT_LT(y, 32U) << "more was taken than there is room for";
    EXPECT_THAT(helper::takeRowRefusal(), HasSubstr("no space is left"));
    EXPECT_THAT([&] { image.flush(); }, testing::ThrowsMessage<WritingError>(HasSubstr("no space is left")));
    EXPECT_THAT([&] { image.close(); }, testing::ThrowsMessage<WritingError>(HasSubstr("no space is left")));
    EXPECT_FALSE(record.finished.has_value());
    record.isFull = false;
    image.flush();
    for (; y < 32; ++y) {
        ASSERT_TRUE(content.readRowAt(32, row.data(), 0, y, 0, 0, 0));
        ASSERT_TRUE(image.writeRowAt(32, row.data(), 0, y, 0, 0, 0));
    }
    EXPECT_TRUE(test::imagesEqual(content, image, {.headers = test::ComparisonOptions::Headers::ExtentsAndTypes}));
    image.close();
    EXPECT_TRUE(record.finished.has_value());
}

TEST(DiskImage, ServesManyThreadsFromACacheOfOneChunk) {
    const io::MemoryImage content = test::makeRandomImage({.voxelType = RIX_UINT32, .extents = {61, 96, 1, 1, 1}}, 6);
    const ScopedCache scope(1);
    io::DiskImage image(io::DiskImage::StoreMaker{}, {8, 8, 1, 1, 1});
    ASSERT_TRUE(shapeLike(content, image));
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (std::size_t first = 0; first < 4; ++first) {
        threads.emplace_back([&, first] {
            std::vector<std::uint8_t> row(61 * 4);
            std::vector<std::uint8_t> back(61 * 4);
            for (std::size_t y = first; y < 96; y += 4) {
                bool isRight = content.readRowAt(61, row.data(), 0, y, 0, 0, 0) &&
                               image.writeRowAt(61, row.data(), 0, y, 0, 0, 0) &&
                               image.readRowAt(61, back.data(), 0, y, 0, 0, 0) && row == back;
                wrong += isRight ? 0 : 1;
                if (y % 16 == 0) {
                    image.flush();
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(test::imagesEqual(content, image, {.headers = test::ComparisonOptions::Headers::ExtentsAndTypes}));
}

TEST(DiskImage, SaysWhyItCannotBeShaped) {
    io::DiskImage image;
    EXPECT_FALSE(image.reserve(RIX_FLOAT64, huge, 2, 1, 1, 1));
    EXPECT_THAT(helper::takeRowRefusal(), HasSubstr("fits no file"));
    globalSettings().setTemporaryDataDirectory("/nowhere/at/all");
    EXPECT_FALSE(image.reserve(RIX_UINT8, 5, 5, 1, 1, 1));
    globalSettings().remove("RIX_TEMPORARY_DATA_DIRECTORY");
    EXPECT_THAT(helper::takeRowRefusal(), HasSubstr("/nowhere/at/all"));
    {
        const helper::MemoryRefusals refusals;
        EXPECT_FALSE(image.reserve(RIX_FLOAT64, huge, 2, 1, 1, 1));
        ResizeImageError error("The output cannot be resized.");
        refusals.explain(error);
        EXPECT_THAT(error.getInfo(), HasSubstr("fits no file"));
    }
    EXPECT_EQ(image.getNumOf(COLUMNS), 0U);
    EXPECT_TRUE(image.reserve(RIX_UINT8, 0, 5, 1, 1, 1));
    std::uint8_t sample = 0;
    EXPECT_FALSE(image.readRowAt(1, &sample, 0, 0, 0, 0, 0));
    ASSERT_TRUE(image.reserve(RIX_UINT8, 5, 4, 3, 2, 1));
    EXPECT_TRUE(image.readRowAt(1, &sample, 4, 3, 2, 1, 0));
    for (std::size_t axis = 0; axis < 5; ++axis) {
        Extents p{};
        p[axis] = image.getNumOf(static_cast<Components>(axis));
        EXPECT_FALSE(image.readRowAt(1, &sample, p[0], p[1], p[2], p[3], p[4])) << axis;
        EXPECT_FALSE(image.writeRowAt(1, &sample, p[0], p[1], p[2], p[3], p[4])) << axis;
    }
    EXPECT_FALSE(image.readRowAt(huge, &sample, 1, 0, 0, 0, 0));
}

TEST(DiskImage, StaysWithTheParentOfAFork) {
    const ScopedCache scope(64);
    io::DiskImage image(io::DiskImage::StoreMaker{}, {4, 4, 1, 1, 1});
    ASSERT_TRUE(image.reserve(RIX_UINT8, 16, 16, 1, 1, 1));
    test::spoil(image, 7);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        std::uint8_t sample = 9;
        io::DiskImage own;
        bool isRight = !image.writeRowAt(1, &sample, 0, 0, 0, 0, 0) && own.reserve(RIX_UINT8, 99, 99, 1, 1, 1) &&
                       own.writeRowAt(1, &sample, 98, 98, 0, 0, 0);
        ::_exit(isRight ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    for (std::size_t y = 0; y < 16; ++y) {
        std::vector<std::uint8_t> row(16);
        EXPECT_TRUE(image.readRowAt(16, row.data(), 0, y, 0, 0, 0));
        EXPECT_EQ(row, std::vector<std::uint8_t>(16, 7));
    }
}

}  // namespace
}  // namespace rix
