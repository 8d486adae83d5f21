// Files in the folder of plug-ins: the note of a plug-in, or a LoadingError, before any code of the file is loaded.

#include <rix/exceptions/Exception.h>

#include "Algorithms/PluginFile.h"
#include "FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rix;
    const fuzz::MemoryFile file(data, size);
    try {
        const PluginNote note = algorithms::readPluginNote(file.path());
        fuzz::require(note.nameSize == sizeof(note.name), "a note has the size of a note");
    } catch (const LoadingError& error) {
        fuzz::require(String(error.what()).find(file.path()) != String::npos, "the failure names the file");
    }
    return fuzz::accepted;
}
