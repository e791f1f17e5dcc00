#include "url_repository/url_data.h"

namespace talvo {

namespace {

constexpr LiteralId STAGED_KEY{"net.talvo.url.stagedversion"};

}  // namespace

Result<Data> MakeAssetData(const Id& aid, std::string_view directory) {
    if (aid.GetView() == directory) return Data(UrlAssetData{aid});
    Id name = TRY(Id::Create(directory));
    return Data(UrlAssetData{std::move(name)});
}

Result<Data> MakeVersionData(const Id& assetDirectory, std::string_view directory, std::string_view payload) {
    const Id directoryId = TRY(Id::Create(directory));
    const Id payloadId = TRY(Id::Create(payload));
    return Data(UrlVersionData{assetDirectory, InternedId(directoryId), InternedId(payloadId)});
}

Data MakeStagedVersionData(Url directory, StagedVersion staged) {
    directory.SetData(STAGED_KEY, Data(std::move(staged)));
    return Data(std::move(directory));
}

Opt<StagedVersion> FindStaged(const Url& versionDirectory) { return versionDirectory.GetData<StagedVersion>(STAGED_KEY); }

Url GetFinalUrl(const Url& versionDirectory) {
    Opt<StagedVersion> staged = FindStaged(versionDirectory);
    return staged ? std::move(staged->finalDirectory) : versionDirectory;
}

}  // namespace talvo
