#include <rix/exceptions/Exception.h>

#include <string>
#include <string_view>
#include <utility>

namespace rix {

namespace {

/// The path inside the source tree: compiler caches may hand the compiler paths relative to the build folder.
String insideTree(std::string_view path) {
    while (path.starts_with("../") || path.starts_with("./")) {
        path.remove_prefix(path.find('/') + 1);
    }
    return String(path);
}

}  // namespace

struct ExceptionPrivate {
    std::vector<Exception::ExceptionInfo> levels;
    bool isOutOfMemory = false;
    String text;  // getInfo(false), kept so that what() can return a pointer into it

    void push(const String& message, const std::source_location& where) {
        levels.push_back({insideTree(where.file_name()), where.line(), message});
        text = format(false);
    }

    String format(bool withLocation) const {
        String result;
        std::size_t indent = 0;
        for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
            if (!result.empty()) {
                result += '\n';
            }
            result.append(indent, ' ');
            result += level->message;
            if (withLocation) {
                result += " [" + level->file + ':' + std::to_string(level->line) + ']';
            }
            indent += 2;
        }
        return result;
    }
};

Exception::Exception(const String& message, std::source_location where)
    : m_private(std::make_shared<ExceptionPrivate>()) {
    m_private->push(message, where);
}

Exception::Exception(const Exception&) noexcept = default;
Exception& Exception::operator=(const Exception&) noexcept = default;
Exception::~Exception() = default;

void Exception::addInfoLevel(const String& message, std::source_location where) {
    part();
    m_private->push(message, where);
}

void Exception::part() {
    if (m_private.use_count() > 1) {
        m_private = std::make_shared<ExceptionPrivate>(*m_private);
    }
}

bool Exception::isOutOfMemory() const noexcept {
    return m_private->isOutOfMemory || dynamic_cast<const MemoryError*>(this) != nullptr;
}

void Exception::setOutOfMemory() {
    part();
    m_private->isOutOfMemory = true;
}

const std::vector<Exception::ExceptionInfo>& Exception::getLevels() const noexcept {
    return m_private->levels;
}

const String& Exception::getMessage() const noexcept {
    return m_private->levels.front().message;
}

String Exception::getInfo(bool withLocation) const {
    return m_private->format(withLocation);
}

const char* Exception::getClassName() const noexcept {
    return "Exception";
}

const char* Exception::what() const noexcept {
    return m_private->text.c_str();
}

#define RIX_DEFINE_CLASS_NAME(Class)                   \
    const char* Class::getClassName() const noexcept { \
        return #Class;                                 \
    }

RIX_DEFINE_CLASS_NAME(RuntimeError)
RIX_DEFINE_CLASS_NAME(MemoryError)
RIX_DEFINE_CLASS_NAME(InvalidCall)
RIX_DEFINE_CLASS_NAME(BadIndex)
RIX_DEFINE_CLASS_NAME(FileSystemError)
RIX_DEFINE_CLASS_NAME(LoadingError)
RIX_DEFINE_CLASS_NAME(WritingError)
RIX_DEFINE_CLASS_NAME(RuleException)
RIX_DEFINE_CLASS_NAME(SerializationException)
RIX_DEFINE_CLASS_NAME(ResizeImageError)
RIX_DEFINE_CLASS_NAME(UnexpectedError)
RIX_DEFINE_CLASS_NAME(ProcessingException)
RIX_DEFINE_CLASS_NAME(RunForException)
RIX_DEFINE_CLASS_NAME(UserCancelException)

#undef RIX_DEFINE_CLASS_NAME

LoadingError::LoadingError(const String& message, bool partiallyLoaded, std::source_location where)
    : Exception(message, where), m_partiallyLoaded(partiallyLoaded) {}

bool LoadingError::partiallyLoaded() const noexcept {
    return m_partiallyLoaded;
}

const char* ExceptionCancelation::what() const noexcept {
    return "Execution canceled by user";
}

}  // namespace rix
