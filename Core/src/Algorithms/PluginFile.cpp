#include "PluginFile.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <system_error>

#include <fcntl.h>
#include <gelf.h>
#include <libelf.h>
#include <sys/stat.h>
#include <unistd.h>

#include <rix/exceptions/Exception.h>

namespace rix::algorithms {

namespace {

class OpenFile {
public:
    explicit OpenFile(const String& path) : m_descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~OpenFile() {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int descriptor() const { return m_descriptor; }
    /// Size in bytes; none when the file could not be opened or is no ordinary one.
    std::optional<std::uint64_t> size() const {
        struct stat status{};
        if (m_descriptor < 0 || ::fstat(m_descriptor, &status) != 0) {
            return std::nullopt;
        }
        if (!S_ISREG(status.st_mode)) {
            errno = EINVAL;
            return std::nullopt;
        }
        return static_cast<std::uint64_t>(status.st_size);
    }

private:
    int m_descriptor;
};

struct ElfCloser {
    void operator()(Elf* elf) const { ::elf_end(elf); }
};

/// Whether a part that begins at `offset` lies within a file.
bool lies(std::uint64_t offset, std::uint64_t partSize, std::uint64_t fileSize) {
    return offset <= fileSize && partSize <= fileSize - offset;
}

/// The note of a plug-in among the notes of a segment.
std::optional<PluginNote> findNote(Elf* elf, const GElf_Phdr& segment) {
    const Elf_Type type = segment.p_align == 8 ? ELF_T_NHDR8 : ELF_T_NHDR;
    Elf_Data* const data =
        ::elf_getdata_rawchunk(elf, static_cast<std::int64_t>(segment.p_offset), segment.p_filesz, type);
    GElf_Nhdr header;
    std::size_t nameOffset = 0;
    std::size_t contentOffset = 0;
    std::size_t next = 0;
    while (data != nullptr && (next = ::gelf_getnote(data, next, &header, &nameOffset, &contentOffset)) > 0) {
        PluginNote note;
        const auto* const bytes = static_cast<const char*>(data->d_buf);
        if (header.n_type == note.type && header.n_namesz == note.nameSize && header.n_descsz == note.contentSize &&
            std::memcmp(bytes + nameOffset, note.name, note.nameSize) == 0) {
            std::memcpy(reinterpret_cast<char*>(&note) + offsetof(PluginNote, interfaceVersion), bytes + contentOffset,
                        note.contentSize);
            return note;
        }
    }
    return std::nullopt;
}

}  // namespace

PluginNote readPluginNote(const String& path) {
    static_assert(sizeof(PluginNote) == 12 + 4 + 16, "the content follows the name without a gap");
    const OpenFile file(path);
    const std::optional<std::uint64_t> size = file.size();
    if (!size) {
        throw LoadingError("The plug-in " + path + " cannot be read: " + std::generic_category().message(errno));
    }
    ::elf_version(EV_CURRENT);
    const std::unique_ptr<Elf, ElfCloser> elf(::elf_begin(file.descriptor(), ELF_C_READ, nullptr));
    GElf_Ehdr header;
    if (elf == nullptr || ::elf_kind(elf.get()) != ELF_K_ELF || ::gelf_getehdr(elf.get(), &header) == nullptr ||
        header.e_type != ET_DYN) {
        throw LoadingError("The file " + path + " is no plug-in: it is no shared library.");
    }
    // The loader maps what the segments say without asking whether the file has it: an access beyond its end would end
    // the program. The table of sections, which linkers write last, shows that nothing is missing behind them, either.
    bool complete = lies(header.e_shoff, std::uint64_t{header.e_shnum} * header.e_shentsize, *size);
    std::size_t segments = 0;
    complete = ::elf_getphdrnum(elf.get(), &segments) == 0 && segments > 0 && complete;
    std::optional<PluginNote> note;
    for (std::size_t i = 0; complete && i < segments; ++i) {
        GElf_Phdr segment;
        complete = ::gelf_getphdr(elf.get(), static_cast<int>(i), &segment) != nullptr &&
                   lies(segment.p_offset, segment.p_filesz, *size);
        if (complete && !note && segment.p_type == PT_NOTE) {
            note = findNote(elf.get(), segment);
        }
    }
    if (!complete) {
        throw LoadingError("The plug-in " + path + " is damaged: the file ends before what its header tells.");
    }
    if (!note) {
        throw LoadingError("The file " + path + " is no plug-in: it holds no note of one (see RIX_PLUGIN).");
    }
    return *note;
}

}  // namespace rix::algorithms
