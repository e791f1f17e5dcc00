#include "tests/sweep/workloads.h"

#include "asset_module.h"
#include "kernel/data/standard_types.h"

namespace talvo::sweep {

namespace {

using KIND = ASSET_METADATA_KIND;

Step Store(std::string aid, std::string file) {
    return [=](Session& session) { return session.Store(aid, file); };
}

Step Overwrite(std::string aid, std::string file) {
    return [=](Session& session) { return session.Overwrite(aid, file); };
}

Step Delete(std::string aid) {
    return [=](Session& session) -> Result<void> {
        const AssetRepositoryRef repository = TRY(session.Open());
        const Id id = TRY(Id::Create(aid));
        TRY(repository->DeleteAsset(id));
        return OK;
    };
}

Step Erase(std::string aid) {
    return [=](Session& session) -> Result<void> {
        const AssetRepositoryRef repository = TRY(session.Open());
        const AssetDescription newest = TRY(session.GetNewest(aid));
        return repository->EraseAsset(newest);
    };
}

Step Copy(std::string from, std::string to) {
    return [=](Session& session) -> Result<void> {
        const AssetRepositoryRef repository = TRY(session.Open());
        const AssetDescription source = TRY(session.GetNewest(from));
        const Id id = TRY(Id::Create(to));
        TRY(repository->CopyAsset(id, source, false, false));
        return OK;
    };
}

/// An empty value removes.
Step SetValue(std::string aid, std::string key, std::string value, int kind) {
    return [=](Session& session) -> Result<void> {
        const AssetRepositoryRef repository = TRY(session.Open());
        const AssetDescription newest = TRY(session.GetNewest(aid));
        const Id keyId = TRY(Id::Create(key));
        const Data data = value.empty() ? Data() : Data(String(value));
        return repository->StoreMetaData(newest, InternedId(keyId), data, KIND(kind));
    };
}

/// An empty source removes.
Step SetFile(std::string aid, std::string key, std::string file, int kind) {
    return [=](Session& session) -> Result<void> {
        const AssetRepositoryRef repository = TRY(session.Open());
        const AssetDescription newest = TRY(session.GetNewest(aid));
        const Id keyId = TRY(Id::Create(key));
        const Url source = file.empty() ? Url() : session.world.GetUrl("source/" + file);
        return repository->StoreUrlMetaData(newest, InternedId(keyId), source, KIND(kind));
    };
}

Step JustOpen() {
    return [](Session& session) -> Result<void> {
        TRY(session.Open());
        return OK;
    };
}

Step Compact() {
    return [](Session& session) -> Result<void> {
        const AssetRepositoryRef repository = TRY(session.Open());
        return dynamic_cast<CompactableAssetRepositoryInterface&>(*repository).Compact();
    };
}

/// With a value of the user on a built-in asset.
Step StartModule() {
    return [](Session&) -> Result<void> {
        TRY(AssetModule::Start());
        const AssetRepositoryRef& user = AssetInterface::GetUserPrefsRepository();
        const AssetDescription builtin =
            TRY(user->FindLatestAsset(Id(), NODE_CATEGORY_UNCATEGORIZED, Id(), ASSET_FIND_MODE::NONE));
        if (!builtin) return IllegalStateError::Create("A built-in asset is missing.");
        TRY(builtin.StoreMetaData("key"_id, Data(String("mine")), KIND(18)));
        AssetModule::Stop();
        return OK;
    };
}

std::vector<Workload> MakeWorkloads() {
    const std::vector<Step> one = {Store("other", "two.txt"), Store("a", "one.txt")};
    std::vector<Step> rich = one;
    for (const int kind : {2, 6, 10, 18}) rich.push_back(SetValue("a", "key" + std::to_string(kind), "old", kind));
    rich.push_back(SetFile("a", "file", "two.txt", 2));
    std::vector<Step> two = rich;
    two.push_back(Store("a", "two.txt"));
    std::vector<Step> indexed = two;
    indexed.push_back(Compact());
    std::vector<Step> dropped = indexed;
    dropped.push_back(SetValue("other", "key", "new", 2));
    std::vector<Step> deleted = one;
    deleted.push_back(Delete("a"));
    return {
        {"first-store", {}, {Store("a", "one.txt")}},
        {"second-store", rich, {Store("a", "two.txt")}},
        {"overwrite-same-suffix", rich, {Overwrite("a", "two.txt")}, Workload::OPENING::BEFORE_FAULTS, true},
        {"overwrite-other-suffix", rich, {Overwrite("a", "other.bin")}, Workload::OPENING::BEFORE_FAULTS, true},
        {"delete", rich, {Delete("a")}},
        {"store-after-delete", deleted, {Store("a", "two.txt")}},
        {"erase", two, {Erase("a")}},
        {"erase-last", rich, {Erase("a")}},
        {"copy", rich, {Copy("a", "b"), Copy("a", "other")}},
        {"directory-payload", one, {Store("a", "folder"), Overwrite("a", "one.txt"), Overwrite("a", "folder")}},
        {"metadata-2", rich, {SetValue("a", "key2", "new", 2), SetValue("a", "fresh", "new", 2), SetValue("a", "key2", "", 2)}},
        {"metadata-6", rich, {SetValue("a", "key6", "new", 6), SetValue("a", "fresh", "new", 6), SetValue("a", "key6", "", 6)}},
        {"metadata-7", rich, {SetValue("a", "fixed", "once", 7)}},
        {"metadata-10", rich, {SetValue("a", "key10", "new", 10), SetValue("a", "fresh", "new", 10)}},
        {"metadata-18",
         rich,
         {SetValue("other", "key", "new", 18), SetValue("a", "key18", "new", 18), SetValue("a", "fresh", "new", 18),
          SetValue("a", "key18", "", 18)}},
        {"metadata-file",
         rich,
         {SetFile("a", "file", "other.bin", 2), SetFile("a", "tree", "folder", 6), SetFile("a", "file", "", 2)}},
        {"create-repository", {}, {JustOpen()}, Workload::OPENING::WITH_FAULTS},
        {"compact", two, {Compact()}},
        {"compact-again", dropped, {Compact(), Store("other", "one.txt"), Compact()}},
        {"change-indexed-store", indexed, {Store("a", "folder"), Store("new", "one.txt")}},
        {"change-indexed-overwrite", indexed, {Overwrite("a", "other.bin")}, Workload::OPENING::BEFORE_FAULTS, true},
        {"change-indexed-erase", indexed, {Erase("a"), Erase("other"), Delete("a")}},
        {"change-indexed-metadata", indexed, {SetValue("a", "key2", "new", 2), SetValue("a", "key6", "", 6)}},
        {"open-indexed", indexed, {JustOpen()}, Workload::OPENING::WITH_FAULTS, false, true, true},
        {"open-dropped", dropped, {JustOpen()}, Workload::OPENING::WITH_FAULTS, false, true, true},
        {"open-again", rich, {JustOpen()}, Workload::OPENING::WITH_FAULTS, false, true, true},
        {.name = "start-module",
         .before = one,
         .steps = {StartModule()},
         .opening = Workload::OPENING::WITH_FAULTS,
         .changesNothing = true,
         .startsModule = true},
        {"import", one, {Store("i1", "one.txt"), SetValue("i1", "key", "v", 2), Store("i2", "two.txt"), Store("i3", "folder")}},
    };
}

}  // namespace

const std::vector<Workload>& GetWorkloads() {
    static const std::vector<Workload> workloads = MakeWorkloads();
    return workloads;
}

}  // namespace talvo::sweep
