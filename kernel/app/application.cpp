#include "kernel/app/application.h"

#include "kernel/base/uuid.h"
#include "kernel/io/connection.h"
#include "kernel/text/format.h"
#include "kernel/thread/locks.h"

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#ifndef TALVO_VERSION
#define TALVO_VERSION "0.1.0"
#endif
#ifndef TALVO_BUILD_ID
#define TALVO_BUILD_ID "unknown"
#endif

namespace talvo {

namespace {

constexpr const char* PROGRAM_NAME = "talvo";

std::string GetEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

/// Major, minor and patch as thousandths: 1.2.5 is 1025.
Int32 ReadVersionNumber(const char* text) {
    int major = 0, minor = 0, patch = 0;
    std::sscanf(text, "%d.%d.%d", &major, &minor, &patch);
    return Int32(major * 1000 + minor * 10 + patch);
}

struct State {
    Url home;  // empty: the base directories of the system
    Id id;
    Application::Version version{ReadVersionNumber(TALVO_VERSION), CString(TALVO_BUILD_ID)};
};

Guarded<State, Spinlock>& GetState() {
    static auto& state = *[] {
        auto* fresh = new Guarded<State, Spinlock>(KERNEL_TABLE_LOCK);
        const auto scope = fresh->Write();
        scope->home = Url::FromSystemPath(GetEnvironment("TALVO_HOME"));
        return fresh;
    }();
    return state;
}

Url GetHome() {
    const auto state = GetState().Read();
    return state->home;
}

/// The user's own directory.
Result<Url> GetUserDirectory() {
    const std::string home = GetEnvironment("HOME");
    if (home.starts_with('/')) return Url::FromSystemPath(home);
    std::array<char, 16384> buffer;
    passwd entry{};
    passwd* found = nullptr;
    getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
    if (found && found->pw_dir && *found->pw_dir == '/') return Url::FromSystemPath(found->pw_dir);
    return SystemError::Create("Can't tell the user's own directory. Set HOME or TALVO_HOME.");
}

/// A base directory: the environment's, which must be absolute, or the usual one below the user's own directory.
Result<Url> GetBaseDirectory(const char* variable, std::string_view usual) {
    const std::string path = GetEnvironment(variable);
    if (path.starts_with('/')) return Url::FromSystemPath(path) + PROGRAM_NAME;
    const Url user = TRY(GetUserDirectory());
    return user + usual + PROGRAM_NAME;
}

Url GetTemporaryDirectory() {
    const std::string path = GetEnvironment("TMPDIR");
    // With the user's number: a directory that two users share would be writable for the first only.
    return Url::FromSystemPath(path.starts_with('/') ? path : "/tmp") + FormatMessage("@-@", PROGRAM_NAME, UInt32(getuid()));
}

Url GetProgramDirectory() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path));
    return Url::FromSystemPath(std::string_view(path, length > 0 ? std::size_t(length) : 0)).GetDirectory();
}

/// The directory of the file that this code lies in: the library's, where it is shared.
Url GetLibraryDirectory() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&GetLibraryDirectory), &info) == 0 || !info.dli_fname) return Url();
    return Url::FromSystemPath(info.dli_fname).GetDirectory();
}

/// `share/talvo` beside the program's directory, as installed and as built; else beside the library's, which may lie one
/// directory deeper.
Url FindResources() {
    const std::string given = GetEnvironment("TALVO_RESOURCES");
    if (!given.empty()) return Url::FromSystemPath(given);
    const std::string share = std::string("share/") + PROGRAM_NAME;
    const Url usual = GetProgramDirectory().GetDirectory() + share;
    const Url library = GetLibraryDirectory().GetDirectory();
    for (const Url& candidate : {usual, library + share, library.GetDirectory() + share}) {
        if (candidate.IoDetect() == IO_DETECT::DIRECTORY) return candidate;
    }
    return usual;
}

Result<Url> GetKindDirectory(const Url& home, APPLICATION_DIRECTORY kind) {
    switch (kind) {
        case APPLICATION_DIRECTORY::TEMPORARY: return home.IsEmpty() ? GetTemporaryDirectory() : home + "temporary";
        case APPLICATION_DIRECTORY::GENERATED:
            if (home.IsEmpty()) return GetBaseDirectory("XDG_DATA_HOME", ".local/share");
            return home + "generated";
        case APPLICATION_DIRECTORY::PREFERENCES:
            if (home.IsEmpty()) return GetBaseDirectory("XDG_CONFIG_HOME", ".config");
            return home + "preferences";
        case APPLICATION_DIRECTORY::MODULE_RESOURCES:
        case APPLICATION_DIRECTORY::APPLICATION_RESOURCES: return FindResources();
    }
    return IllegalArgumentError::Create(FormatMessage("There is no application directory of the kind @.", Int32(kind)));
}

/// An owner's id is one component, wherever it came from.
Result<void> CheckOwner(const Id& owner) {
    const std::string_view text = owner.GetView();
    if (!text.empty() && text.front() != '.' && text.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos)
        return OK;
    return IllegalArgumentError::Create(FormatMessage("\"@\" can't own directories. Use a module's id.", owner));
}

}  // namespace

Result<Application::Version> Application::GetVersion() {
    const auto state = GetState().Read();
    return state->version;
}

void Application::SetVersion(Version version) {
    const auto state = GetState().Write();
    std::swap(state->version, version);
}

Id Application::GetApplicationId() {
    const auto state = GetState().Read();
    return state->id;
}

void Application::SetApplicationId(const Id& id) {
    Id copy = id;
    const auto state = GetState().Write();
    std::swap(state->id, copy);
}

CString Application::GetVersionText() { return TALVO_VERSION; }

void Application::SetHome(const Url& home) {
    Url copy = home;
    const auto state = GetState().Write();
    std::swap(state->home, copy);
}

Result<Url> Application::PrivateGetUrl(const Id& owner, APPLICATION_DIRECTORY kind) {
    return CatchOutOfMemory([&]() -> Result<Url> {
        TRY(CheckOwner(owner));
        const Url directory = TRY(GetKindDirectory(GetHome(), kind));
        return kind == APPLICATION_DIRECTORY::APPLICATION_RESOURCES ? directory : directory + owner.GetView();
    });
}

Result<Url> Application::GetTempUrl(const Url& directory) {
    return CatchOutOfMemory([&]() -> Result<Url> {
        TRY(directory.IoCreateDirectory());
        const Uuid uuid = TRY(Uuid::CreateId());
        return directory + uuid.ToCompactString();
    });
}

}  // namespace talvo
