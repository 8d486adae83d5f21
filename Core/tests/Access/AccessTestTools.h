#pragma once

#include <rix/access/PlainContext.h>

#include "Testing.h"

namespace rix::test {

inline io::MemoryImage imageOf(VoxelTypes type, std::array<std::size_t, 5> n) {
    io::MemoryImage image;
    EXPECT_TRUE(image.reserve(type, n[0], n[1], n[2], n[3], n[4]));
    return image;
}

/// A memory image that hides its addresses: rows can only be copied, copies are counted, and accesses may fail.
class CopyOnly : public io::MemoryImage {
public:
    using MemoryImage::MemoryImage;
    bool getRowAt(std::size_t, RawData&, std::size_t, std::size_t, std::size_t, std::size_t,
                  std::size_t) const override {
        return false;
    }
    bool readRowAt(std::size_t n, RawData buffer, std::size_t x, std::size_t y, std::size_t z, std::size_t t,
                   std::size_t s) const override {
        ConstRawData row = nullptr;
        if (fails || ++reads > allowedReads || !address(row, n, x, y, z, t, s)) {
            return false;
        }
        elementsRead += n;
        return std::memcpy(buffer, row, n * m_oneDataSize) != nullptr;
    }
    bool writeRowAt(std::size_t n, ConstRawData buffer, std::size_t x, std::size_t y, std::size_t z, std::size_t t,
                    std::size_t s) override {
        ConstRawData row = nullptr;
        return !fails && address(row, n, x, y, z, t, s) &&
               std::memcpy(const_cast<RawData>(row), buffer, n * m_oneDataSize) != nullptr;
    }
    ConstRawData getImageBuffer() const override { return nullptr; }
    RawData getImageBuffer() override { return nullptr; }

    bool fails = false;
    std::size_t allowedReads = std::numeric_limits<std::size_t>::max();
    mutable std::atomic<std::size_t> reads = 0;
    mutable std::atomic<std::size_t> elementsRead = 0;

private:
    bool address(ConstRawData& row, std::size_t n, std::size_t x, std::size_t y, std::size_t z, std::size_t t,
                 std::size_t s) const {
        RawData found = nullptr;
        const bool inside = MemoryImage::getRowAt(n, found, x, y, z, t, s);
        row = found;
        return inside;
    }
};

/// A copy of an image of the same samples that can only be read by copying.
inline void copyInto(CopyOnly& copy, const io::MemoryImage& image) {
    const auto n = helper::getExtents(image);
    std::size_t count = 0;
    ASSERT_TRUE(helper::getElementCount(image, count));
    ASSERT_TRUE(copy.reserve(image.getElementType(), image.getVoxelType(), n[0], n[1], n[2], n[3], n[4]));
    RawData first = nullptr;
    ASSERT_TRUE(copy.MemoryImage::getRowAt(1, first, 0, 0, 0, 0, 0));
    std::memcpy(first, image.getImageBuffer(), count * helper::getElementSize(image));
}

/// A run without a frame.
class TestContext : public access::PlainContext {
public:
    explicit TestContext(access::BlockScheduler& scheduler) : PlainContext(scheduler, 2) {}

    bool isCancelled() const override { return blocks >= cancelAfterBlocks; }
    void blockDone(double work) override {
        ++blocks;
        done = done + work;
    }
    void startStep(double work) override { announced += work; }

    std::atomic<std::size_t> blocks = 0;
    std::size_t cancelAfterBlocks = std::numeric_limits<std::size_t>::max();
    std::atomic<double> done = 0;
    double announced = 0;
};

/// Bit for bit, but a NaN equals every NaN.
template <class T>
bool sameSample(const T& a, const T& b) {
    if constexpr (access::isComplex<T>) {
        return sameSample(a.real(), b.real()) && sameSample(a.imag(), b.imag());
    } else if constexpr (std::is_floating_point_v<T>) {
        return (a != a && b != b) || std::memcmp(&a, &b, sizeof(T)) == 0;
    } else {
        return a == b;
    }
}

}  // namespace rix::test
