#include "TableFiles.h"

#include <rix/description/Text.h>
#include <rix/io/TableFile.h>
#include <rix/io/TextFile.h>
#include <rix/measurement/TableText.h>

#include "Failure.h"
#include "ImageFiles.h"
#include "Output.h"
#include "Streams.h"

namespace rix::cli {

namespace fs = std::filesystem;

void checkCanWriteTable(const fs::path& path) {
    if (path != "-" && !io::isTableFile(path)) {
        throw Failure(UNWRITABLE_OUTPUT, "the table " + description::inQuotes(path.string()) +
                                             " can't be written: its extension is none of " + io::tableExtensions());
    }
    checkCanWriteFile(path);
}

void saveTable(const fs::path& path, const vessel::DataFrameView& table) {
    if (isStandardStream(path) || !io::isTableFile(path)) {
        saveText(path, measurement::tableToCsv(table));
        return;
    }
    try {
        io::writeTable(path, table);
    } catch (const Exception& exception) {
        throw Failure(UNWRITABLE_OUTPUT, exception);
    }
}

void saveText(const fs::path& path, const std::string& text) {
    if (isStandardStream(path)) {
        writeData(text);
        return;
    }
    try {
        io::writeTextFile(path, text);
    } catch (const Exception& exception) {
        throw Failure(UNWRITABLE_OUTPUT, exception);
    }
}

}  // namespace rix::cli
