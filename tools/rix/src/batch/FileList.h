#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "../Assignments.h"

namespace rix::cli {

/// The files of the option --files: patterns (*, ?, [abc]) that the shell has left are expanded in the order of names.
/// @throws Failure: unreadable input for a pattern that nothing matches; wrong usage for what looks like name=value.
std::vector<std::filesystem::path> expandFiles(const std::vector<std::string>& texts);

/// True when a text has the letters of such a pattern, and no file has that name.
bool isFilePattern(const std::string& text);

/// One file of a batch, and the texts that stand for it: {file} its path with the selection behind it, {folder}, {name}
/// its name, {stem} the name without extension, {extension} without dot, {number} its place from 1, with zeros before
/// it.
struct BatchFile {
    std::filesystem::path path;
    std::size_t number;
    std::size_t count;

    /// Puts the file into a text. @throws Failure (wrong usage) for another name in braces.
    std::string fill(const std::string& text) const;
    std::vector<Assignment> fill(std::vector<Assignment> assignments) const;
};

/// True when a text has one of these names in braces.
bool hasPlaceholder(const std::string& text);

}  // namespace rix::cli
