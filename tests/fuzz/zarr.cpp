// Folders of the Zarr format. An input has its files one after the other, each begun by the character RS (0x1e) and its
// name in a line.

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <unistd.h>

#include "FuzzTarget.h"
#include "ImageCheck.h"

namespace {

namespace fs = std::filesystem;

/// In memory where the system has such a folder.
fs::path folderOfProcess() {
    const fs::path memory = "/dev/shm";
    return (fs::exists(memory) ? memory : fs::temp_directory_path()) / ("fuzz-" + std::to_string(::getpid()) + ".zarr");
}

/// Names of a few characters, so that none leaves the folder.
bool isNameInside(std::string_view name) {
    return !name.empty() && name.size() < 40 && name.front() != '/' && name.find("..") == std::string_view::npos &&
           std::all_of(
               name.begin(), name.end(),
               [](unsigned char c) {
                   return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || c == '.' || c == '/';
               });
}

void writeFiles(std::string_view input, const fs::path& folder) {
    constexpr char begin = '\x1e';
    for (int files = 0; files < 16 && !input.empty(); ++files) {
        input.remove_prefix(std::min(input.size(), input.find(begin)));
        input.remove_prefix(std::min<std::size_t>(input.size(), 1));
        const std::string_view file = input.substr(0, input.find(begin));
        const std::string_view name = file.substr(0, file.find('\n'));
        if (isNameInside(name)) {
            std::error_code alreadyThere;
            fs::create_directories((folder / name).parent_path(), alreadyThere);
            const std::string_view content = file.substr(std::min(file.size(), name.size() + 1));
            std::ofstream(folder / name, std::ios::binary)
                .write(content.data(), static_cast<std::streamsize>(content.size()));
        }
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rix;
    static const fs::path folder = folderOfProcess();
    fs::create_directory(folder);
    writeFiles(fuzz::Bytes(data, size).rest(), folder);
    fuzz::checkImage(folder);
    fs::remove_all(folder);
    return fuzz::accepted;
}
