// Files of images. The bytes tell the format.

#include "FuzzTarget.h"
#include "ImageCheck.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rix;
    const fuzz::MemoryFile file(data, size);
    fuzz::checkImage(file.path());
    return fuzz::accepted;
}
