#include "kernel/app/settings.h"

#include "kernel/app/application.h"
#include "kernel/app/log.h"
#include "kernel/io/connection.h"
#include "kernel/io/file_lock.h"
#include "kernel/io/file_utilities.h"
#include "kernel/text/format.h"
#include "kernel/thread/locks.h"

#include <string>
#include <utility>

namespace talvo {

namespace {

constexpr LiteralId OWNER{"net.talvo.application"};
constexpr LiteralId ROOT{"net.talvo.settings"};
constexpr const char* FILE_NAME = "settings.json";
// A file of its own: the settings themselves are replaced by each write.
constexpr const char* LOCK_NAME = ".settings.lock";

Data FindValue(const DataDictionary& dictionary, const Id& key) {
    const Data* found = dictionary.Find(key);
    return found ? *found : Data();
}

Result<void> CheckKey(const Id& key) {
    CHECK_ARGUMENT(key.IsPopulated(), "key.IsPopulated()");
    return OK;
}

/// The settings of the user, read anew each time: another process may have written them.
class UserSettings final : public SettingsInterface {
public:
    Result<Data> Get(const Id& key) override {
        return CatchOutOfMemory([&]() -> Result<Data> {
            const Url directory = TRY(GetPreferences());
            const DataDictionary values = TRY(Read(directory + FILE_NAME));
            return FindValue(values, key);
        });
    }

    Result<void> Set(const Id& key, const Data& value) override {
        return CatchOutOfMemory([&]() -> Result<void> {
            TRY(CheckKey(key));
            const Url directory = TRY(GetPreferences());
            TRY(directory.IoCreateDirectory());
            const FileLock lock = TRY(FileLock::Acquire(directory + LOCK_NAME, {.file = FileLockOptions::MAKE}));
            return Replace(directory + FILE_NAME, key, value);
        });
    }

private:
    static Result<Url> GetPreferences() { return Application::PrivateGetUrl(OWNER, APPLICATION_DIRECTORY::PREFERENCES); }

    /// No settings where there is no file.
    static Result<DataDictionary> Read(const Url& file) {
        if (file.IoDetect() == IO_DETECT::NOT_THERE) return DataDictionary();
        const Data data = TRY(IoDocument::ReadDocument(file, ROOT));
        const DataDictionary* values = data.GetPtr<DataDictionary>();
        if (!values) return FileFormatError::Create(FormatMessage("@ holds no settings. Move it away to start with none.", file));
        return *values;
    }

    static Result<void> Replace(const Url& file, const Id& key, const Data& value) {
        Result<DataDictionary> values = Read(file);
        if (values.IsError()) {
            if (!FileFormatError::IsClassOf(values.GetError())) return values.GetError();
            TRY(SetAside(file, values.GetError()));
            values = DataDictionary();
        }
        values.GetValue().Set(Data(Id(key)), value);
        return IoDocument::WriteDocument(file, Data(values.GetValue()), ROOT, DOCUMENT_FORMAT::JSON);
    }

    /// What somebody wrote by hand with a comma missing is still worth much to them.
    static Result<void> SetAside(const Url& file, const ErrorRef& reason) {
        const std::string name = std::string(FILE_NAME) + ".damaged-" + UniversalDateTime::GetNow().FormatLocal("%Y%m%d-%H%M%S");
        Url aside = file.GetDirectory() + name;
        for (Int next = 2; aside.IoDetect() != IO_DETECT::NOT_THERE; ++next) aside.SetName(name + "-" + ToText(next));
        TRY(file.IoRename(aside, RENAME_MODE::NO_REPLACE));
        Log(LOG_LEVEL::WARNING, "The settings could not be read and were set aside as @: @", aside, reason->GetMessage());
        return OK;
    }
};

/// Defaults of the application, in memory.
class ApplicationSettings final : public SettingsInterface {
public:
    Result<Data> Get(const Id& key) override {
        const auto values = _values.Read();
        return FindValue(*values, key);
    }
    Result<void> Set(const Id& key, const Data& value) override {
        return CatchOutOfMemory([&]() -> Result<void> {
            TRY(CheckKey(key));
            DataDictionary replaced;  // goes behind the lock: values may be anything
            const auto values = _values.Write();
            replaced = *values;
            values->Set(Data(Id(key)), value);
            return OK;
        });
    }

private:
    // A plain leaf: the type of a key may be registered at its first use under it.
    Guarded<DataDictionary, Spinlock> _values;
};

class MergedSettings final : public SettingsInterface {
public:
    MergedSettings(SettingsRef user, SettingsRef application) : _user(std::move(user)), _application(std::move(application)) {}

    Result<Data> Get(const Id& key) override {
        Data value = TRY(_user->Get(key));
        if (value.IsPopulated()) return value;
        return _application->Get(key);
    }
    Result<void> Set(const Id& key, const Data& value) override { return _user->Set(key, value); }

private:
    const SettingsRef _user;
    const SettingsRef _application;
};

struct Levels {
    const SettingsRef user{new UserSettings};
    const SettingsRef application{new ApplicationSettings};
    const SettingsRef merged{new MergedSettings(user, application)};
};

}  // namespace

Result<SettingsRef> SettingsInterface::GetSettings(SETTINGS_LEVEL level) {
    static const Levels& levels = *new Levels;
    switch (level) {
        case SETTINGS_LEVEL::USER: return levels.user;
        case SETTINGS_LEVEL::APPLICATION: return levels.application;
        case SETTINGS_LEVEL::MERGED: return levels.merged;
    }
    return IllegalArgumentError::Create(FormatMessage("There are no settings of the level @.", Int32(level)));
}

}  // namespace talvo
