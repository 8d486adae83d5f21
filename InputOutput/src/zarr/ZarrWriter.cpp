#include "ZarrWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>

#include <rix/exceptions/Exception.h>

#include "../InterruptibleImage.h"
#include "../raw/RawSamples.h"
#include "Multiscales.h"
#include "Pyramid.h"
#include "ZarrStore.h"

namespace rix::io {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

ZarrCompressor compressorFor(Compression compression) {
    ZarrCompressor made;
    switch (compression) {
        case Compression::None: break;
        case Compression::Deflate:
            made.kind = ZarrCompressor::Kind::Zlib;
            made.level = 1;
            break;
        case Compression::Zstd:
            made.kind = ZarrCompressor::Kind::Zstd;
            made.level = 1;
            break;
        default: made.kind = ZarrCompressor::Kind::Blosc;
    }
    return made;
}

/// Without a slash at the end, and where links lead to, whether there is something or not.
fs::path targetOf(const fs::path& path) {
    fs::path target = path.has_filename() ? path : path.parent_path();
    std::error_code error;
    for (int links = 0; fs::is_symlink(target, error); ++links) {
        target = followLink(target, links);
    }
    return target;
}

class ZarrWriter final : public ChunkStore {
public:
    ZarrWriter(const fs::path& path, const ImageHeader& header, const Extents& chunk, const WriteOptions& options)
        : m_target(targetOf(path)), m_axes(axesFor(header.extents)), m_chunk(chunk), m_options(options) {
        // Labels lie in an image that is there; the folder for all of them may have to be made in the end.
        m_isLabels = isLabelPath(m_target);
        const fs::path parent = m_isLabels ? m_target.parent_path().parent_path() : m_target.parent_path();
        std::error_code error;
        if (m_isLabels && !isThere(parent / ".zgroup")) {
            throw WritingError("Labels go into an image that is there; there is none at '" + parent.string() + "'.");
        }
        if (m_isLabels) {
            static_cast<void>(readJson(m_target.parent_path() / ".zattrs"));  // before the work, not after it
        }
        refuseOthers();
        m_temporary = (parent.empty() ? fs::path(".") : parent) / temporaryName();
        if (!fs::create_directory(m_temporary, error)) {
            throw WritingError("No folder can be made in '" + m_temporary.parent_path().string() +
                               "': " + error.message() + '.');
        }
        if (isThere(m_target)) {  // who may see the older one may see this one
            fs::permissions(m_temporary, fs::status(m_target, error).permissions(), error);
        }
        m_store = makeStore(0, header, chunk);
    }
    ~ZarrWriter() override {
        if (m_process == ::getpid()) {  // what a forked process ends is its parent's still
            std::error_code ignored;
            fs::remove_all(m_temporary, ignored);
        }
    }
    ZarrWriter(const ZarrWriter&) = delete;
    ZarrWriter& operator=(const ZarrWriter&) = delete;

    bool read(std::size_t chunk, RawData samples) override { return m_store->read(chunk, samples); }
    void write(std::size_t chunk, ConstRawData samples) override { m_store->write(chunk, samples); }

    void finish(const ImageHeader& header) override {
        if (m_isPublished) {  // only the list of labels is missing
            enlist();
            return;
        }
        HeaderImage told(header);
        const ImageFileInfo info = describe(told);
        Multiscales multiscales;
        multiscales.axes = m_axes;
        multiscales.isLabels = m_isLabels || info.interpretation == RIX_LABEL;
        multiscales.levels.push_back({"0", info.spacing, info.origin});
        writeArray(0, *m_store);
        if (m_options.pyramid) {
            writeLevels(info, multiscales);
        }
        writeJson(m_temporary / ".zgroup", {{"zarr_format", 2}});
        writeJson(m_temporary / ".zattrs", formatMultiscales(multiscales, info, nameOf(m_target)));
        if (m_isLabels) {
            std::error_code error;
            fs::create_directory(m_target.parent_path(), error);
        }
        publish();
        m_isPublished = true;
        m_store->moved(m_target / "0");
        if (m_isLabels) {
            enlist();
        }
    }

private:
    /// An image, and not a group of several, a plate say.
    static bool isImage(const fs::path& path) {
        try {
            return isThere(path / ".zarray") || readJson(path / ".zattrs").value_or(json()).contains("multiscales");
        } catch (const LoadingError&) {
            return false;
        }
    }
    /// Only an older image gives way, or an empty folder.
    void refuseOthers() const {
        std::error_code error;
        if (isThere(m_target) &&
            !(fs::is_directory(m_target, error) && (fs::is_empty(m_target, error) || isImage(m_target)))) {
            throw WritingError("Something that is no Zarr image has this name.");
        }
        if (isThere(m_target) && ::access(m_target.c_str(), W_OK) != 0) {
            throw WritingError("The image of this name is write-protected: " + std::generic_category().message(errno) +
                               '.');
        }
    }

    static String nameOf(const fs::path& path) {
        String name = path.filename().string();
        for (const char* end : {".zarr", ".ome"}) {
            name = name.ends_with(end) ? name.substr(0, name.size() - String(end).size()) : name;
        }
        return name;
    }

    std::unique_ptr<ZarrStore> makeStore(std::size_t level, const ImageHeader& header, const Extents& chunk) const {
        ZarrArray array;
        array.shape = shapeOf(header.extents, m_axes);
        array.chunks = shapeOf(chunk, m_axes);
        array.stored = storedTypeOf(header.voxelType);
        array.bigEndian = writesBigEndian();
        array.compressor = compressorFor(m_options.compression);
        array.separator = '/';
        const fs::path folder = m_temporary / std::to_string(level);
        std::error_code error;
        if (!fs::create_directory(folder, error) && error) {
            throw WritingError("No folder can be made in '" + m_temporary.string() + "': " + error.message() + '.');
        }
        return std::make_unique<ZarrStore>(folder, std::move(array), m_axes, false);
    }

    void writeArray(std::size_t level, const ZarrStore& store) const {
        writeJson(m_temporary / std::to_string(level) / ".zarray", formatZarrArray(store.array()));
    }

    void writeLevels(ImageHeader header, Multiscales& multiscales) const {
        Extents chunk = m_chunk;
        for (std::size_t level = 1; needsLevel(header.extents); ++level) {
            const DiskImage larger(makeStore(level - 1, header, chunk), header, chunk);
            const ReducedImage reduced(larger, nextFactors(header));
            const InterruptibleImage interruptible(reduced, m_options.interrupted);
            header = reduced.header();
            chunk = usualChunks(header.extents, chunk);
            const auto store = makeStore(level, header, chunk);
            writeChunks(*store, chunk, interruptible);
            writeArray(level, *store);
            multiscales.levels.push_back({std::to_string(level), header.spacing, header.origin});
        }
    }

    /// Changes places with an older image in one step, where the file system can.
    void publish() {
        const char* const from = m_temporary.c_str();
        const char* const to = m_target.c_str();
        refuseOthers();  // what has this name may have changed since
        if (!isThere(m_target)) {
            if (::rename(from, to) != 0) {
                failPublishing();
            }
            m_temporary.clear();
            return;
        }
        synchronise();
        if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_EXCHANGE) == 0) {
            return;  // the older one goes with the temporary name
        }
        const fs::path older = m_temporary.parent_path() / temporaryName();
        if (::rename(to, older.c_str()) != 0) {
            failPublishing();
        }
        if (::rename(from, to) != 0) {
            const int reason = errno;
            static_cast<void>(::rename(older.c_str(), to));
            errno = reason;
            failPublishing();
        }
        m_temporary = older;
    }

    /// The older image goes when the new one has its name: what a power failure would take of the new one would be all.
    void synchronise() const {
        const int folder = ::open(m_temporary.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const bool isSafe = folder >= 0 && ::syncfs(folder) == 0;
        const int reason = errno;
        if (folder >= 0) {
            ::close(folder);
        }
        if (!isSafe) {
            throw WritingError("The image cannot be completed: " + std::generic_category().message(reason) + '.');
        }
    }

    [[noreturn]] static void failPublishing() {
        throw WritingError("The image cannot get its name: " + std::generic_category().message(errno) + '.');
    }

    /// Names the labels among those of the image.
    void enlist() const {
        const fs::path folder = m_target.parent_path();
        json attributes = readJson(folder / ".zattrs").value_or(json::object());
        json names = attributes.value("labels", json::array());
        names = names.is_array() ? names : json::array();
        const String name = m_target.filename().string();
        if (std::find(names.begin(), names.end(), json(name)) == names.end()) {
            names.push_back(name);
        }
        attributes["labels"] = names;
        writeJson(folder / ".zgroup", {{"zarr_format", 2}});
        writeJson(folder / ".zattrs", attributes);
    }

    fs::path m_target;
    fs::path m_temporary;
    std::vector<Components> m_axes;
    Extents m_chunk;
    WriteOptions m_options;
    ::pid_t m_process = ::getpid();
    bool m_isLabels = false;
    bool m_isPublished = false;
    std::unique_ptr<ZarrStore> m_store;
};

}  // namespace

std::unique_ptr<ChunkStore> createZarr(const fs::path& path, const ImageHeader& header, const Extents& chunk,
                                       const WriteOptions& options) {
    return std::make_unique<ZarrWriter>(path, header, chunk, options);
}

}  // namespace rix::io
