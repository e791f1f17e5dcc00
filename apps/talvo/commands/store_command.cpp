#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/import_walk.h"
#include "apps/talvo/new_asset_meta_data.h"
#include "apps/talvo/signals.h"

namespace talvo {

namespace {

class StoreCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"store", "Store a file or folder as a new version of an asset.", "talvo store shelf chair chair-v2.obj --tag \"rounder legs\"",
                "An asset that isn't there yet begins with this version."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddRequired("PATH", _path, "file or folder");
        arguments.AddFlag("--overwrite", _overwrite, "in place of the newest version, under its version id");
        arguments.AddOption("--tag", "TEXT", _tag, "text that tells this version from others");
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_arguments.repository, options));
        const Url root = TRY(RepositoryOpener::GetUrl(_arguments.repository));
        ImportWalk walk(root, ImportWalk::FOLDERS::AS_ONE, output);
        walk.Add(_path);
        if (walk.GetItems().empty()) return EXIT_CODE::FAILED;  // the walk has told why
        const ImportItem& item = walk.GetItems().front();

        Signals::StopAtSafePoint();
        const Id id = TRY(Id::Create(_arguments.id));
        const FileAsset asset = TRY(FileAsset::Create(item.url));
        const AssetMetaData metaData = TRY(MakeMetaData(repository, id, item));
        const AssetDescription stored = TRY(_overwrite ? repository->OverwriteAsset(id, Asset(asset), metaData) : repository->StoreAsset(id, Asset(asset), metaData));
        TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::IF_DURABLE));
        TRY(WriteStored(output, stored));
        return EXIT_CODE::DONE;
    }

private:
    // Later versions keep the name of the asset.
    Result<AssetMetaData> MakeMetaData(const AssetRepositoryRef& repository, const Id& id, const ImportItem& item) const {
        const ASSET_FIND_MODE mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::WITHOUT_BASES | ASSET_FIND_MODE::WITH_DELETED;
        const AssetDescription newest = TRY(repository->FindLatestAsset(Id(), id, Id(), mode));
        const Opt<String> tag = _tag ? Opt<String>(*_tag) : Opt<String>();
        return MakeNewAssetMetaData(newest && !newest->IsDeleted() ? Opt<String>() : Opt<String>(item.name), tag);
    }

    VersionArguments _arguments;
    std::string _path;
    Bool _overwrite = false;
    Opt<std::string> _tag;
};

}  // namespace

std::unique_ptr<Command> MakeStoreCommand() { return std::make_unique<StoreCommand>(); }

}  // namespace talvo
