#include "Component.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include <rix/String.h>
#include <rix/Version.h>
#include <rix/exceptions/Exception.h>

namespace rix::io {
namespace {

namespace fs = std::filesystem;

/// The folder of this library, or of the program that it was linked into.
fs::path ownFolder() {
    ::Dl_info info{};
    std::error_code error;
    fs::path own;
    if (::dladdr(reinterpret_cast<const void*>(&componentFunction), &info) != 0 && info.dli_fname != nullptr) {
        own = fs::canonical(info.dli_fname, error);
    }
    if (own.empty() || error) {  // a program is named as it was called
        own = fs::read_symlink("/proc/self/exe", error);
    }
    return own.parent_path();
}

}  // namespace

void* componentFunction(const char* component, const char* function, const char* format) {
    const String name = String("liblumora_rix_io_") + component + '-' + headerVersion + ".so";
    const fs::path folder = ownFolder();
    std::error_code error;
    for (const fs::path& path : {folder / name, folder.parent_path() / "lib" / name}) {
        if (!fs::exists(path, error)) {
            continue;
        }
        void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        void* const found = library != nullptr ? ::dlsym(library, function) : nullptr;
        if (found == nullptr) {
            const char* const reason = ::dlerror();
            throw LoadingError(String("The component for ") + format +
                               " cannot be loaded: " + (reason != nullptr ? reason : "it is damaged") + '.');
        }
        return found;
    }
    throw LoadingError(String(format) + " files need the component '" + name +
                       "', which is not there: the library was built or installed without it. It belongs beside the "
                       "library of files, in '" +
                       folder.string() + "'.");
}

}  // namespace rix::io
