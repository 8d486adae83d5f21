#pragma once

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <stdlib.h>  // NOLINT: mkdtemp is POSIX

#include <gtest/gtest.h>

#include <rix/access/VoxelTypeLists.h>
#include <rix/image/MemoryImage.h>
#include <rix/io/ImageFile.h>

#include "Process.h"

namespace rix::cli {

/// A test that runs the built program in an empty folder of its own.
class ProgramTest : public testing::Test {
protected:
    struct Ending {
        int exitCode;
        std::string output;
        std::string messages;
    };

    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "rix-test-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_setup.folder = pattern;
    }
    void TearDown() override {
        std::error_code error;
        std::filesystem::remove_all(m_setup.folder, error);
    }

    const std::filesystem::path& folder() const { return m_setup.folder; }
    Process::Setup& setup() { return m_setup; }

    /// Runs the program that users get.
    Ending rix(const std::vector<std::string>& arguments) const { return run(RIX_PROGRAM, arguments); }
    /// Runs the same program with the sample algorithm added.
    Ending sample(const std::vector<std::string>& arguments) const { return run(RIX_SAMPLE_PROGRAM, arguments); }

    /// The names of the files in the folder: what a run left behind.
    std::set<std::string> files() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder())) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    template <class T>
    io::MemoryImage makeImage(const std::array<std::size_t, 5>& extents, const std::vector<T>& samples) const {
        io::MemoryImage image;
        EXPECT_TRUE(image.reserve(access::voxelTypeOf<T>, extents[0], extents[1], extents[2], extents[3], extents[4]));
        std::memcpy(image.getInternalBuffer(), samples.data(), samples.size() * sizeof(T));
        return image;
    }
    /// Writes 0, 1, 2, ... as an image of bytes.
    void writeRamp(const std::string& name, std::size_t columns, std::size_t rows) const {
        std::vector<std::uint8_t> samples(columns * rows);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            samples[i] = static_cast<std::uint8_t>(i);
        }
        io::writeImage(folder() / name, makeImage<std::uint8_t>({columns, rows, 1, 1, 1}, samples));
    }
    std::string contentOf(const std::string& name) const {
        std::ifstream file(folder() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    Ending run(const char* program, const std::vector<std::string>& arguments) const {
        Process process(program, arguments, m_setup);
        const int exitCode = process.wait();
        return {exitCode, process.output(), process.messages()};
    }

    Process::Setup m_setup;
};

}  // namespace rix::cli
