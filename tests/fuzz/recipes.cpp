// Files of recipes: read, or refused with a place in the file.

#include "Failure.h"
#include "FuzzTarget.h"
#include "recipe/Recipe.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rix;
    const fuzz::MemoryFile file(data, size);
    try {
        cli::readRecipe(file.path(), {});
    } catch (const cli::Failure& failure) {
        fuzz::require(failure.exitCode() != 0 && failure.what()[0] != '\0', "a failure says what is wrong");
    }
    return fuzz::accepted;
}
