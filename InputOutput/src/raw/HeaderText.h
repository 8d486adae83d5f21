#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <rix/String.h>

#include "../InputFile.h"

namespace rix::io {

/// The lines of a header that is text, read as far as they are asked for.
class HeaderText {
public:
    explicit HeaderText(InputFile& file) : m_file(file) {}

    /// The next line without its end; nothing at the end of the file. @throws LoadingError for a header of more than a
    /// MiB, which is none.
    std::optional<String> next();
    /// The place behind the lines so far.
    std::uint64_t position() const { return m_position; }

private:
    InputFile& m_file;
    std::uint64_t m_position = 0;
    std::uint64_t m_readTo = 0;
    String m_text;  ///< read and not yet given out
};

String lowered(std::string_view text);
/// The words between blanks.
std::vector<String> wordsOf(std::string_view text);
/// The numbers of a text. @throws LoadingError naming `field` when a word is no finite number, or there are not
/// `count`.
std::vector<double> numbersOf(std::string_view text, std::size_t count, const char* field);
std::vector<std::size_t> countsOf(std::string_view text, std::size_t count, const char* field);
[[noreturn]] void failField(const char* field, std::string_view value);

}  // namespace rix::io
