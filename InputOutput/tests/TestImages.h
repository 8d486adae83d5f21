#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include <rix/io/ImageFile.h>

#include "Testing.h"

namespace rix::io::test {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// A folder that goes with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "rix-io-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        m_path = name;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::filesystem::path& path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(m_path)) {
            result.push_back(entry.path().filename().string());
        }
        std::sort(result.begin(), result.end());
        return result;
    }

private:
    std::filesystem::path m_path;
};

inline std::string contentOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void putContent(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::remove(path);  // file systems that flush rewritten files make thousands of them slow
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
}

/// An image of random bytes, NaN and all: files must keep every bit. Spacings are 1, as in files without calibration.
template <class Image = MemoryImage>
Image randomImage(VoxelTypes type, const Extents& n, unsigned seed = 1) {
    Image image;
    if (!image.reserve(type, n[0], n[1], n[2], n[3], n[4])) {
        throw std::runtime_error("no memory for a test image");
    }
    std::mt19937 random(seed);
    const std::size_t bytes = n[0] * n[1] * n[2] * n[3] * n[4] * helper::getSizeOf(type);
    for (std::size_t i = 0; i < bytes; ++i) {
        image.getInternalBuffer()[i] = static_cast<std::uint8_t>(random());
    }
    for (int axis = 0; axis < RIX_COMPONENTS_SIZE; ++axis) {
        image.setSpacingOf(static_cast<Components>(axis), 1.0);
    }
    return image;
}

/// Gives an image a meaning; as a binary one it gets samples of 0 and 1, which are all that files keep of those, as one
/// of labels those of planes.
inline void interpret(MemoryImage& image, Interpretations interpretation) {
    image.setInterpretation(interpretation);
    helper::setLabelScope(image, LabelScope::Plane);
    std::size_t count = 0;
    if (interpretation == RIX_BINARY && helper::getElementCount(image, count)) {
        access::dispatch(access::AllTypes{}, image.getVoxelType(), [&](auto tag) {
            using Sample = typename decltype(tag)::type;
            for (std::size_t i = 0; i < count; ++i) {
                std::uint8_t* place = image.getInternalBuffer() + i * sizeof(Sample);
                const auto sample = static_cast<Sample>(*place & 1U);
                std::memcpy(place, &sample, sizeof(sample));
            }
        });
    }
}

/// Options for a part of an image, with doubts passed over.
inline ReadOptions selecting(const std::string& text) {
    return {.selection = parseSelection(text), .warn = [](const String&) {}};
}

inline Extents extentsOf(const ImageModel& image) {
    return helper::getExtents(image);
}

/// The first difference of two images, or nothing: sizes, types, interpretations, calibration, samples.
inline std::string difference(const ImageModel& expected, const ImageModel& actual) {
    if (helper::describeImage(expected) != helper::describeImage(actual)) {
        return helper::describeImage(expected) + " became " + helper::describeImage(actual);
    }
    if (helper::getLabelScope(expected) != helper::getLabelScope(actual)) {
        return "scope of labels " + helper::labelScopeToString(helper::getLabelScope(actual));
    }
    if (expected.getColorInterpretation() != actual.getColorInterpretation()) {
        return "colour interpretation " + std::to_string(actual.getColorInterpretation());
    }
    for (int axis = 0; axis < RIX_COMPONENTS_SIZE; ++axis) {
        const auto component = static_cast<Components>(axis);
        if (expected.getSpacingOf(component) != actual.getSpacingOf(component)) {
            return "spacing of " + helper::componentToString(component) + ' ' +
                   std::to_string(actual.getSpacingOf(component));
        }
        if (expected.getOriginOf(component) != actual.getOriginOf(component)) {
            return "origin of " + helper::componentToString(component) + ' ' +
                   std::to_string(actual.getOriginOf(component));
        }
    }
    if (expected.getSpatialUnitName() != actual.getSpatialUnitName() ||
        expected.getSequenceUnitName() != actual.getSequenceUnitName()) {
        return "units '" + actual.getSpatialUnitName() + "', '" + actual.getSequenceUnitName() + '\'';
    }
    if (!(expected.getSpatialDirections() == actual.getSpatialDirections())) {
        return "spatial directions";
    }
    const Extents n = extentsOf(expected);
    const std::size_t size = helper::getElementSize(expected);
    std::vector<std::uint8_t> a(n[0] * size);
    std::vector<std::uint8_t> b(n[0] * size);
    for (std::size_t s = 0; s < n[4]; ++s) {
        for (std::size_t t = 0; t < n[3]; ++t) {
            for (std::size_t z = 0; z < n[2]; ++z) {
                for (std::size_t y = 0; y < n[1]; ++y) {
                    const bool read = expected.readRowAt(n[0], a.data(), 0, y, z, t, s) &&
                                      actual.readRowAt(n[0], b.data(), 0, y, z, t, s);
                    if (!read || a != b) {
                        std::size_t x = 0;
                        while (x + 1 < n[0] && std::memcmp(&a[x * size], &b[x * size], size) == 0) {
                            ++x;
                        }
                        return "samples differ first at (" + std::to_string(x) + ", " + std::to_string(y) + ", " +
                               std::to_string(z) + ", " + std::to_string(t) + ", " + std::to_string(s) + ')';
                    }
                }
            }
        }
    }
    return {};
}

/// The samples of a small image, by the axes fastest first.
template <class Sample>
std::vector<Sample> samplesOf(const MemoryImage& image) {
    const Extents n = extentsOf(image);
    std::vector<Sample> samples(n[0] * n[1] * n[2] * n[3] * n[4]);
    std::memcpy(samples.data(), image.getInternalBuffer(), samples.size() * sizeof(Sample));
    return samples;
}

/// Runs `action`, which must throw just this class, and returns all levels of the exception.
template <class Expected, class Action>
std::string textOf(Action&& action) {
    const auto failure = rix::test::failureOf<Expected>(action);
    return failure ? failure->what() : "";
}

}  // namespace rix::io::test
