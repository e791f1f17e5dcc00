#include "apps/talvo/asset_values.h"
#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/named_assets.h"
#include "apps/talvo/search_host.h"
#include "keyword_asset.h"

#include <algorithm>
#include <map>

namespace talvo {

namespace {

/// The keyword that a word names, by id or name. @param makes: one that isn't there is made.
Result<Id> FindKeyword(const AssetRepositoryRef& repository, const std::string& word, Bool makes) {
    if (word == KEYWORD_FAVOURITE.GetView()) return Id(KEYWORD_FAVOURITE);
    const Result<AssetDescription> found = FindNamedAsset(repository, ASSETTYPE_KEYWORD, word, "keyword");
    if (found.IsOk()) return found.GetValue()->GetIdAndVersion().first;
    if (!makes || !UnresolvedError::IsClassOf(found.GetError())) return found.GetError();
    AssetValues values;
    values.name = String(word);
    values.category = NODE_CATEGORY_UNCATEGORIZED;
    const KeywordAsset keyword = TRY(KeywordAssetInterface::Create());
    const AssetDescription stored =
        TRY(StoreNamedAsset(repository, std::nullopt, "keyword", Asset(StrongRef<AssetInterface>(keyword)), values));
    return stored->GetIdAndVersion().first;
}

/// What a change of keywords is about: one asset, or all that a search finds.
struct KeywordTargets {
    std::string path, keyword;
    Opt<std::string> id, query;
    Bool isUsers = false;

    void Declare(ArgumentList& arguments) {
        arguments.AddRequired("REPO", path, REPO_HELP);
        arguments.AddRequired("KEYWORD", keyword, "id or name of the keyword");
        arguments.AddOptional("ID", id, "the asset");
        arguments.AddOption("--query", "TEXT", query, "everything that this filter finds, rather than one asset");
        arguments.AddFlag("--user", isUsers, "the user's own list, which changes nothing in the repository");
    }
    Result<std::vector<AssetDescription>> Find(const AssetRepositoryRef& repository) const {
        if (id.has_value() == query.has_value()) return WrongUsageError::Create("Name one asset, or a filter with --query.");
        std::vector<AssetDescription> targets;
        if (id) {
            const Id aid = TRY(Id::Create(*id));
            const AssetDescription found = TRY(repository->FindLatestAsset(Id(), aid, Id(), ASSET_FIND_MODE::LATEST));
            if (!found) return UnresolvedError::Create(FormatMessage("There is no asset @ in @.", *id, path));
            return std::vector<AssetDescription>{found};
        }
        SearchRequest request;
        request.text = String(*query);
        TRY(SearchHost::Run(repository, request, [&](const SearchRow& row) -> Result<void> {
            if (row.record.asset) targets.push_back(row.record.asset);
            return OK;
        }));
        return targets;
    }
};

Result<Int> Count(const std::vector<AssetDescription>& targets, const Id& keyword) {
    Int count = 0;
    for (const AssetDescription& target : targets) {
        const Id list = TRY(KeywordAssetInterface::HasKeyword(target, keyword));
        if (list.IsPopulated()) ++count;
    }
    return count;
}

class KeywordChangeCommand final : public Command {
public:
    enum class CHANGE { ADD, REMOVE };
    explicit KeywordChangeCommand(CHANGE change) : _change(change) {}

    CommandWords GetWords() const override {
        if (_change == CHANGE::ADD)
            return {"keyword add", "Put a keyword on an asset, or on everything that a filter finds.",
                    "talvo keyword add shelf wooden chair\ntalvo keyword add shelf wooden --query \"oak|beech\"",
                    "A keyword that isn't there is made."};
        return {"keyword remove", "Take a keyword off.", "talvo keyword remove shelf wooden chair"};
    }
    void DeclareArguments(ArgumentList& arguments) override { _targets.Declare(arguments); }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_targets.path, options));
        const std::vector<AssetDescription> targets = TRY(_targets.Find(repository));
        const Id keyword = TRY(FindKeyword(repository, _targets.keyword, _change == CHANGE::ADD && !targets.empty()));
        const Int before = TRY(Count(targets, keyword));
        for (const AssetDescription& target : targets) {
            TRY(_change == CHANGE::ADD ? KeywordAssetInterface::AddKeyword(target, keyword, _targets.isUsers, repository)
                                       : KeywordAssetInterface::RemoveKeyword(target, keyword, _targets.isUsers));
        }
        TRY(RepositoryOpener::Sync(repository, RepositoryOpener::SYNC::IF_DURABLE));
        const Int after = TRY(Count(targets, keyword));
        if (!output.IsJson()) {
            TRY(output.WriteLine(FormatMessage("@ of @ assets had it, @ have it now.", before, Int(targets.size()), after)));
            return EXIT_CODE::DONE;
        }
        DocumentValue::ObjectType object;
        object.emplace_back("keyword", ToJsonText(keyword));
        object.emplace_back("assets", DocumentValue(Int(targets.size())));
        object.emplace_back("before", DocumentValue(before));
        object.emplace_back("after", DocumentValue(after));
        TRY(output.WriteJson(DocumentValue(std::move(object))));
        return EXIT_CODE::DONE;
    }

private:
    const CHANGE _change;
    KeywordTargets _targets;
};

class KeywordListCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"keyword list", "List the keywords with how many assets have each.", "talvo keyword list shelf"};
    }
    void DeclareArguments(ArgumentList& arguments) override { arguments.AddRequired("REPO", _path, REPO_HELP); }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(RepositoryOpener::Open(_path, options));
        std::map<Id, Int> counts;
        TRY(FindAssets(repository, {}, Id(), Id(), ASSET_FIND_MODE::LATEST, [&](const AssetDescription& asset) -> Result<Bool> {
            if (asset->GetTypeId() == ASSETTYPE_KEYWORD) counts[asset->GetIdAndVersion().first];
            for (const LiteralId& list : {ASSETMETADATA::KEYWORDS, ASSETMETADATA::USERKEYWORDS}) {
                const Opt<BaseArray<Id>> keywords = TRY(asset->GetMetaData().Get<BaseArray<Id>>(list));
                if (!keywords) continue;
                for (const Id& keyword : *keywords) ++counts[keyword];
            }
            return true;
        }));
        TextTable table({{"NAME"}, {"ASSETS", TextTable::ALIGN::RIGHT}, {"ID"}});
        for (const auto& [id, count] : counts) {
            const AssetDescription keyword =
                id.IsEmpty() ? AssetDescription()
                             : TRY(repository->FindLatestAsset(ASSETTYPE_KEYWORD, id, Id(), ASSET_FIND_MODE::LATEST));
            const String name = keyword ? TRY(GetAssetName(keyword)) : String();
            if (output.IsJson()) {
                DocumentValue::ObjectType object;
                object.emplace_back("id", ToJsonText(id));
                object.emplace_back("name", name.GetCString());
                object.emplace_back("assets", DocumentValue(count));
                TRY(output.WriteJson(DocumentValue(std::move(object))));
            }
            table.AddRow({std::string(name.GetView()), std::to_string(count), std::string(id.GetView())});
        }
        if (!output.IsJson()) TRY(output.WriteTable(table));
        return EXIT_CODE::DONE;
    }

private:
    std::string _path;
};

class FavouriteCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"favourite", "Mark an asset as a favourite of yours.",
                "talvo favourite shelf chair\ntalvo favourite shelf chair --off"};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddFlag("--off", _isOff, "take the mark away");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const OpenedVersion opened = TRY(OpenedVersion::OpenToRead(_arguments, options));
        const AssetDescription& asset = opened.description;
        const Bool changed = TRY(_isOff ? KeywordAssetInterface::RemoveKeyword(asset, KEYWORD_FAVOURITE, true)
                                        : KeywordAssetInterface::AddKeyword(asset, KEYWORD_FAVOURITE, true, nullptr));
        const Bool isOne = KeywordAssetInterface::IsFavouriteAsset(asset);
        output.PrintNote(FormatMessage("@ is @ favourite@.", _arguments.id, isOne ? "a" : "no", changed ? "" : ", as before"));
        if (!output.IsJson()) return EXIT_CODE::DONE;
        DocumentValue::ObjectType object;
        object.emplace_back("id", ToJsonText(asset->GetIdAndVersion().first));
        object.emplace_back("favourite", DocumentValue(isOne));
        TRY(output.WriteJson(DocumentValue(std::move(object))));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
    Bool _isOff = false;
};

class UseCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"use", "Count a use of an asset, for lists of what is used most.", "talvo use shelf chair"};
    }
    void DeclareArguments(ArgumentList& arguments) override { _arguments.DeclareAsset(arguments); }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const OpenedVersion opened = TRY(OpenedVersion::OpenToRead(_arguments, options));
        TRY(CountAssetUsage(opened.description));
        const Opt<AssetUsage> usage = TRY(opened.description->GetMetaData().Get<AssetUsage>(ASSETMETADATA::USAGE));
        const Int count = usage ? std::get<1>(*usage) : 0;
        if (!output.IsJson()) {
            TRY(output.WriteLine(FormatMessage("@ was used @ time@.", _arguments.id, count, count == 1 ? "" : "s")));
            return EXIT_CODE::DONE;
        }
        DocumentValue::ObjectType object;
        object.emplace_back("id", ToJsonText(opened.description->GetIdAndVersion().first));
        object.emplace_back("uses", DocumentValue(count));
        TRY(output.WriteJson(DocumentValue(std::move(object))));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
};

}  // namespace

std::unique_ptr<Command> MakeKeywordAddCommand() {
    return std::make_unique<KeywordChangeCommand>(KeywordChangeCommand::CHANGE::ADD);
}
std::unique_ptr<Command> MakeKeywordRemoveCommand() {
    return std::make_unique<KeywordChangeCommand>(KeywordChangeCommand::CHANGE::REMOVE);
}
std::unique_ptr<Command> MakeKeywordListCommand() { return std::make_unique<KeywordListCommand>(); }
std::unique_ptr<Command> MakeFavouriteCommand() { return std::make_unique<FavouriteCommand>(); }
std::unique_ptr<Command> MakeUseCommand() { return std::make_unique<UseCommand>(); }

}  // namespace talvo
