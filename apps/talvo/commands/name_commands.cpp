#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/named_assets.h"
#include "asset_utilities.h"

namespace talvo {

namespace {

constexpr const char* LANGUAGE_HELP = "code such as en or de (default: that of the environment)";
/// It tells one version from others, so that it stays with this one.
constexpr ASSET_METADATA_KIND TAG_KIND = ASSET_METADATA_KIND::PERSISTENT | ASSET_METADATA_KIND::VERSIONED;

/// Null stands for the current one.
Result<LanguageRef> GetLanguage(const Opt<std::string>& code) {
    if (!code) return LanguageRef(nullptr);
    const Id id = TRY(Id::Create(*code));
    return Resource::GetLanguage(id);
}

Result<void> WriteText(Output& output, DocumentValue::ObjectType object, const char* key, const String& text) {
    if (!output.IsJson()) return output.WriteLine(text.GetView());
    object.emplace_back(key, text.GetCString());
    return output.WriteJson(DocumentValue(std::move(object)));
}

class NameCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"name", "Show what people call an asset, or change it.",
                "talvo name shelf chair\ntalvo name shelf chair \"Oak chair\"\ntalvo name shelf chair Eichenstuhl --language de"};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddOptional("TEXT", _text, "the new name");
        arguments.AddOption("--language", "L", _language, LANGUAGE_HELP);
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const LanguageRef language = TRY(GetLanguage(_language));
        const OpenedVersion opened =
            TRY(_text ? OpenedVersion::OpenToWrite(_arguments, options) : OpenedVersion::OpenToRead(_arguments, options));
        const InternedId key(OBJECT_BASE_NAME);
        if (_text) {
            const LanguageRef target = language ? language : Resource::GetCurrentLanguage();
            TRY(opened.description->StoreMetaString(key, String(*_text), target));
            TRY(RepositoryOpener::Sync(opened.repository, RepositoryOpener::SYNC::IF_DURABLE));
        }
        const String name = TRY(opened.description->GetMetaString(key, language, String()));
        DocumentValue::ObjectType object;
        object.emplace_back("id", ToJsonText(opened.description->GetIdAndVersion().first));
        TRY(WriteText(output, std::move(object), "name", name));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
    Opt<std::string> _text;
    Opt<std::string> _language;
};

class RepositoryNameCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {
            "repo-name", "Show what people call a repository, or change it.",
            "talvo repo-name shelf\ntalvo repo-name shelf \"Our shelf\"\ntalvo repo-name shelf \"Unser Regal\" --language de"};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _path, REPO_HELP);
        arguments.AddOptional("TEXT", _text, "the new name");
        arguments.AddOption("--language", "L", _language, LANGUAGE_HELP);
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const LanguageRef language = TRY(GetLanguage(_language));
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        if (_text) {
            const LanguageRef target = language ? language : Resource::GetCurrentLanguage();
            TRY(repository->SetRepositoryName(String(*_text), target));
            TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::IF_DURABLE));
        }
        const String name = TRY(repository->GetRepositoryName(language, true));
        DocumentValue::ObjectType object;
        object.emplace_back("repository", ToJsonText(repository->GetId()));
        TRY(WriteText(output, std::move(object), "name", name));
        return EXIT_CODE::DONE;
    }

private:
    std::string _path;
    Opt<std::string> _text;
    Opt<std::string> _language;
};

class TagCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"tag", "Show the tag of the newest version, or change it.",
                "talvo tag shelf chair\ntalvo tag shelf chair 1.2\ntalvo tag shelf chair --next",
                "A tag tells one version from others for people; it stays with its version."};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddOptional("TEXT", _text, "the new tag");
        arguments.AddFlag("--next", _isNext, "the tag that follows the present one: 1.9 becomes 2.0");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        if (_isNext && _text) return WrongUsageError::Create("--next and TEXT exclude each other.");
        const Bool changes = _isNext || _text;
        const OpenedVersion opened =
            TRY(changes ? OpenedVersion::OpenToWrite(_arguments, options) : OpenedVersion::OpenToRead(_arguments, options));
        const InternedId key(ASSETMETADATA::VERSIONTAG);
        const Opt<String> present = TRY(opened.description->GetMetaData().Get<String>(key));
        String tag = present.value_or(String());
        if (changes) {
            if (_isNext) {
                tag = TRY(AssetUtilities::IncreaseAssetVersion(tag));
            } else {
                tag = String(*_text);
            }
            TRY(opened.description.StoreMetaData(key, tag.IsEmpty() ? Data() : Data(tag), TAG_KIND));
            TRY(RepositoryOpener::Sync(opened.repository, RepositoryOpener::SYNC::IF_DURABLE));
        }
        DocumentValue::ObjectType object;
        object.emplace_back("id", ToJsonText(opened.description->GetIdAndVersion().first));
        object.emplace_back("version", ToJsonText(opened.description->GetIdAndVersion().second));
        TRY(WriteText(output, std::move(object), "tag", tag));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
    Opt<std::string> _text;
    Bool _isNext = false;
};

class IconCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"icon", "Show where the picture of an asset lies.", "talvo icon shelf chair",
                "The asset's own preview, else the icon of its kind."};
    }
    void DeclareArguments(ArgumentList& arguments) override { _arguments.Declare(arguments); }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const OpenedVersion opened = TRY(OpenedVersion::OpenToRead(_arguments, options));
        const Url icon = TRY(AssetUtilities::GetAssetIcon(opened.description));
        if (icon.IsEmpty()) {
            return UnresolvedError::Create(FormatMessage("@ has no icon: its type @ is not known here.",
                                                         opened.description->ToString(), opened.description->GetTypeId()));
        }
        DocumentValue::ObjectType object;
        object.emplace_back("id", ToJsonText(opened.description->GetIdAndVersion().first));
        TRY(WriteText(output, std::move(object), "icon", icon.ToString()));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
};

}  // namespace

std::unique_ptr<Command> MakeNameCommand() { return std::make_unique<NameCommand>(); }
std::unique_ptr<Command> MakeRepositoryNameCommand() { return std::make_unique<RepositoryNameCommand>(); }
std::unique_ptr<Command> MakeTagCommand() { return std::make_unique<TagCommand>(); }
std::unique_ptr<Command> MakeIconCommand() { return std::make_unique<IconCommand>(); }

}  // namespace talvo
