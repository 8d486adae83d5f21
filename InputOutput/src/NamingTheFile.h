#pragma once

#include <filesystem>
#include <new>

#include <rix/String.h>
#include <rix/exceptions/Exception.h>

namespace rix::io {

/// Runs `action` and adds to whatever it throws the level that names the file.
template <class Action>
auto namingTheFile(const String& level, Action&& action) {
    try {
        return action();
    } catch (Exception& exception) {
        exception.addInfoLevel(level);
        throw;
    } catch (const std::bad_alloc&) {
        MemoryError error("There is not enough memory.");
        error.addInfoLevel(level);
        throw error;
    }
}

inline String readingLevel(const std::filesystem::path& path) {
    return "Cannot read the image file '" + path.string() + "'.";
}

inline String writingLevel(const std::filesystem::path& path) {
    return "Cannot write the image file '" + path.string() + "'.";
}

}  // namespace rix::io
