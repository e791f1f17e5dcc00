// The versions of an asset as an enumeration that a selector offers.
#include "asset_utilities.h"
#include "assets/asset_repository.h"
#include "kernel/data/enum_type.h"
#include "kernel/text/format.h"

namespace talvo {

namespace {

/// One version, and the repositories that hold it.
struct VersionChoice {
    Id version;
    String text;
    std::vector<String> repositories;
};

class VersionChoices {
public:
    Result<void> Add(const AssetDescription& asset) {
        const Id& version = asset->GetIdAndVersion().second;
        const AssetRepositoryRef repository = asset->GetRepository();
        if (version.IsEmpty() || !repository) return OK;
        String repositoryName = TRY(repository->GetRepositoryName(nullptr, true));
        const Int* known = _indices.Find(version);
        if (!known) {
            String text = TRY(AssetInterface::GetVersionString(asset));
            TRY(_indices.Insert(version, Int(_choices.size())));
            known = _indices.Find(version);
            _choices.push_back({version, std::move(text), {}});
        }
        _choices[std::size_t(*known)].repositories.push_back(std::move(repositoryName));
        return OK;
    }

    Result<BaseArray<EnumEntry>> MakeEntries() const {
        BaseArray<EnumEntry> entries;
        HashSet<String> names;
        TRY(AddEntry(entries, names, String::FromId(LATEST), LATEST));
        for (const VersionChoice& choice : _choices) {
            String repositories;
            for (const String& name : choice.repositories) repositories += repositories.IsEmpty() ? name : ", " + name;
            TRY(AddEntry(entries, names, FormatString("@ (@)", choice.text, repositories), choice.version));
        }
        return entries;
    }

private:
    static constexpr LiteralId LATEST{"latest"};

    /// Two versions may read alike, with one tag in one minute, but nobody could choose between them then.
    static Result<void> AddEntry(BaseArray<EnumEntry>& entries, HashSet<String>& names, const String& text, const Id& version) {
        String name = text;
        for (Int number = 2;; ++number) {
            const Bool isNew = TRY(names.Insert(name));
            if (isNew) return entries.Append({name, Data(version)});
            name = FormatString("@ #@", text, number);
        }
    }

    std::vector<VersionChoice> _choices;  // in the order in which they were met
    HashMap<Id, Int> _indices;            // into it, by version
};

}  // namespace

Result<DataType> AssetUtilities::GetEnumTypeForVersions(const AssetRepositoryRef& repo, const Id& type, const Id& assetId) {
    return CatchOutOfMemory([&]() -> Result<DataType> {
        VersionChoices choices;
        if (assetId.IsPopulated()) {
            TRY(FindAssets(repo, {{type}}, assetId, Id(), ASSET_FIND_MODE::ALL_VERSIONS,
                           [&](const AssetDescription& asset) -> Result<Bool> {
                               TRY(choices.Add(asset));
                               return true;
                           }));
        }
        BaseArray<EnumEntry> entries = TRY(choices.MakeEntries());
        return DataTypeLib::GetEnumType(GetDataType<Id>(), std::move(entries));
    });
}

}  // namespace talvo
