#include "Image/BufferAllocation.h"
#include "Testing.h"

namespace rix::buffer {
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr bool isRecycling = false;
#else
constexpr bool isRecycling = true;
#endif

TEST(BufferAllocation, AlignmentAndUse) {
    for (const std::size_t bytes : {std::size_t{1}, std::size_t{63}, std::size_t{65}, hugePageSize - 1, hugePageSize,
                                    hugePageSize + 1, 3 * hugePageSize + 12345}) {
        void* const address = allocate(bytes);
        const std::size_t alignment = bytes < hugePageSize ? smallAlignment : hugePageSize;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(address) % alignment, 0U) << bytes;
        std::memset(address, 0xa5, bytes);
        release(address, bytes);
    }
    EXPECT_EQ(allocate(0), nullptr);
    release(nullptr, 0);
}

TEST(BufferAllocation, ImpossibleSizesThrow) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    for (const std::size_t bytes : {most, most - hugePageSize, most / 2, most / 2 + 1, std::size_t{1} << 50}) {
        EXPECT_THROW(static_cast<void>(allocate(bytes)), std::bad_alloc) << bytes;
    }
}

TEST(BufferAllocation, KeepsTheMostRecentUpToTheLimit) {
    if (!isRecycling) {
        GTEST_SKIP() << "no recycling under the address sanitizer";
    }
    releaseRecycled();
    EXPECT_EQ(recycledBytes(), 0U);
    const std::size_t bytes = 3 * hugePageSize - 5;
    void* const first = allocate(bytes);
    void* const second = allocate(bytes);
    EXPECT_NE(first, second);
    release(first, bytes);
    release(second, bytes);
    EXPECT_EQ(recycledBytes(), 6 * hugePageSize);
    EXPECT_EQ(allocate(3 * hugePageSize), second) << "the last one released, for any size of the same capacity";
    EXPECT_EQ(allocate(bytes), first);
    EXPECT_EQ(recycledBytes(), 0U);
    release(first, bytes);
    release(second, bytes);

    // Many small ones push the two out, and the limit holds all the time. The pages are never touched.
    std::vector<void*> blocks;
    for (std::size_t i = 0; i < recycledLimit / hugePageSize + 3; ++i) {
        blocks.push_back(allocate(hugePageSize));
    }
    for (void* const block : blocks) {
        release(block, hugePageSize);
        EXPECT_LE(recycledBytes(), recycledLimit);
    }
    EXPECT_EQ(recycledBytes(), recycledLimit);
    void* const fresh = allocate(bytes);
    EXPECT_EQ(recycledBytes(), recycledLimit) << "the oldest went, so there was none of this size to take";
    release(fresh, bytes);
    EXPECT_EQ(allocate(bytes), fresh);
    release(fresh, bytes);

    const std::size_t tooBig = recycledLimit + 1;
    const std::size_t before = recycledBytes();
    release(allocate(tooBig), tooBig);
    EXPECT_EQ(recycledBytes(), before) << "a block beyond the limit pushes nothing out";
    release(allocate(recycledLimit), recycledLimit);
    EXPECT_EQ(recycledBytes(), recycledLimit);
    releaseRecycled();
    EXPECT_EQ(recycledBytes(), 0U);
}

TEST(BufferAllocation, ManyThreads) {
    std::vector<std::thread> threads;
    std::vector<int> damaged(4, 0);
    for (std::size_t t = 0; t < damaged.size(); ++t) {
        threads.emplace_back([t, &damaged] {
            for (std::size_t i = 0; i < 200; ++i) {
                const std::size_t bytes = hugePageSize * (1 + (i + t) % 3);
                auto* const block = static_cast<std::uint8_t*>(allocate(bytes));
                block[0] = block[bytes - 1] = static_cast<std::uint8_t>(t);
                std::this_thread::yield();
                damaged[t] += block[0] != t || block[bytes - 1] != t;
                release(block, bytes);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(damaged, std::vector<int>(4, 0));
    EXPECT_LE(recycledBytes(), recycledLimit);
    releaseRecycled();
}

}  // namespace
}  // namespace rix::buffer
