#include <rix/io/TextFile.h>

#include <rix/exceptions/Exception.h>

#include "OutputFile.h"

namespace rix::io {

void writeTextFile(const std::filesystem::path& path, std::string_view text) {
    try {
        OutputFile file(path);
        if (!file.writeAt(0, text.data(), text.size())) {
            throw WritingError(file.failure());
        }
        file.commit();
    } catch (WritingError& error) {
        error.addInfoLevel("Cannot write the file '" + path.string() + "'.");
        throw;
    }
}

}  // namespace rix::io
