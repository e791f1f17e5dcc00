// Keeps one file as an asset in a new repository, and finds it again. Called with a folder for both.
#include "assets.h"
#include "kernel/io/file_utilities.h"

#include <cstdio>

using namespace talvo;

static Result<void> KeepAndFind(const Url& folder) {
    const Url file = folder + "greeting.txt";
    const Url directory = folder + "repository";
    TRY(directory.IoCreateDirectory());
    TRY(FileUtilities::WriteFileFromMemory(file, "hello"));

    AssetRepositoryRef repository =
        TRY(AssetInterface::CreateRepositoryFromUrl(Id(), REPOSITORYTYPE_DATABASE, {}, directory, true, false, true));
    FileAsset asset = TRY(FileAsset::Create(file));
    TRY(repository->StoreAsset("greeting"_id, Asset(asset), AssetMetaData()));

    AssetDescription found = TRY(repository->FindLatestAsset(Id(), "greeting"_id, Id(), ASSET_FIND_MODE::LATEST));
    if (!found) return UnexpectedError::Create("The asset was stored but is not found.");
    const Url& url = TRY_REF(found->GetUrl());
    const std::string content = TRY(FileUtilities::ReadFileToMemory(url, 100));
    if (content != "hello") return UnexpectedError::Create("The asset was found with other content: " + content);
    return OK;
}

int main(int count, char** arguments) {
    if (count != 2) return 2;
    Result<void> done = KeepAndFind(Url::FromSystemPath(arguments[1]));
    if (done.IsError()) std::fprintf(stderr, "%s\n", done.GetError()->GetMessage().c_str());
    return done.IsError() ? 1 : 0;
}
