#include "asset_module.h"

#include "asset_impl/config.h"
#include "asset_module/home_directories.h"
#include "asset_scheme/register_schemes.h"
#include "asset_types/meta_strings.h"
#include "asset_types/standard_repositories.h"
#include "builtin_repository/builtin_repository.h"
#include "kernel/app/log.h"
#include "kernel/app/run_loop.h"
#include "kernel/io/connection.h"
#include "url_repository/create_repository.h"
#include "url_repository/derived_stamp.h"

#include <atomic>
#include <utility>

namespace talvo {

namespace {

/// After those who still look things up at the end of the loop.
constexpr Int EXIT_PRIORITY = -5;

std::atomic<Bool> g_isStarted{false};
ObserverToken g_exitObserver = ObserverToken::NONE;

struct StandardRepositories {
    AssetRepositoryRef builtin;
    AssetRepositoryRef application;  // null if it isn't installed
    AssetRepositoryRef userPrefs;
};

Result<AssetRepositoryRef> MakeBuiltin() {
    BuiltinRepository::Places places;
    places.derived = TRY(GetGeneratedTree(BUILTIN_TREE));
    places.user = TRY(GetUserTree());
    TRY(HomeDirectories::Check(places.derived));
    TRY(HomeDirectories::Check(places.user));
    return AssetRepositoryRef(StrongRef<BuiltinRepository>::Create(std::move(places)));
}

Result<AssetRepositoryRef> OpenApplication(const AssetRepositoryRef& builtin) {
    using Request = UrlRepositoryRequest;
    const Url place = TRY(GetApplicationRepositoryPlace());
    if (place.IoDetect() != IO_DETECT::DIRECTORY) {
        Log(LOG_LEVEL::CRITICAL, "applicationRepoDir not found: @", place);
        return AssetRepositoryRef();
    }
    Request request;
    request.id = REPOSITORY_APPLICATION;
    request.bases = Block<const AssetRepositoryRef>(&builtin, 1);
    request.url = place;
    if (g_applicationRepositoryWritable) request.access = Request::ACCESS::WRITABLE;
    request.derived = Request::DERIVED::IN_GENERATED_FILES;
    const UpdatableAssetRepositoryRef repository = TRY(CreateUrlRepository(request));
    return AssetRepositoryRef(repository);
}

Result<AssetRepositoryRef> OpenUserPrefs(const AssetRepositoryRef& base) {
    UrlRepositoryRequest request;
    request.id = REPOSITORY_USERPREFS;
    request.bases = Block<const AssetRepositoryRef>(&base, 1);
    request.url = TRY(GetUserRepositoryPlace());
    request.access = UrlRepositoryRequest::ACCESS::WRITABLE;
    TRY(HomeDirectories::Ensure(request.url));
    const UpdatableAssetRepositoryRef repository = TRY(CreateUrlRepository(request));
    return AssetRepositoryRef(repository);
}

Result<StandardRepositories> MakeRepositories() {
    StandardRepositories made;
    made.builtin = TRY(MakeBuiltin());
    made.application = TRY(OpenApplication(made.builtin));
    made.userPrefs = TRY(OpenUserPrefs(made.application ? made.application : made.builtin));
    return made;
}

void SetRepositories(const StandardRepositories& repositories) {
    SetStandardRepository(REPOSITORY_BUILTIN, repositories.builtin);
    SetStandardRepository(REPOSITORY_APPLICATION, repositories.application);
    SetStandardRepository(REPOSITORY_USERPREFS, repositories.userPrefs);
}

void DropWhatWasKept() {
    UnregisterAssetUrlSchemes();
    MetaStrings::DropBaseTexts();
    DropDerivedStamp();
}

Result<void> StartParts() {
    TRY(GetDerivedStamp());
    TRY(RegisterAssetUrlSchemes());
    const StandardRepositories repositories = TRY(MakeRepositories());
    g_exitObserver = RunLoop::ObservableExitLoop().AddObserver(
        []() -> Result<void> {
            AssetModule::Stop();
            return OK;
        },
        EXIT_PRIORITY);
    SetRepositories(repositories);
    return OK;
}

}  // namespace

Result<void> AssetModule::Start() {
    if (IsStarted()) return OK;
    const Result<void> started = CatchOutOfMemory([] { return StartParts(); });
    if (started.IsOk()) {
        g_isStarted.store(true, std::memory_order_release);
    } else {
        DropWhatWasKept();
    }
    return started;
}

void AssetModule::Stop() {
    if (!g_isStarted.exchange(false, std::memory_order_acq_rel)) return;
    CatchOutOfMemory([]() -> Result<void> {
        RunLoop::ObservableExitLoop().RemoveObserver(std::exchange(g_exitObserver, ObserverToken::NONE));
        return OK;
    }).Ignore("an observer that stays finds nothing to stop");
    SetRepositories({});
    DropWhatWasKept();
}

Bool AssetModule::IsStarted() { return g_isStarted.load(std::memory_order_acquire); }

}  // namespace talvo
