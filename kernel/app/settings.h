// Settings of users and defaults of the application, and configuration variables of modules.
#pragma once

#include "kernel/base/delegate.h"
#include "kernel/base/object.h"
#include "kernel/data/data_dictionary.h"
#include "kernel/io/url.h"

#include <atomic>
#include <string_view>
#include <vector>

namespace talvo {

enum class SETTINGS_LEVEL : Int32 {
    USER = 3,         ///< file in the preferences
    APPLICATION = 5,  ///< defaults in memory
    MERGED = 6        ///< view: USER over APPLICATION, whole value by key; writing to it writes to USER
};

/// A dictionary of settings. Threads: any. Two processes: each write reads the file again under a lock and replaces it whole.
class SettingsInterface : public ObjectInterface {
public:
    /// The settings of `level`; one object a level. Errors: IllegalArgumentError for another level.
    static Result<StrongRef<SettingsInterface>> GetSettings(SETTINGS_LEVEL level);
    /// Empty Data if the key isn't there. Errors: those of reading the file, FileFormatError that names it if it is damaged.
    virtual Result<Data> Get(const Id& key) = 0;
    /// Empty `value` erases the key. A damaged file is set aside ("settings.json.damaged-<time>") and named in the log, never
    /// overwritten. Errors: those of reading, locking and writing the file; IllegalArgumentError for an empty key.
    virtual Result<void> Set(const Id& key, const Data& value) = 0;
};
using SettingsRef = StrongRef<SettingsInterface>;

/// A named boolean with a default and a help text, registered at load.
/// Set from code, or by the environment's TALVO_CONFIG ("g_assetDiagnostic=true,...") at load.
class ConfigVariable {
public:
    ConfigVariable(const char* name, Bool defaultValue, const char* help);
    ~ConfigVariable();
    Bool Get() const { return _value.load(std::memory_order_relaxed); }
    void Set(Bool value) { _value.store(value, std::memory_order_relaxed); }
    explicit operator Bool() const { return Get(); }
    const char* GetName() const { return _name; }
    const char* GetHelp() const { return _help; }
    Bool GetDefault() const { return _default; }

    /// All variables, sorted by name.
    static std::vector<ConfigVariable*> GetAll();
    /// "name=true,name=false". Errors: IllegalArgumentError that names an unknown variable or a value that is neither true nor
    /// false; then none is set.
    static Result<void> SetFromText(std::string_view assignments);

private:
    const char* const _name;
    const Bool _default;
    const char* const _help;
    std::atomic<Bool> _value;
};

}  // namespace talvo
