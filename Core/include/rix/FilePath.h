#pragma once

#include <filesystem>
#include <utility>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

/// The path of a file or a folder, as it was given.
///
/// Unlike `std::filesystem::path`, two paths are equal when their texts are: "a//b" and "a/b" name the same file, yet
/// setting one over the other is a change that a user must see.
class RIX_EXPORT FilePath {
public:
    FilePath() = default;
    FilePath(std::filesystem::path path) : m_path(std::move(path)) {}  // NOLINT: a path is a file path
    FilePath(const String& path) : m_path(path) {}                     // NOLINT: so is its text
    FilePath(const char* path) : m_path(path) {}                       // NOLINT

    const std::filesystem::path& path() const { return m_path; }
    const String& text() const { return m_path.native(); }
    bool empty() const { return m_path.empty(); }

    bool operator==(const FilePath& other) const { return text() == other.text(); }

private:
    std::filesystem::path m_path;
};

}  // namespace rix
