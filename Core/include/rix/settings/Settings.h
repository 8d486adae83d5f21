#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

struct SettingsPrivate;

/// A store of settings: keys with text values and typed access to them.
///
/// Typed getters never throw: they return the given default when the key is absent, when its value is empty and when
/// its text does not convert as a whole. Typed setters store a text that reads back to the same value.
///
/// Any thread may read and write at any time. A run reads its settings as it needs them: what is set while it is on its
/// way may or may not count for it.
class RIX_EXPORT Settings {
public:
    Settings();
    Settings(const Settings&);
    Settings& operator=(const Settings&);
    virtual ~Settings();

    bool exists(const String& key) const;
    void remove(const String& key);
    /// The text stored under `key`; empty when the key is absent.
    String getValue(const String& key) const;
    void setValue(const String& key, const String& value);
    /// All keys, in lexicographic order.
    std::vector<String> getKeys() const;

    /// "true" and "t" are true, "false" and "f" are false in any case; another text converts as a whole to an integer
    /// and is true when that is not 0.
    bool getValueAsBool(const String& key, bool defaultValue) const;
    int getValueAsInt32(const String& key, int defaultValue) const;
    long getValueAsInt64(const String& key, long defaultValue) const;
    /// A sign is not part of a size: "-1" gives the default.
    std::size_t getValueAsSize_t(const String& key, std::size_t defaultValue) const;
    float getValueAsFloat(const String& key, float defaultValue) const;
    double getValueAsDouble(const String& key, double defaultValue) const;

    void setValueAsBool(const String& key, bool value);
    void setValueAsInt32(const String& key, int value);
    void setValueAsInt64(const String& key, long value);
    void setValueAsSize_t(const String& key, std::size_t value);
    void setValueAsFloat(const String& key, float value);
    void setValueAsDouble(const String& key, double value);

    /// Largest number of threads of a run; -1 (or any value below 1) means no limit, 1 keeps the run in the caller's
    /// thread. Key "RIX_MAXIMUM_NUMBER_OF_THREADS".
    int getMaximumNumberOfThreads() const;
    void setMaximumNumberOfThreads(int threads);

    /// Priority of the threads of a top-level run: above 0 raises it, below 0 lowers it, 0 leaves it alone.
    /// Key "RIX_THREAD_PRIORITY".
    int getThreadPriority() const;
    void setThreadPriority(int priority);

    /// Folder for temporary data. A leading "~/" stands for the home folder of the user. Default "/tmp".
    /// Key "RIX_TEMPORARY_DATA_DIRECTORY".
    String getTemporaryDataDirectory() const;
    void setTemporaryDataDirectory(const String& directory);

    /// Folder of the plug-ins that front ends load when they start; empty for none. A leading "~/" stands for the home
    /// folder of the user. Key "RIX_PLUGIN_DIRECTORY".
    String getPluginDirectory() const;
    void setPluginDirectory(const String& directory);

private:
    friend class GlobalSettings;
    std::unique_ptr<SettingsPrivate> m_private;
};

/// The settings of the process, filled from the environment once: every variable whose name begins with "RIX_" and is
/// longer than that becomes a setting of the same name.
class RIX_EXPORT GlobalSettings : public Settings {
public:
    GlobalSettings();
};

/// The one global store, created at the first call (safe under concurrent first calls).
RIX_EXPORT GlobalSettings& globalSettings();

}  // namespace rix
