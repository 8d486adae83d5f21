#include "TableFiles.h"

#include <rix/description/Text.h>
#include <rix/io/TextFile.h>
#include <rix/measurement/TableText.h>

#include "Failure.h"
#include "ImageFiles.h"
#include "Output.h"

namespace rix::cli {

namespace fs = std::filesystem;

void checkCanWriteTable(const fs::path& path) {
    const fs::path extension = path.extension();
    if (extension != ".csv" && extension != ".json") {
        throw Failure(UNWRITABLE_OUTPUT, "the table " + description::inQuotes(path.string()) +
                                             " can't be written: its extension is none of .csv, .json");
    }
    checkCanWriteFile(path);
}

void saveTable(const fs::path& path, const vessel::DataFrameView& table) {
    try {
        io::writeTextFile(
            path, path.extension() == ".json" ? measurement::tableToJson(table) : measurement::tableToCsv(table));
    } catch (const Exception& exception) {
        throw Failure(UNWRITABLE_OUTPUT, exception);
    }
}

}  // namespace rix::cli
