#include "LabelingImages.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <vector>

namespace rix::bench {
namespace {

constexpr std::size_t side2d = labelingSide;
constexpr std::size_t side3d = 256;

io::MemoryImage emptyImage(std::size_t columns, std::size_t rows, std::size_t planes) {
    io::MemoryImage image;
    if (!image.reserve(RIX_UINT8, columns, rows, planes, 1, 1)) {
        std::abort();
    }
    return image;
}

/// Running sums of `2 * radius + 1` samples along one axis, the axis closed to a ring.
void smooth(std::vector<float>& values, std::size_t stride, std::size_t length, int radius) {
    std::vector<float> line(length);
    const auto wrap = [length](std::ptrdiff_t i) {
        const auto n = static_cast<std::ptrdiff_t>(length);
        return static_cast<std::size_t>((i % n + n) % n);
    };
    for (std::size_t first = 0; first < values.size(); ++first) {
        if (first / stride % length != 0) {
            continue;
        }
        float sum = 0;
        for (std::size_t i = 0; i < length; ++i) {
            line[i] = values[first + i * stride];
        }
        for (int i = -radius; i <= radius; ++i) {
            sum += line[wrap(i)];
        }
        for (std::size_t i = 0; i < length; ++i) {
            values[first + i * stride] = sum;
            sum += line[wrap(static_cast<std::ptrdiff_t>(i) + radius + 1)] -
                   line[wrap(static_cast<std::ptrdiff_t>(i) - radius)];
        }
    }
}

/// The brighter half of noise that was smoothed three times in all directions.
io::MemoryImage smoothedNoise(std::size_t side, std::size_t planes, int radius) {
    std::mt19937 random(7);
    std::vector<float> values(side * side * planes);
    for (float& value : values) {
        value = static_cast<float>(random() & 0xFFFF) / 65536.0F;
    }
    for (int pass = 0; pass < 3; ++pass) {
        smooth(values, 1, side, radius);
        smooth(values, side, side, radius);
        if (planes > 1) {
            smooth(values, side * side, planes, radius);
        }
    }
    std::vector<float> sorted = values;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    io::MemoryImage image = emptyImage(side, side, planes);
    for (std::size_t i = 0; i < values.size(); ++i) {
        image.getInternalBuffer()[i] = values[i] > *middle ? 255 : 0;
    }
    return image;
}

/// Discs of different sizes on a jittered grid: nearly all apart.
io::MemoryImage cells() {
    std::mt19937 random(11);
    io::MemoryImage image = emptyImage(side2d, side2d, 1);
    std::fill_n(image.getInternalBuffer(), side2d * side2d, std::uint8_t{0});
    constexpr std::size_t pitch = 64;
    for (std::size_t gy = 0; gy < side2d / pitch; ++gy) {
        for (std::size_t gx = 0; gx < side2d / pitch; ++gx) {
            const auto cx = static_cast<double>(gx * pitch + 20 + random() % 24);
            const auto cy = static_cast<double>(gy * pitch + 20 + random() % 24);
            const double radius = 8 + static_cast<double>(random() % 14);
            for (std::size_t y = gy * pitch; y < (gy + 1) * pitch; ++y) {
                for (std::size_t x = gx * pitch; x < (gx + 1) * pitch; ++x) {
                    if (std::hypot(static_cast<double>(x) - cx, static_cast<double>(y) - cy) < radius) {
                        image.getInternalBuffer()[y * side2d + x] = 255;
                    }
                }
            }
        }
    }
    return image;
}

io::MemoryImage noise(std::size_t side, std::size_t planes, unsigned percent) {
    std::mt19937 random(percent);
    io::MemoryImage image = emptyImage(side, side, planes);
    for (std::size_t i = 0; i < side * side * planes; ++i) {
        image.getInternalBuffer()[i] = random() % 100 < percent ? 255 : 0;
    }
    return image;
}

/// Images of single pixels and lines: many labels of few pixels, or few that wind.
struct Pattern {
    const char* name;
    bool (*isForeground)(std::size_t x, std::size_t y);
};

constexpr Pattern patterns[] = {
    {"full", [](std::size_t, std::size_t) { return true; }},
    {"comb", [](std::size_t x, std::size_t y) { return x % 2 == 0 || y + 1 == side2d; }},
    {"checker", [](std::size_t x, std::size_t y) { return (x + y) % 2 == 0; }},
    {"dots", [](std::size_t x, std::size_t y) { return x % 2 == 0 && y % 2 == 0; }},
    {"lines", [](std::size_t, std::size_t y) { return y % 2 == 0; }},
    {"rings",
     [](std::size_t x, std::size_t y) {
         const std::size_t fromLeft = std::min(x, side2d - 1 - x);
         return std::min(fromLeft, std::min(y, side2d - 1 - y)) % 2 == 0;
     }},
};

io::MemoryImage patternImage(const Pattern& pattern) {
    io::MemoryImage image = emptyImage(side2d, side2d, 1);
    for (std::size_t i = 0; i < side2d * side2d; ++i) {
        image.getInternalBuffer()[i] = pattern.isForeground(i % side2d, i / side2d) ? 255 : 0;
    }
    return image;
}

io::MemoryImage makeImage(const std::string& name) {
    for (const Pattern& pattern : patterns) {
        if (name == pattern.name) {
            return patternImage(pattern);
        }
    }
    if (name == "cells") {
        return cells();
    }
    if (name == "texture") {
        return smoothedNoise(side2d, 1, 3);
    }
    if (name == "blobs3") {
        return smoothedNoise(side3d, side3d, 4);
    }
    if (name.starts_with("blobs")) {
        return smoothedNoise(name == "blobs" ? side2d : std::stoul(name.substr(5)), 1, 16);
    }
    const auto percent = static_cast<unsigned>(std::stoul(name.substr(1)));
    if (name[0] == 'v') {
        return noise(side3d, side3d, percent);
    }
    const std::size_t sidePosition = name.find('x');
    return noise(sidePosition == std::string::npos ? side2d : std::stoul(name.substr(sidePosition + 1)), 1, percent);
}

}  // namespace

const io::MemoryImage& imageNamed(const std::string& name) {
    static std::map<std::string, io::MemoryImage> images;
    const auto found = images.find(name);
    return found != images.end() ? found->second : images.emplace(name, makeImage(name)).first->second;
}

}  // namespace rix::bench
