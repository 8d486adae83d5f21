#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace rix::cli {

/// Which file a path stands for, whatever links and folders lead to it: two paths of one file are equal. A file that
/// doesn't exist yet is known by its folder and its name.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;
    std::string name{};     ///< empty for a file that exists
    bool isDevice = false;  ///< /dev/null and its like take any number of outputs

    auto operator<=>(const FileIdentity&) const = default;
};

/// Links are followed to their ends, also to files that don't exist. Nothing is equal to a path that leads nowhere.
FileIdentity identityOf(const std::filesystem::path& path);

/// The file at the end of links, which need not exist.
std::filesystem::path linkTarget(std::filesystem::path path);

/// All files that a command reads and writes, gathered before anything is written, so that no output is lost to another
/// one and no input to an output that is none of its kind.
class Targets {
public:
    enum class Kind {
        Image,
        Other,  ///< a table or a record
    };

    /// The member of a batch that the next files belong to.
    void beginUnit() { ++m_unit; }
    /// Announces what is read, of an image also in part. An image may be replaced by an image that is made of it, other
    /// files by nothing.
    void addInput(const std::filesystem::path& name, Kind kind = Kind::Image);
    /// Announces what is written.
    /// @param what names it in messages: a property, an option, a step
    void addOutput(const std::string& what, const std::filesystem::path& path, Kind kind);

    /// @throws Failure (wrong usage), naming both, for two outputs that are one file and for outputs over inputs:
    ///         anything but an image over an image of the same unit that no other unit reads.
    void refuseCollisions() const;
    /// True when one of the outputs is "-".
    bool useStandardOutput() const;

private:
    struct Entry {
        std::string what;
        std::filesystem::path path;
        Kind kind;
        std::size_t unit;
    };
    using Entries = std::multimap<FileIdentity, Entry>;

    std::size_t m_unit = 0;
    Entries m_inputs;
    Entries m_outputs;
};

}  // namespace rix::cli
