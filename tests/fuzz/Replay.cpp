// Gives the files of folders to a fuzz target, one after the other: what a corpus holds stays mended.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "FuzzTarget.h"

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path& file : files) {
        std::printf("%s\n", file.filename().c_str());
        std::fflush(stdout);  // the last one is the one that ends the program
        std::ifstream stream(file, std::ios::binary);
        const std::vector<char> content{std::istreambuf_iterator<char>(stream), {}};
        const std::vector<std::uint8_t> bytes(content.begin(), content.end());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("%zu inputs\n", files.size());
    return files.empty() ? 1 : 0;
}
