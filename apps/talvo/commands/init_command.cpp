#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/signals.h"

#include <algorithm>
#include <filesystem>

namespace talvo {

namespace {

Result<void> CheckRepositoryId(const Id& id) {
    const std::string_view text = id.GetView();
    const Bool isPlain = std::none_of(text.begin(), text.end(), [](char c) { return UChar(c) < 0x20 || c == 0x7f; });
    if (!isPlain) return IllegalArgumentError::Create(FormatMessage("The repository id \"@\" has control characters.", id));
    return OK;
}

class InitCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"init", "Make a repository in a folder.", "talvo init ~/shelf",
                "The folder is made if it isn't there. On a repository that is there already nothing changes."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _path, "folder that becomes a repository");
        arguments.AddOption("--id", "ID", _id, "id of the repository (default: a fresh one)");
    }

    Result<EXIT_CODE> Run(const CommonOptions&, Output& output) override {
        Signals::StopAtSafePoint();
        const Url url = TRY(RepositoryOpener::GetUrl(_path));
        const Id wanted = TRY(Id::Create(_id.value_or("")));
        TRY(CheckRepositoryId(wanted));
        const UpdatableAssetRepositoryRef repository = TRY(Make(url, wanted));
        TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::IF_DURABLE));
        const std::string path = url.ToString().GetCString();
        if (!output.IsJson()) {
            TRY(output.WriteLine(FormatMessage("Repository @ in @", repository->GetId(), path)));
            return EXIT_CODE::DONE;
        }
        DocumentValue::ObjectType object;
        object.emplace_back("repository", ToJsonText(repository->GetId()));
        object.emplace_back("path", path);
        TRY(output.WriteJson(DocumentValue(std::move(object))));
        return EXIT_CODE::DONE;
    }

private:
    static Result<UpdatableAssetRepositoryRef> Make(const Url& url, const Id& wanted) {
        if (RepositoryOpener::IsRepository(url)) return Reopen(url, wanted);
        const Bool isNew = url.IoDetect() == IO_DETECT::NOT_THERE;
        if (isNew) TRY(url.IoCreateDirectory());
        Result<UpdatableAssetRepositoryRef> repository =
            AssetInterface::CreateRepositoryFromUrl(wanted, REPOSITORYTYPE_DATABASE, {}, url, true, false, false);
        const Result<std::string> path = url.GetSystemPath();
        std::error_code ignored;  // a folder with something in it stays
        if (repository.IsError() && isNew && path.IsOk()) std::filesystem::remove(path.GetValue(), ignored);
        return repository;
    }

    static Result<UpdatableAssetRepositoryRef> Reopen(const Url& url, const Id& wanted) {
        const UpdatableAssetRepositoryRef repository =
            TRY(AssetInterface::CreateRepositoryFromUrl(Id(), REPOSITORYTYPE_DATABASE, {}, url, false, false, false));
        if (wanted.IsEmpty() || repository->GetId() == wanted) return repository;
        return IllegalStateError::Create(
            FormatMessage("\"@\" is a repository already and has the id \"@\".", url, repository->GetId()));
    }

    std::string _path;
    Opt<std::string> _id;
};

}  // namespace

std::unique_ptr<Command> MakeInitCommand() { return std::make_unique<InitCommand>(); }

}  // namespace talvo
