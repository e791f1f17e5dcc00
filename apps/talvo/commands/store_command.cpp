#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/import_walk.h"
#include "apps/talvo/signals.h"
#include "apps/talvo/store_file.h"

namespace talvo {

namespace {

// It tells one version from others, so that it stays with this one.
constexpr ASSET_METADATA_KIND TAG_KIND = ASSET_METADATA_KIND::PERSISTENT | ASSET_METADATA_KIND::VERSIONED;

class StoreCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"store", "Store a file or folder as a new version of an asset.",
                "talvo store shelf chair chair-v2.obj --tag \"rounder legs\"",
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
        FileToStore file;
        file.id = TRY(Id::Create(_arguments.id));
        file.source = item.url;
        file.sourceName = item.name;
        file.place = _overwrite ? FileToStore::PLACE::OVER_NEWEST : FileToStore::PLACE::NEXT_VERSION;
        const AssetDescription stored = TRY(StoreFile(repository, file));
        if (_tag) TRY(stored.StoreMetaData(InternedId(ASSETMETADATA::VERSIONTAG), Data(String(*_tag)), TAG_KIND));
        TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::IF_DURABLE));
        TRY(WriteStored(output, stored));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
    std::string _path;
    Bool _overwrite = false;
    Opt<std::string> _tag;
};

}  // namespace

std::unique_ptr<Command> MakeStoreCommand() { return std::make_unique<StoreCommand>(); }

}  // namespace talvo
