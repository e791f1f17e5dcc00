#include "url_repository/url_data.h"

namespace talvo {

namespace {

constexpr LiteralId STAGED_KEY{"net.talvo.url.stagedversion"};

}  // namespace

Data MakeVersionData(const Url& directory) { return Data(directory); }

Data MakeStagedVersionData(Url directory, StagedVersion staged) {
    directory.SetData(STAGED_KEY, Data(std::move(staged)));
    return Data(std::move(directory));
}

Result<Url> GetVersionUrl(const Data& vdata) { return vdata.Get<Url>(); }

Opt<StagedVersion> FindStaged(const Url& versionDirectory) { return versionDirectory.GetData<StagedVersion>(STAGED_KEY); }

Url GetFinalUrl(const Url& versionDirectory) {
    Opt<StagedVersion> staged = FindStaged(versionDirectory);
    return staged ? std::move(staged->finalDirectory) : versionDirectory;
}

}  // namespace talvo
