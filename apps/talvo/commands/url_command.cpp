#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"

namespace talvo {

namespace {

class UrlCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {
            "url", "Show the url of a version.", "talvo url shelf chair --latest\ntalvo url shelf chair --version '#1'",
            "Any program that opens urls of assets reads the content by it. Without --latest it leads to this version for good."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.Declare(arguments);
        arguments.AddFlag("--latest", _isLatest, "lead to the newest version, whenever it is opened");
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        if (_isLatest && _arguments.version) return WrongUsageError::Create("--latest and --version exclude each other.");
        const OpenedVersion opened = TRY(OpenedVersion::OpenToRead(_arguments, options));
        const Url url = TRY(AssetInterface::GetAssetUrl(opened.description, _isLatest));
        if (url.IsEmpty())
            return UnresolvedError::Create(FormatMessage("@ has no content, and so no url.", opened.description->ToString()));
        if (output.IsJson()) {
            TRY(WriteJson(opened.description, url, output));
        } else {
            TRY(output.WriteLine(url.GetUrl()));
        }
        return EXIT_CODE::DONE;
    }

private:
    static Result<void> WriteJson(const AssetDescription& description, const Url& url, Output& output) {
        DocumentValue::ObjectType object;
        object.emplace_back("id", ToJsonText(description->GetIdAndVersion().first));
        object.emplace_back("version", ToJsonText(description->GetIdAndVersion().second));
        object.emplace_back("url", url.GetUrl());
        return output.WriteJson(DocumentValue(std::move(object)));
    }

    VersionArguments _arguments;
    Bool _isLatest = false;
};

}  // namespace

std::unique_ptr<Command> MakeUrlCommand() { return std::make_unique<UrlCommand>(); }

}  // namespace talvo
