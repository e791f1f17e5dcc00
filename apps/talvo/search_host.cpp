#include "apps/talvo/search_host.h"

#include "apps/talvo/repository_opener.h"
#include "kernel/app/log.h"
#include "memoryassetrepository.h"

namespace talvo {

namespace {

/// Where the browser looks.
Result<AssetDescription> Find(const AssetRepositoryRef& repository, const std::string& word) {
    const Id id = TRY(Id::Create(word));
    const AssetDescription found =
        id.IsEmpty() ? AssetDescription() : TRY(repository->FindLatestAsset(Id(), id, Id(), ASSET_FIND_MODE::LATEST));
    if (!found) return UnresolvedError::Create(FormatMessage("There is no asset @.", word));
    return found;
}

/// Takes the rows of one update on its thread; the caller waits meanwhile.
class RowTaker {
public:
    explicit RowTaker(const std::function<Result<void>(const SearchRow& row)>& take) : _take(take) {}

    Result<Data> Take(Int stage, const Data& parent, const BuildEntryRecord& record) {
        _hasBegun = _hasBegun || stage == BUILD_STAGE::ROOT;
        if (stage != BUILD_STAGE::ROW) return Data(Int64(0));
        const Int64* place = parent.GetPtr<Int64>();
        const Int depth = place ? *place : 0;
        _groups.resize(std::size_t(depth) + 1);
        const Bool isGroup = record.groupId.IsPopulated();
        _groups.back() = isGroup || depth == 0 ? record.groupId : _groups[std::size_t(depth) - 1];
        const Result<void> taken = _take(SearchRow{depth, _groups.back(), record});
        if (taken.IsError()) {
            _error = taken;
            return taken.GetError();
        }
        return Data(Int64(depth + 1));
    }
    Result<void> GetResult() const {
        if (_error.IsOk() && !_hasBegun)
            return IllegalStateError::Create("The search could not be run; the warning above says why.");
        return _error;
    }

private:
    const std::function<Result<void>(const SearchRow& row)>& _take;
    std::vector<Id> _groups;
    Result<void> _error;
    Bool _hasBegun = false;
};

Result<void> Configure(AssetBrowserInterface& browser, const AssetRepositoryRef& repository, const SearchRequest& request) {
    const NodesGraphModelRef graph = TRY(CreateRepositoryGraphModel(repository));
    TRY(browser.SetGraphModel(graph));
    TRY(browser.SetAssetTypesFilter(request.types));
    TRY(browser.SetDatabaseMasterfilter(request.withoutDatabases));
    HashSet<Id> parents;
    for (const std::string& word : request.parents) {
        const Id parent = TRY(Id::Create(word));
        TRY(parents.Insert(parent));
    }
    TRY(browser.SetParentSelection(parents, {}));
    BaseArray<AssetDescription> smart;
    for (const std::string& word : request.smart) {
        const AssetDescription found = TRY(Find(repository, word));
        TRY(smart.Append(found));
    }
    TRY(browser.SetSmartSearch(smart));
    browser.SetReferenceTime(request.now);
    browser.SetRowLimit(request.limit);
    return OK;
}

}  // namespace

Result<AssetRepositoryRef> SearchHost::OpenAll(const std::vector<std::string>& paths, const CommonOptions& options) {
    BaseArray<AssetRepositoryRef> opened;
    for (const std::string& path : paths) {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(path, options));
        TRY(opened.Append(repository));
    }
    if (opened.GetCount() == 1) return opened[0];
    const auto all = TRY(MemoryAssetRepository::Create("talvo.search"_id, opened, MemoryAssetRepository::ACCESS::READ_ONLY));
    return AssetRepositoryRef(all);
}

Result<void> SearchHost::Run(const AssetRepositoryRef& repository, const SearchRequest& request,
                             const std::function<Result<void>(const SearchRow& row)>& take) {
    const AssetBrowserRef browser = TRY(AssetBrowserInterface::Create(request.mode));
    TRY(Configure(*browser, repository, request));
    RowTaker taker(take);
    TRY(browser->SetBuildEntryDelegate([&](const AssetBrowserRef&, Int stage, const Data&, const Data& parent,
                                           const BuildEntryRecord& record) { return taker.Take(stage, parent, record); }));
    // Looking for nothing at all would change nothing in a new browser, and so would list nothing.
    browser->DoFiltering(String(" "), String(), String(), String(), false, false);
    browser->DoFilteringPreScan(request.master, request.group, request.sort, request.text, request.isLocal, false);
    return taker.GetResult();
}

String SearchHost::MakeOptionText(const Opt<std::string>& word, const char* option) {
    if (!word || word->empty()) return String();
    return word->find(':') != std::string::npos ? String(*word) : String(option + *word);
}

Result<HashSet<Id>> SearchHost::ReadIds(const Opt<std::string>& list) {
    HashSet<Id> ids;
    if (!list) return ids;
    for (const String& word : String(*list).Split(String(","), String::SPLIT::DROP_EMPTY)) {
        const Id id = TRY(Id::Create(word.Trim().GetView()));
        TRY(ids.Insert(id));
    }
    return ids;
}

}  // namespace talvo
