#include "Targets.h"

#include <algorithm>

#include <sys/stat.h>
#include <unistd.h>

#include <rix/description/Text.h>
#include <rix/io/ImageFile.h>
#include <rix/io/Selection.h>

#include "Failure.h"
#include "Streams.h"

namespace rix::cli {
namespace {

namespace fs = std::filesystem;

FileIdentity identityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, {}, S_ISCHR(status.st_mode)};
}

/// An image may be one of several in its file.
fs::path fileOf(const fs::path& path, Targets::Kind kind) {
    return kind == Targets::Kind::Image ? io::fileOfImage(path) : path;
}

}  // namespace

fs::path linkTarget(fs::path path) {
    constexpr int mostLinks = 40;  // as many as Linux follows
    std::error_code error;
    for (int depth = 0; depth < mostLinks && fs::is_symlink(path, error); ++depth) {
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    return path;
}

FileIdentity identityOf(const fs::path& path) {
    struct stat status{};
    if (isStandardStream(path)) {
        return ::fstat(STDOUT_FILENO, &status) == 0 ? identityOf(status) : FileIdentity{.name = "-"};
    }
    if (::stat(path.c_str(), &status) == 0) {
        return identityOf(status);
    }
    std::error_code error;
    const fs::path target = linkTarget(path);
    const fs::path folder = target.parent_path();
    if (::stat(folder.empty() ? "." : folder.c_str(), &status) != 0) {
        return {.name = fs::absolute(target, error).lexically_normal().string()};
    }
    FileIdentity identity = identityOf(status);
    identity.name = target.filename().string();
    return identity;
}

void Targets::addInput(const fs::path& name, Kind kind) {
    const fs::path path = kind == Kind::Image ? io::splitSelection(name).path : name;
    if (!isStandardStream(path)) {
        m_inputs.emplace(identityOf(fileOf(path, kind)), Entry{"", path, kind, m_unit});
    }
}

void Targets::addOutput(const std::string& what, const fs::path& path, Kind kind) {
    m_outputs.emplace(identityOf(fileOf(path, kind)), Entry{what, path, kind, m_unit});
}

bool Targets::useStandardOutput() const {
    return std::any_of(m_outputs.begin(), m_outputs.end(),
                       [](const auto& output) { return isStandardStream(output.second.path); });
}

void Targets::refuseCollisions() const {
    using description::inQuotes;
    for (auto output = m_outputs.begin(); output != m_outputs.end(); ++output) {
        const auto& [identity, entry] = *output;
        if (identity.isDevice) {
            continue;
        }
        if (const auto next = std::next(output); next != m_outputs.end() && next->first == identity) {
            const Entry& other = next->second;
            const std::string both =
                entry.what == other.what ? entry.what + " of two files" : entry.what + " and " + other.what;
            throw Failure(WRONG_USAGE,
                          both + (entry.what == other.what ? " goes" : " go") + " to the same file " +
                              inQuotes(entry.path.string()) +
                              (entry.path == other.path ? "" : ", which is also " + inQuotes(other.path.string())));
        }
        const auto [first, last] = m_inputs.equal_range(identity);
        for (auto input = first; input != last; ++input) {
            const Entry& read = input->second;
            const std::string same = read.path == entry.path ? "" : ", which is also " + inQuotes(read.path.string());
            if (entry.kind != Kind::Image || read.kind != Kind::Image) {
                throw Failure(WRONG_USAGE, entry.what + " would go over " + inQuotes(entry.path.string()) + same +
                                               ", which is read: only an image may take the place of an image");
            }
            if (read.unit != entry.unit) {
                throw Failure(WRONG_USAGE, entry.what + " would go over " + inQuotes(entry.path.string()) + same +
                                               ", which another run of the batch reads");
            }
        }
    }
}

}  // namespace rix::cli
