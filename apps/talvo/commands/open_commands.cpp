// Commands on what a url leads to, wherever it lies.
#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/output.h"
#include "apps/talvo/payload.h"
#include "apps/talvo/repository_opener.h"
#include "apps/talvo/version_record.h"
#include "asset_module.h"

namespace talvo {

namespace {

constexpr const char* LOOKUP_DETAILS =
    "Assets are looked up in the user's repositories and behind them in those of --base. A url may name an asset by its id "
    "(asset:///chair), a file in "
    "one (asset:///set/textures/wood.png), a file of its metadata (meta:///...), or an asset as people do, by its categories and "
    "its name "
    "(assetdb:///Plants/Tree).";

constexpr LiteralId NAME_SCHEME{"assetdb"};

/// The url of `text`, with the standard repositories open to look it up in, and those of --base behind them.
Result<Url> PrepareUrl(const std::string& text, const CommonOptions& options) {
    Url url = TRY(Url::Parse(text));
    TRY(AssetModule::Start());
    const AssetRepositoryRef& top = AssetInterface::GetUserPrefsRepository();
    CommonOptions alone = options;
    alone.bases.clear();
    for (const std::string& base : options.bases) {
        const UpdatableAssetRepositoryRef repository = TRY(RepositoryOpener::Open(base, alone));
        TRY(top->AddBase(repository));
    }
    if (url.GetScheme() == NAME_SCHEME) url = TRY(url.IoNormalize(NORMALIZE::REAL));
    return url;
}

class OpenCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"open", "Write what a url leads to to standard output.",
                "talvo open asset:///chair --base shelf > chair.obj\ntalvo open asset:///set/textures/wood.png --base shelf > "
                "wood.png",
                LOOKUP_DETAILS};
    }

    void DeclareArguments(ArgumentList& arguments) override { arguments.AddRequired("URL", _url, "what to read"); }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const Url url = TRY(PrepareUrl(_url, options));
        const Url target = TRY(url.IoNormalize(NORMALIZE::REAL));
        if (target.IoDetect() == IO_DETECT::DIRECTORY)
            return IllegalStateError::Create(FormatMessage("@ is a folder. Add the path of a file in it to the url.", url));
        TRY(Payload::WriteTo(output, url));
        return EXIT_CODE::DONE;
    }

private:
    std::string _url;
};

class ResolveCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"resolve", "Show where a url leads, and to which version.",
                "talvo resolve asset:///chair --base shelf\ntalvo resolve assetdb:///Plants/Tree --json", LOOKUP_DETAILS};
    }

    void DeclareArguments(ArgumentList& arguments) override { arguments.AddRequired("URL", _url, "what to look up"); }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const Url url = TRY(PrepareUrl(_url, options));
        const Url target = TRY(url.IoNormalize(NORMALIZE::REAL_WHOLLY));
        const AssetDescription found = TRY(AssetInterface::ResolveAsset(url, AssetInterface::GetUserPrefsRepository()));
        if (!found) {
            return UnresolvedError::Create(
                FormatMessage("No asset found for Url @. Add the repository that holds it with --base.", url));
        }
        if (output.IsJson()) {
            TRY(WriteJson(found, target, output));
        } else {
            TRY(WriteText(found, target, output));
        }
        return EXIT_CODE::DONE;
    }

private:
    Result<void> WriteJson(const AssetDescription& found, const Url& target, Output& output) const {
        const auto& [id, version] = found->GetIdAndVersion();
        DocumentValue::ObjectType object;
        object.emplace_back("url", MakeUtf8(_url));
        object.emplace_back("target", target.GetUrl());
        object.emplace_back("repository", ToJsonText(found->GetRepositoryId()));
        object.emplace_back("id", ToJsonText(id));
        object.emplace_back("version", ToJsonText(version));
        return output.WriteJson(DocumentValue(std::move(object)));
    }

    static Result<void> WriteText(const AssetDescription& found, const Url& target, Output& output) {
        const auto& [id, version] = found->GetIdAndVersion();
        TRY(output.WriteLine("Target      " + target.GetUrl()));
        TRY(output.WriteLine("Repository  " + std::string(found->GetRepositoryId().GetView())));
        TRY(output.WriteLine("Id          " + std::string(id.GetView())));
        return output.WriteLine(FormatMessage("Version     #@  @", found.GetVersionKey().counter, version));
    }

    std::string _url;
};

}  // namespace

std::unique_ptr<Command> MakeOpenCommand() { return std::make_unique<OpenCommand>(); }
std::unique_ptr<Command> MakeResolveCommand() { return std::make_unique<ResolveCommand>(); }

}  // namespace talvo
