#include "support/asset_test_support.h"

#include "kernel/io/connection.h"
#include "kernel/io/file_utilities.h"
#include "kernel/text/format.h"

#include <algorithm>
#include <atomic>
#include <sstream>

namespace talvo {

namespace {

std::atomic<Int64> g_clock{0};
std::atomic<Int> g_noteLoads{0};

constexpr Int64 PAYLOAD_LIMIT = 1 << 20;

class NoteReference final : public AssetReferenceInterface {
public:
    NoteReference(AssetLink link, Id repositoryId, String path)
        : _link(std::move(link)), _repositoryId(std::move(repositoryId)), _path(std::move(path)) {}
    const Id& GetTypeId() const override { return ASSETTYPE_NOTE; }
    const IdAndVersion& GetIdAndVersion() const override { return _link->GetIdAndVersion(); }
    const Id& GetRepositoryId() const override { return _repositoryId; }
    AssetRepositoryRef GetRepository() const override { return nullptr; }
    Int GetUpdate() const override { return 0; }
    StrongRef<AssetLinkInterface> GetLink() const override { return _link; }
    String GetPath() const override { return _path; }

private:
    const AssetLink _link;
    const Id _repositoryId;
    const String _path;
};

class NoteAsset final : public AssetObject<NoteAssetInterface> {
public:
    NoteAsset(std::string text, std::vector<AssetLink> links)
        : AssetObject(ASSETTYPE_NOTE), _text(std::move(text)), _links(std::move(links)) {}

    const std::string& GetText() const override { return _text; }
    std::string GetTargets() const override {
        std::string targets;
        for (const AssetLink& link : _links)
            targets += (targets.empty() ? "" : " ") + ToText(ToIdentityText(link->GetIdAndVersion()));
        return targets;
    }
    const std::vector<AssetLink>& GetLinks() const { return _links; }
    AssetType GetType() const override { return FindAssetType(ASSETTYPE_NOTE); }
    Result<Asset> Clone() const override {
        std::vector<AssetLink> links;
        for (const AssetLink& link : _links) links.push_back(TRY(link.Clone()));
        const auto copy = StrongRef<NoteAsset>::Create(_text, std::move(links));
        copy->_state = _state;
        return Asset(StrongRef<AssetInterface>(copy));
    }
    Result<Bool> GetReferencedAssets(Bool, Receiver<AssetReference> receiver) const override {
        for (std::size_t i = 0; i < _links.size(); ++i) {
            const AssetReference reference(
                StrongRef<NoteReference>::Create(_links[i], GetRepositoryId(), FormatString("link @", Int(i))));
            const Bool goOn = TRY(receiver(reference));
            if (!goOn) return false;
        }
        return true;
    }
    Result<void> Update(Block<const std::pair<AssetReference, AssetBase>> updates, const AssetRepositoryRef&) override {
        for (const auto& [reference, updated] : updates) {
            for (AssetLink& link : _links) {
                if (link->GetIdAndVersion() == reference->GetIdAndVersion()) link->SetIdAndVersion(updated->GetIdAndVersion());
            }
        }
        return OK;
    }

private:
    const std::string _text;
    std::vector<AssetLink> _links;
};

Result<StrongRef<NoteAsset>> ReadNote(const std::string& bytes) {
    std::istringstream input(bytes);
    std::string text;
    std::getline(input, text);
    std::vector<AssetLink> links;
    Int policy = 0;
    std::string id;
    std::string version;
    while (input >> policy >> id >> version) {
        const Id target = TRY(Id::Create(id));
        const Id targetVersion = TRY(Id::Create(version));
        links.push_back(TRY(AssetLink::Create(ASSETTYPE_NOTE, IdAndVersion(target, targetVersion), ASSET_UPDATE_POLICY(policy))));
    }
    return StrongRef<NoteAsset>::Create(text, std::move(links));
}

class NoteType final : public AssetTypeBase {
public:
    const Id& GetId() const override { return ASSETTYPE_NOTE; }
    const Id& GetAssetDataType() const override { return ASSETTYPE_NOTE; }
    Result<String> GetUrlSuffix(const Asset&) const override { return String("note"); }
    Result<Asset> Load(const AssetRepositoryRef&, const AssetDescription&, const Url& url, Bool) const override {
        ++g_noteLoads;
        const std::string bytes = TRY(FileUtilities::ReadFileToMemory(url, PAYLOAD_LIMIT));
        const auto note = TRY(ReadNote(bytes));
        return Asset(StrongRef<AssetInterface>(note));
    }
    Result<AssetStoreMetaData> Store(const Asset& asset, const Url& url, const AssetHashStream& hashStream,
                                     std::string& digest) const override {
        const auto note = Cast<NoteAsset>(StrongRef<AssetInterface>(asset));
        std::string bytes = note->GetText() + "\n";
        for (const AssetLink& link : note->GetLinks()) {
            const auto& [id, version] = link->GetIdAndVersion();
            bytes += FormatMessage("@ @ @\n", Int(link->GetUpdatePolicy()), id, version);
        }
        OutputStreamRef output = TRY(url.OpenOutputStream(OUTPUT_MODE::OVERWRITE));
        if (hashStream) output = TRY(hashStream(output, digest));
        TRY(output->Write(bytes));
        TRY(output->Close());
        return AssetStoreMetaData();
    }
    /// "test.length" is worth keeping, "test.unkept" is not.
    Result<std::tuple<Data, Bool>> ComputeMetaData(const AssetRepositoryRef& repository, const IdAndVersion& asset,
                                                   const AssetMetaData& meta, const InternedId& metaId) const override {
        if (metaId.GetView() == "test.length") return std::tuple(Data(Int(asset.first.GetLength())), false);
        if (metaId.GetView() == "test.unkept") return std::tuple(Data(Int(7)), true);
        return AssetTypeBase::ComputeMetaData(repository, asset, meta, metaId);
    }
};

void EnsureNoteType() {
    [[maybe_unused]] static const Bool REGISTERED = [] {
        Need(GetAssetTypes().Register(ASSETTYPE_NOTE, AssetType(StrongRef<AssetTypeInterface>(new NoteType))));
        return true;
    }();
}

}  // namespace

Asset MakeFileAsset(const ScratchDirectory& scratch, std::string_view name, std::string_view bytes) {
    scratch.Write(name, bytes);
    return MakeFileAsset(Url::FromSystemPath(scratch / name));
}

Asset MakeFileAsset(const Url& url) { return Asset(StrongRef<AssetInterface>(Need(FileAsset::Create(url)))); }

std::string ReadPayload(const AssetDescription& description) {
    const Url url = NeedRef(description->GetUrl());
    return url.IsEmpty() ? "(none)" : Need(FileUtilities::ReadFileToMemory(url, PAYLOAD_LIMIT));
}

std::vector<std::string> Find(const AssetRepositoryRef& repository, std::string_view aid, std::string_view version,
                              ASSET_FIND_MODE mode) {
    std::vector<std::string> found;
    Need(FindAssets(repository, {}, MakeId(aid), MakeId(version), mode, [&](const AssetDescription& description) -> Result<Bool> {
        found.push_back(ToText(description->ToString()));
        return true;
    }));
    return found;
}

std::vector<std::string> Sorted(std::vector<std::string> texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
}

AssetDescription FindLatest(const AssetRepositoryRef& repository, const Id& aid) {
    return Need(repository->FindLatestAsset(Id(), aid, Id(), ASSET_FIND_MODE::NONE));
}

AssetMetaData MakeMetaData(const Id& metaId, Data value, ASSET_METADATA_KIND kind) {
    AssetMetaDataTable table;
    Need(table.Insert(InternedId(metaId), AssetMetaDataEntry{std::move(value), kind, true, 1}));
    return Need(AssetMetaData::Create(std::move(table)));
}

SteppedClock::SteppedClock(Int64 microseconds) {
    g_clock = microseconds;
    SetClockForTests([] { return g_clock.load(); });
}

SteppedClock::~SteppedClock() { SetClockForTests(nullptr); }

void SteppedClock::Set(Int64 microseconds) { g_clock = microseconds; }

void SteppedClock::Advance(Int64 microseconds) { g_clock += microseconds; }

Asset MakeNote(std::string text, std::vector<NoteLink> links) {
    EnsureNoteType();
    std::vector<AssetLink> made;
    for (const NoteLink& link : links) made.push_back(Need(AssetLink::Create(ASSETTYPE_NOTE, link.target, link.policy)));
    return Asset(StrongRef<AssetInterface>(StrongRef<NoteAsset>::Create(std::move(text), std::move(made))));
}

StrongRef<NoteAssetInterface> LoadNote(const AssetDescription& description, Bool updateLinks) {
    auto note = Cast<NoteAssetInterface>(StrongRef<AssetInterface>(Need(description->Load(updateLinks))));
    if (!note) throw std::runtime_error("not a note: " + ToText(description->ToString()));
    return note;
}

Int GetNoteLoadCount() { return g_noteLoads; }

struct EventRecorder::Lines : ObjectInterface {
    std::vector<std::string> lines;
    Delegate<Result<void>(const AssetBase&)> MakeAssetObserver(const char* what) {
        const StrongRef<Lines> self(this);
        return [self, what](const AssetBase& asset) -> Result<void> {
            self->lines.push_back(FormatMessage("@ @ in @", what, asset ? asset->ToString() : String("null"),
                                                asset ? asset->GetRepositoryId() : Id()));
            return OK;
        };
    }
};

EventRecorder::EventRecorder(const AssetRepositoryRef& repository) : _repository(repository), _lines(StrongRef<Lines>::Create()) {
    const StrongRef<Lines> lines = _lines;
    _tokens.push_back(repository->ObservableAssetStored(true)->AddObserver(lines->MakeAssetObserver("stored")));
    _tokens.push_back(repository->ObservableAssetErased(true)->AddObserver(lines->MakeAssetObserver("erased")));
    _tokens.push_back(repository->ObservableAssetUpdated(true)->AddObserver(lines->MakeAssetObserver("updated")));
    _tokens.push_back(repository->ObservableMetaDataStored(true)->AddObserver(
        [lines](const AssetBase& asset, const InternedId& metaId, ASSET_METADATA_KIND kind, const Data& before,
                const Data& after) -> Result<void> {
            const auto toText = [](const Data& data) { return data.IsEmpty() ? std::string("-") : data.ToString(); };
            lines->lines.push_back(
                FormatMessage("metadata @ @ @ @ -> @", asset->ToString(), metaId, UInt32(kind), toText(before), toText(after)));
            return OK;
        }));
    _tokens.push_back(repository->ObservableBaseChanged(true)->AddObserver(
        [lines](const AssetRepositoryRef& here, const AssetRepositoryRef& base, Bool added) -> Result<void> {
            lines->lines.push_back(FormatMessage("base @ @ at @", added ? "+" : "-", base->GetId(), here->GetId()));
            return OK;
        }));
}

EventRecorder::~EventRecorder() {
    _repository->ObservableAssetStored(true)->RemoveObserver(_tokens[0]);
    _repository->ObservableAssetErased(true)->RemoveObserver(_tokens[1]);
    _repository->ObservableAssetUpdated(true)->RemoveObserver(_tokens[2]);
    _repository->ObservableMetaDataStored(true)->RemoveObserver(_tokens[3]);
    _repository->ObservableBaseChanged(true)->RemoveObserver(_tokens[4]);
}

std::vector<std::string> EventRecorder::Take() { return std::exchange(_lines->lines, {}); }

}  // namespace talvo
