#include "TableFiles.h"

#include <rix/description/Text.h>
#include <rix/io/TextFile.h>
#include <rix/measurement/TableText.h>

#include "Failure.h"
#include "ImageFiles.h"
#include "Output.h"
#include "Streams.h"

namespace rix::cli {

namespace fs = std::filesystem;

namespace {

bool isJson(const fs::path& path) {
    return path.extension() == ".json";
}

}  // namespace

void checkCanWriteTable(const fs::path& path) {
    const fs::path extension = path.extension();
    if (path != "-" && extension != ".csv" && !isJson(path)) {
        throw Failure(UNWRITABLE_OUTPUT, "the table " + description::inQuotes(path.string()) +
                                             " can't be written: its extension is none of .csv, .json");
    }
    checkCanWriteFile(path);
}

void saveTable(const fs::path& path, const vessel::DataFrameView& table) {
    saveText(path, isJson(path) ? measurement::tableToJson(table) : measurement::tableToCsv(table));
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
