// A whole repository made from bytes: it opens or says why not, everything in it reads or says why not, and what is changed is
// the same after the next opening. Nothing beside it is touched.
#include "assets.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/tree_builder.h"
#include "kernel/app/application.h"
#include "kernel/app/log.h"
#include "kernel/io/connection.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_volume.h"
#include "url_repository/create_repository.h"
#include "urlassetrepository.h"

#include <map>

namespace talvo {

namespace {

using MODE = ASSET_FIND_MODE;
using KIND = ASSET_METADATA_KIND;

constexpr Int64 PAYLOAD_LIMIT = 1 << 20;
constexpr std::string_view CANARY = "nobody touches this";

/// What fails says in a sentence what it was about.
template <typename T>
void ExpectSpeakingError(const Result<T>& result) {
    if (result.IsOk()) return;
    const ErrorRef& error = result.GetError();
    FUZZ_EXPECT(error->GetMessage().size() > 10, error->GetMessage());
    FUZZ_EXPECT(!UnexpectedError::IsClassOf(error) && !OutOfMemoryError::IsClassOf(error), error->GetMessage());
}

std::string DescribeMetaData(const AssetMetaData& metaData) {
    std::map<std::string, std::string> values;
    const auto entries = MUST(metaData->GetExistingEntries());
    for (const auto& [id, kind] : entries) {
        const Result<Opt<Data>> value = metaData->Get(id);
        ExpectSpeakingError(value);
        std::string text = value.IsError() ? "error" : value.GetValue() ? value.GetValue()->ToString() : "none";
        // A damaged value that can be computed again is none, once that was tried. Values of the user lie in a tree for all repositories:
        // what is there before a version of its number is that version's from the next opening on.
        if (HasFlag(kind, KIND::DERIVED) || HasFlag(kind, KIND::USER)) continue;
        values[ToText(id)] = FormatMessage("@=@", UInt32(kind), text);
    }
    std::string text;
    for (const auto& [id, value] : values) text += " " + id + ":" + value;
    return text;
}

std::string ReadPayload(const AssetDescription& description) {
    const Result<const Url&> url = description->GetUrl();
    FUZZ_EXPECT(url.IsOk(), ToText(description));
    if (url.GetValue().IoDetect() == IO_DETECT::DIRECTORY) return "directory";
    const Result<std::string> bytes = FileUtilities::ReadFileToMemory(url.GetValue(), PAYLOAD_LIMIT);
    FUZZ_EXPECT(bytes.IsOk(), bytes.GetError()->GetMessage());
    return bytes.GetValue();
}

/// All that a walk finds, by id and newest first.
std::string Describe(const AssetRepositoryRef& repository) {
    std::map<Id, std::string> texts;
    std::map<Id, AssetVersionKey> last;
    const auto mode = MODE::ALL_VERSIONS | MODE::WITH_DELETED | MODE::WITHOUT_BASES;
    const Result<Bool> walked = FindAssets(repository, {}, Id(), Id(), mode, [&](const AssetDescription& found) -> Result<Bool> {
        const auto& [id, version] = found->GetIdAndVersion();
        FUZZ_EXPECT(id.IsPopulated() && version.IsPopulated(), ToText(found));
        const AssetVersionKey key = found.GetVersionKey();
        const auto [before, isNewest] = last.try_emplace(id, key);
        FUZZ_EXPECT(isNewest || key < before->second, ToText(found));
        before->second = key;
        std::string& text = texts[id];
        text += FormatMessage("@/@#@ @", id, version, key.counter, key.time);
        if (!found->IsDeleted()) text += " " + ReadPayload(found);
        text += DescribeMetaData(found->GetMetaData()) + "\n";
        return true;
    });
    FUZZ_EXPECT(walked.IsOk(), walked.GetError()->GetMessage());
    std::string all;
    for (const auto& [id, text] : texts) all += text;
    return all;
}

/// A memory volume with a repository in it, the places of this user, and something that is nobody's business.
class Ground {
public:
    Ground() : _volume(MUST(MemoryVolume::Create())), _top(_volume->GetRoot()) {
        Application::SetHome(_top + "home");
        MUST((_top + "repo").IoCreateDirectory());
        MUST(FileUtilities::WriteFileFromMemory(_top + "canary", CANARY));
        MUST(FileUtilities::WriteFileFromMemory(_top + "payload.txt", "stored"));
    }
    ~Ground() {
        std::string names;
        const auto entries = MUST(MUST(_top.OpenConnection())->Browse(BROWSE_MODE::NAMES));
        for (const IoEntry& entry : entries) names += entry.name + " ";
        FUZZ_EXPECT(names == "canary home payload.txt repo " || names == "canary payload.txt repo ", names);
        FUZZ_EXPECT(MUST(FileUtilities::ReadFileToMemory(_top + "canary", PAYLOAD_LIMIT)) == CANARY, "");
        Application::SetHome(Url());
    }
    Url GetRoot() const { return _top + "repo"; }
    Url GetUserTree() const { return _top + "home" + "preferences" + "net.talvo.asset" + "_assets" + "user.db"; }
    Asset MakePayload() const { return Asset(StrongRef<AssetInterface>(MUST(FileAsset::Create(_top + "payload.txt")))); }
    Url GetPayload() const { return _top + "payload.txt"; }
    Result<UpdatableAssetRepositoryRef> Open(Bool writable) const {
        using ACCESS = UrlRepositoryRequest::ACCESS;
        return OpenUrlRepository(
            {.id = Id(), .bases = {}, .url = GetRoot(), .access = writable ? ACCESS::WRITABLE : ACCESS::READ_ONLY});
    }

private:
    const MemoryVolumeRef _volume;
    const Url _top;
};

AssetDescription FindLatest(const AssetRepositoryRef& repository, const Id& id) {
    return MUST(repository->FindLatestAsset(Id(), id, Id(), MODE::NONE));
}

void CheckStored(const AssetRepositoryRef& repository, const Id& id, const Result<AssetDescription>& stored) {
    ExpectSpeakingError(stored);
    if (stored.IsError()) return;
    const AssetDescription latest = FindLatest(repository, id);
    FUZZ_EXPECT(latest && latest.IsEqual(stored.GetValue()), ToText(stored.GetValue()));
    FUZZ_EXPECT(ReadPayload(latest) == "stored", ToText(latest));
}

/// One change, as the next bytes say.
void Change(ByteSource& source, const Ground& ground, const AssetRepositoryRef& repository) {
    const UInt action = source.TakeByte() % 8;
    const Result<Id> id = Id::Create(TakeAssetId(source));
    if (id.IsError() || id.GetValue().IsEmpty()) return;
    const AssetDescription latest = FindLatest(repository, id.GetValue());
    switch (action) {
        case 0:
            CheckStored(repository, id.GetValue(), repository->StoreAsset(id.GetValue(), ground.MakePayload(), nullptr));
            break;
        case 1:
            CheckStored(repository, id.GetValue(), repository->OverwriteAsset(id.GetValue(), ground.MakePayload(), nullptr));
            break;
        case 2: ExpectSpeakingError(repository->DeleteAsset(id.GetValue())); break;
        case 3:
            if (latest) ExpectSpeakingError(repository->EraseAsset(latest));
            break;
        case 4:
            if (latest) ExpectSpeakingError(repository->CopyAsset(id.GetValue(), latest, false, false));
            break;
        case 5:
        case 6: {
            const KIND kinds[] = {KIND::PERSISTENT, KIND::PERSISTENT | KIND::VERSIONED, KIND::PERSISTENT | KIND::DERIVED,
                                  KIND::PERSISTENT | KIND::USER};
            const KIND kind = kinds[source.TakeByte() % std::size(kinds)];
            const InternedId key("key"_id);
            if (!latest) break;
            ExpectSpeakingError(action == 5 ? repository->StoreMetaData(latest, key, Data(String("value")), kind)
                                            : repository->StoreUrlMetaData(latest, key, ground.GetPayload(), kind));
            break;
        }
        default:
            if (latest) ExpectSpeakingError(latest->Load(true));
    }
}

void Verify(const Url& root) {
    Int count = 0;
    const auto summary = RepositoryMaintenance::Verify(root, 1, [&](const RepositoryFinding& finding) -> Result<Bool> {
        FUZZ_EXPECT(finding.explanation.IsPopulated() && finding.path.IsPopulated(), ToText(finding.path));
        ++count;
        return true;
    });
    ExpectSpeakingError(summary);
    if (summary.IsOk()) FUZZ_EXPECT(summary.GetValue().problems == count, "");
}

}  // namespace

FUZZ_TARGET(repository_tree, bytes) {
    SetLogSink([](LOG_LEVEL, const std::string&) {});
    ByteSource source(bytes);
    const Ground ground;
    const Bool writable = source.TakeByte() % 4 != 0;
    BuildTree(source, ground.GetRoot(), ground.GetUserTree());
    std::string now;
    {
        const auto repository = ground.Open(writable);
        ExpectSpeakingError(repository);
        Verify(ground.GetRoot());
        if (repository.IsError()) return;
        now = Describe(repository.GetValue());
        while (!source.IsEmpty()) Change(source, ground, repository.GetValue());
        now = Describe(repository.GetValue());
    }
    const auto again = ground.Open(writable);
    FUZZ_EXPECT(again.IsOk(), again.GetError()->GetMessage());
    const std::string then = Describe(again.GetValue());
    FUZZ_EXPECT(then == now, "before:\n" + now + "after:\n" + then);
    Verify(ground.GetRoot());
}

}  // namespace talvo
