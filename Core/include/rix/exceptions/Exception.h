#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <source_location>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

struct ExceptionPrivate;

/// Base of every failure that the library reports.
///
/// An exception is a stack of information levels. The first level is written where the failure was found; each
/// layer that the exception passes on its way out may add a level that says what the layer was doing. Levels carry
/// the source position as data, so that texts stay readable and positions stay available.
///
/// Copies share nothing: adding a level to a copy leaves the original alone. Copying does not throw.
class RIX_EXPORT Exception : public std::exception {
public:
    /// One level: where it was added and what it says.
    struct ExceptionInfo {
        String file;             ///< source file, relative to the source tree
        std::uint32_t line = 0;  ///< line in that file, from 1
        String message;
    };

    explicit Exception(const String& message, std::source_location where = std::source_location::current());
    Exception(const Exception&) noexcept;
    Exception& operator=(const Exception&) noexcept;
    ~Exception() override;

    /// Pushes a level while the exception travels outwards.
    void addInfoLevel(const String& message, std::source_location where = std::source_location::current());

    /// All levels, innermost (the cause) first.
    const std::vector<ExceptionInfo>& getLevels() const noexcept;

    /// The message of the innermost level: the cause.
    const String& getMessage() const noexcept;

    /// The text of the levels, outermost first, one a line, each further level indented by two more blanks.
    /// @param withLocation appends " [file:line]" to every level.
    String getInfo(bool withLocation = false) const;

    /// True when what failed failed for want of memory, whatever its class: that names what was being done. Always true
    /// of `MemoryError`.
    bool isOutOfMemory() const noexcept;
    void setOutOfMemory();

    /// The name of the concrete class, for example "RuleException".
    virtual const char* getClassName() const noexcept;

    /// The same text as getInfo(false).
    const char* what() const noexcept override;

private:
    /// From the copies that share its levels.
    void part();

    std::shared_ptr<ExceptionPrivate> m_private;  // shared until a level is added: copies must not throw
};

// The members of the family differ in their meaning only, so one line declares each.
#define RIX_DECLARE_EXCEPTION(Class, Base)                  \
    class RIX_EXPORT Class : public Base {                  \
    public:                                                 \
        using Base::Base;                                   \
        const char* getClassName() const noexcept override; \
    }

/// Something failed while running that neither the caller's arguments nor a resource explains.
RIX_DECLARE_EXCEPTION(RuntimeError, Exception);
/// Memory for a purpose named in the text could not be had.
RIX_DECLARE_EXCEPTION(MemoryError, Exception);
/// An operation was called on an object that cannot answer it: misuse of an accessor.
RIX_DECLARE_EXCEPTION(InvalidCall, Exception);
/// An index is outside its range.
RIX_DECLARE_EXCEPTION(BadIndex, Exception);
/// The file system refused an operation.
RIX_DECLARE_EXCEPTION(FileSystemError, Exception);
/// A file could not be written.
RIX_DECLARE_EXCEPTION(WritingError, Exception);
/// A rule refused the value of a property, or could not shape an output.
RIX_DECLARE_EXCEPTION(RuleException, Exception);
/// A text form or an archive could not be read or written.
RIX_DECLARE_EXCEPTION(SerializationException, Exception);
/// An image could not be resized or a temporary image could not be had.
RIX_DECLARE_EXCEPTION(ResizeImageError, Exception);
/// The library met a state that it does not expect, or an exception that it does not know.
RIX_DECLARE_EXCEPTION(UnexpectedError, Exception);
/// The processing of image data failed.
RIX_DECLARE_EXCEPTION(ProcessingException, Exception);
/// No runner can serve the run.
RIX_DECLARE_EXCEPTION(RunForException, Exception);
/// The run was cancelled by the user.
RIX_DECLARE_EXCEPTION(UserCancelException, Exception);

#undef RIX_DECLARE_EXCEPTION

/// A file could not be read, or is damaged.
class RIX_EXPORT LoadingError : public Exception {
public:
    explicit LoadingError(const String& message, bool partiallyLoaded = false,
                          std::source_location where = std::source_location::current());

    /// True when a part of the data was read before the failure and is usable.
    bool partiallyLoaded() const noexcept;
    const char* getClassName() const noexcept override;

private:
    bool m_partiallyLoaded;
};

/// The internal signal that a running algorithm was cancelled. It is no failure and therefore not an `Exception`;
/// the execution frame turns it into a `UserCancelException`.
class RIX_EXPORT ExceptionCancelation : public std::exception {
public:
    /// "Execution canceled by user"
    const char* what() const noexcept override;
};

}  // namespace rix
