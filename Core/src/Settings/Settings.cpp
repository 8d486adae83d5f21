#include <rix/settings/Settings.h>

#include <cctype>
#include <charconv>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string_view>
#include <system_error>
#include <utility>

#include "Process/Forks.h"

extern "C" char** environ;  // NOLINT: the name is POSIX's

namespace rix {

namespace {

constexpr std::string_view environmentPrefix = "RIX_";
constexpr std::string_view maximumNumberOfThreadsKey = "RIX_MAXIMUM_NUMBER_OF_THREADS";
constexpr std::string_view threadPriorityKey = "RIX_THREAD_PRIORITY";
constexpr const char* temporaryDataDirectoryKey = "RIX_TEMPORARY_DATA_DIRECTORY";
constexpr const char* pluginDirectoryKey = "RIX_PLUGIN_DIRECTORY";

/// Converts the whole text, with an optional leading plus sign as people write it.
template <class T>
bool convert(std::string_view text, T& value) {
    if (text.size() > 1 && text.front() == '+' && text[1] != '-' && text[1] != '+') {
        text.remove_prefix(1);
    }
    T result{};
    const char* const end = text.data() + text.size();
    const auto [next, error] = std::from_chars(text.data(), end, result);
    if (error != std::errc() || next != end || text.empty()) {
        return false;
    }
    value = result;
    return true;
}

/// The shortest text that reads back to the same value.
template <class T>
String toText(T value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    return String(buffer, result.ptr);
}

String lowerCased(String text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

/// A folder whose leading "~" stands for the home folder of the user.
String withHome(const String& directory) {
    if (directory != "~" && !directory.starts_with("~/")) {
        return directory;
    }
    const char* const home = std::getenv("HOME");
    return (home == nullptr ? String() : String(home)) + directory.substr(1);
}

}  // namespace

/// Entries are never changed once others may see them: who reads or copies holds the lock only to get hold of them,
/// who writes puts changed ones in their place.
struct SettingsPrivate {
    using Entries = std::map<String, String, std::less<>>;

    explicit SettingsPrivate(std::shared_ptr<const Entries> from) : entries(std::move(from)) {}

    std::shared_ptr<const Entries> get() const {
        const std::lock_guard lock(*mutex);
        return entries;
    }

    /// For what every run asks: nothing is copied.
    template <class T>
    T converted(std::string_view key, T defaultValue) const {
        const std::lock_guard lock(*mutex);
        const auto entry = entries->find(key);
        T value{};
        return entry != entries->end() && convert(entry->second, value) ? value : defaultValue;
    }

    void set(std::shared_ptr<const Entries> other) {
        const std::lock_guard lock(*mutex);
        entries.swap(other);
    }

    template <class Change>
    void change(const Change& change) {
        const std::lock_guard lock(*mutex);
        auto changed = std::make_shared<Entries>(*entries);
        change(*changed);
        entries = std::move(changed);
    }

    std::mutex own;
    std::mutex* mutex = &own;  ///< the global store has one of the process
    std::shared_ptr<const Entries> entries;
};

Settings::Settings()
    : m_private(std::make_unique<SettingsPrivate>(std::make_shared<const SettingsPrivate::Entries>())) {}
Settings::Settings(const Settings& other) : m_private(std::make_unique<SettingsPrivate>(other.m_private->get())) {}
Settings::~Settings() = default;

Settings& Settings::operator=(const Settings& other) {
    if (this != &other) {
        m_private->set(other.m_private->get());
    }
    return *this;
}

bool Settings::exists(const String& key) const {
    return m_private->get()->contains(key);
}

void Settings::remove(const String& key) {
    m_private->change([&](SettingsPrivate::Entries& entries) { entries.erase(key); });
}

String Settings::getValue(const String& key) const {
    const auto entries = m_private->get();
    const auto entry = entries->find(key);
    return entry == entries->end() ? String() : entry->second;
}

void Settings::setValue(const String& key, const String& value) {
    m_private->change([&](SettingsPrivate::Entries& entries) { entries[key] = value; });
}

std::vector<String> Settings::getKeys() const {
    std::vector<String> keys;
    const auto entries = m_private->get();  // held while it is read
    for (const auto& [key, value] : *entries) {
        keys.push_back(key);
    }
    return keys;
}

bool Settings::getValueAsBool(const String& key, bool defaultValue) const {
    const String text = lowerCased(getValue(key));
    if (text == "true" || text == "t") {
        return true;
    }
    if (text == "false" || text == "f") {
        return false;
    }
    long number = 0;
    return convert(text, number) ? number != 0 : defaultValue;
}

int Settings::getValueAsInt32(const String& key, int defaultValue) const {
    return m_private->converted(key, defaultValue);
}

long Settings::getValueAsInt64(const String& key, long defaultValue) const {
    return m_private->converted(key, defaultValue);
}

std::size_t Settings::getValueAsSize_t(const String& key, std::size_t defaultValue) const {
    return m_private->converted(key, defaultValue);
}

float Settings::getValueAsFloat(const String& key, float defaultValue) const {
    return m_private->converted(key, defaultValue);
}

double Settings::getValueAsDouble(const String& key, double defaultValue) const {
    return m_private->converted(key, defaultValue);
}

void Settings::setValueAsBool(const String& key, bool value) {
    setValue(key, value ? "true" : "false");
}

void Settings::setValueAsInt32(const String& key, int value) {
    setValue(key, toText(value));
}

void Settings::setValueAsInt64(const String& key, long value) {
    setValue(key, toText(value));
}

void Settings::setValueAsSize_t(const String& key, std::size_t value) {
    setValue(key, toText(value));
}

void Settings::setValueAsFloat(const String& key, float value) {
    setValue(key, toText(value));
}

void Settings::setValueAsDouble(const String& key, double value) {
    setValue(key, toText(value));
}

int Settings::getMaximumNumberOfThreads() const {
    return m_private->converted(maximumNumberOfThreadsKey, -1);
}

void Settings::setMaximumNumberOfThreads(int threads) {
    setValueAsInt32(String(maximumNumberOfThreadsKey), threads);
}

int Settings::getThreadPriority() const {
    return m_private->converted(threadPriorityKey, 0);
}

void Settings::setThreadPriority(int priority) {
    setValueAsInt32(String(threadPriorityKey), priority);
}

String Settings::getTemporaryDataDirectory() const {
    static const String defaultDirectory = "/tmp";
    const String directory = getValue(temporaryDataDirectoryKey);
    if (directory.empty()) {
        return defaultDirectory;
    }
    return withHome(directory);
}

void Settings::setTemporaryDataDirectory(const String& directory) {
    setValue(temporaryDataDirectoryKey, directory);
}

String Settings::getPluginDirectory() const {
    return withHome(getValue(pluginDirectoryKey));
}

void Settings::setPluginDirectory(const String& directory) {
    setValue(pluginDirectoryKey, directory);
}

GlobalSettings::GlobalSettings() {
    SettingsPrivate::Entries entries;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        const std::size_t separator = text.find('=');
        const std::string_view name = text.substr(0, separator);
        if (name.size() > environmentPrefix.size() && name.starts_with(environmentPrefix)) {
            entries[String(name)] = separator == std::string_view::npos ? String() : String(text.substr(separator + 1));
        }
    }
    m_private->entries = std::make_shared<const SettingsPrivate::Entries>(std::move(entries));
    m_private->mutex = &process::mutexOf(process::Lock::Settings);
}

GlobalSettings& globalSettings() {
    // Never destroyed: runs of threads that nobody waits for may outlast static objects.
    static auto* const settings = new GlobalSettings();
    return *settings;
}

}  // namespace rix
