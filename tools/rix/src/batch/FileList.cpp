#include "FileList.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include <glob.h>

#include <rix/description/Suggestions.h>
#include <rix/description/Text.h>
#include <rix/io/Selection.h>

#include "../Failure.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;

const std::vector<std::string> placeholders{"file", "folder", "name", "stem", "extension", "number"};

/// The small letters behind the brace at `begin` when a brace closes them; nothing for braces of other uses (JSON).
std::optional<std::string> wordInBraces(std::string_view text, std::size_t begin) {
    const std::size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz", begin + 1);
    if (end == std::string_view::npos || end == begin + 1 || text[end] != '}') {
        return std::nullopt;
    }
    return std::string(text.substr(begin + 1, end - begin - 1));
}

}  // namespace

bool isFilePattern(const std::string& text) {
    std::error_code error;
    const std::string name = io::splitSelection(text).path.string();
    return name.find_first_of("*?[") != std::string::npos && !fs::exists(name, error);
}

std::vector<fs::path> expandFiles(const std::vector<std::string>& texts) {
    std::vector<fs::path> files;
    for (const std::string& text : texts) {
        if (hasPlaceholder(text)) {
            throw Failure(WRONG_USAGE, "--files takes all that follows it for files, also " +
                                           description::inQuotes(text) + ": give it last, or another option after it");
        }
        if (!isFilePattern(text)) {
            files.emplace_back(text);
            continue;
        }
        glob_t found{};
        const io::SelectedFile pattern = io::splitSelection(text);
        const std::string behind = text.substr(pattern.path.native().size());  // the same of every file
        const int result = ::glob(pattern.path.c_str(), 0, nullptr, &found);
        for (std::size_t i = 0; result == 0 && i < found.gl_pathc; ++i) {
            files.emplace_back(found.gl_pathv[i] + behind);
        }
        ::globfree(&found);
        if (result != 0) {
            const bool open = text.find('=') != std::string::npos && !text.ends_with(']');
            throw Failure(UNREADABLE_INPUT, "no file matches " + description::inQuotes(text) +
                                                (open ? "; the brackets of a selection end the name" : ""));
        }
    }
    return files;
}

bool hasPlaceholder(const std::string& text) {
    for (std::size_t at = text.find('{'); at != std::string::npos; at = text.find('{', at + 1)) {
        const auto word = wordInBraces(text, at);
        if (word && std::find(placeholders.begin(), placeholders.end(), *word) != placeholders.end()) {
            return true;
        }
    }
    return false;
}

std::string BatchFile::fill(const std::string& text) const {
    const fs::path file = io::splitSelection(path).path;
    const auto valueOf = [&](const std::string& word) -> std::string {
        if (word == "file") {
            return path.string();
        }
        if (word == "folder") {
            return file.has_parent_path() ? file.parent_path().string() : ".";
        }
        if (word == "name") {
            return file.filename().string();
        }
        if (word == "stem") {
            return file.stem().string();
        }
        if (word == "extension") {
            return file.has_extension() ? file.extension().string().substr(1) : "";
        }
        if (word == "number") {
            const std::string digits = std::to_string(number);
            return std::string(std::to_string(count).size() - digits.size(), '0') + digits;
        }
        throw Failure(
            WRONG_USAGE,
            "{" + word + "} stands for nothing of a file: it may be {" + description::join(placeholders, "}, {") + "}",
            description::suggest(word, placeholders));
    };
    std::string result;
    std::size_t at = 0;
    for (std::size_t begin = text.find('{'); begin != std::string::npos; begin = text.find('{', begin + 1)) {
        if (const auto word = wordInBraces(text, begin)) {
            result.append(text, at, begin - at).append(valueOf(*word));
            at = begin + word->size() + 2;
        }
    }
    return result.append(text, at);
}

std::vector<Assignment> BatchFile::fill(std::vector<Assignment> assignments) const {
    for (Assignment& assignment : assignments) {
        assignment.text = fill(assignment.text);
    }
    return assignments;
}

}  // namespace rix::cli
