#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/json_text.h"
#include "apps/talvo/search_host.h"
#include "kernel/text/format.h"

#include <charconv>

namespace talvo {

namespace {

Result<Int> ReadNumber(const Opt<std::string>& word, const char* option, Int fallback) {
    if (!word) return fallback;
    Int number = 0;
    const char* end = word->data() + word->size();
    const auto read = std::from_chars(word->data(), end, number);
    if (read.ec == std::errc() && read.ptr == end && number >= 0) return number;
    return WrongUsageError::Create(FormatMessage("@ takes a number, not \"@\".", option, *word));
}

Result<ASSET_BROWSE_MODE> ReadMode(const Opt<std::string>& word) {
    const Int mode = TRY(ReadNumber(word, "--mode", Int(ASSET_BROWSE_MODE::ASSET_LIST)));
    if (mode == 1) return ASSET_BROWSE_MODE::CATEGORY_TREE;
    if (mode == 2) return ASSET_BROWSE_MODE::ASSET_LIST;
    return WrongUsageError::Create("--mode takes 1 (the tree of categories) or 2 (the list of assets).");
}

DocumentValue ToJson(const SearchRow& row) {
    const BuildEntryRecord& record = row.record;
    DocumentValue::ObjectType object;
    object.emplace_back("stage", DocumentValue(Int64(BUILD_STAGE::ROW)));
    object.emplace_back("depth", DocumentValue(row.depth));
    object.emplace_back("group", ToJsonText(row.group));
    object.emplace_back("name", record.name.GetCString());
    object.emplace_back("id", record.asset ? ToJsonText(record.asset->GetIdAndVersion().first) : DocumentValue());
    object.emplace_back("version", record.asset ? ToJsonText(record.asset->GetIdAndVersion().second) : DocumentValue());
    object.emplace_back("type", record.asset ? ToJsonText(record.asset->GetTypeId()) : DocumentValue());
    object.emplace_back("subtitle", record.subtitle.GetCString());
    object.emplace_back("match", record.matchText.GetCString());
    object.emplace_back("relevant", DocumentValue(record.relevant));
    object.emplace_back("marked", DocumentValue(record.isMarked));
    return DocumentValue(std::move(object));
}

Result<void> WriteRow(const SearchRow& row, Output& output) {
    if (output.IsJson()) return output.WriteJson(ToJson(row));
    const BuildEntryRecord& record = row.record;
    std::string line(std::size_t(2 * row.depth), ' ');
    if (record.isMarked) line += "* ";
    line += record.name.IsEmpty() && record.isGroup ? "(all)" : std::string(record.name.GetView());
    if (record.subtitle.IsPopulated()) line += "  (" + std::string(record.subtitle.GetView()) + ")";
    if (record.matchText.IsPopulated()) line += "  [" + std::string(record.matchText.GetView()) + "]";
    if (record.asset && !record.isGroup) line += "  " + std::string(record.asset->GetIdAndVersion().first.GetView());
    return output.WriteLine(line);
}

class SearchCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {
            "search", "Show what a filter finds, grouped and sorted.",
            "talvo search shelf \"oak type:file groupby:category\"\ntalvo search user app \"\" --group none --limit 20 --json",
            "The last argument is the filter, those before it are repositories. docs/filter.md teaches the language."};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddOption("--mode", "1|2", _mode, "1: the tree of categories, 2: the list of assets (default: 2)");
        arguments.AddOption("--master", "T", _master, "a filter that the text narrows");
        arguments.AddOption("--group", "T", _group, "category, creationdate, usedate, usecount, type, database or none");
        arguments.AddOption("--sort", "T", _sort, "name, creationdate, usedate, usecount, size or relevance");
        arguments.AddOptions("--smart", "ID", _smart, "a smart search, keyword or category to look in");
        arguments.AddOptions("--parent", "ID", _parents, "a category that --local looks in");
        arguments.AddFlag("--local", _isLocal, "only what lies in the categories of --parent");
        arguments.AddOption("--types", "ID,...", _types, "only assets of these types");
        arguments.AddOptions("--without-db", "ID", _withoutDb, "leave out the assets of this repository");
        arguments.AddOption("--now", "TIME", _now, "what \"today\" means (default: the clock)");
        arguments.AddOption("--limit", "N", _limit, "at most so many assets");
        arguments.AddList("REPO... TEXT", _words, "repositories to look in, then the filter");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        if (_words.size() < 2)
            return WrongUsageError::Create("search takes a repository and a filter, such as talvo search shelf oak.");
        const std::vector<std::string> paths(_words.begin(), _words.end() - 1);
        SearchRequest request;
        request.mode = TRY(ReadMode(_mode));
        request.text = String(_words.back());
        request.master = String(_master.value_or(""));
        request.group = SearchHost::MakeOptionText(_group, "groupby:");
        request.sort = SearchHost::MakeOptionText(_sort, "sortby:");
        request.isLocal = _isLocal;
        request.smart = _smart;
        request.parents = _parents;
        request.types = TRY(SearchHost::ReadIds(_types));
        for (const std::string& word : _withoutDb) {
            const Id id = TRY(Id::Create(word));
            TRY(request.withoutDatabases.Insert(id));
        }
        if (_now) request.now = TRY(UniversalDateTime::Parse(*_now));
        request.limit = TRY(ReadNumber(_limit, "--limit", 0));
        const AssetRepositoryRef repository = TRY(SearchHost::OpenAll(paths, options));
        TRY(SearchHost::Run(repository, request, [&](const SearchRow& row) { return WriteRow(row, output); }));
        return EXIT_CODE::DONE;
    }

private:
    std::vector<std::string> _words, _smart, _parents, _withoutDb;
    Opt<std::string> _mode, _master, _group, _sort, _types, _now, _limit;
    Bool _isLocal = false;
};

class TreeCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"tree", "Show the tree of categories with keywords and smart searches, as a browser shows it.",
                "talvo tree shelf", "\"talvo category tree\" shows the categories alone, with counts."};
    }
    void DeclareArguments(ArgumentList& arguments) override { arguments.AddRequired("REPO", _path, REPO_HELP); }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        SearchRequest request;
        request.mode = ASSET_BROWSE_MODE::CATEGORY_TREE;
        const AssetRepositoryRef repository = TRY(SearchHost::OpenAll({_path}, options));
        TRY(SearchHost::Run(repository, request, [&](const SearchRow& row) -> Result<void> {
            if (output.IsJson()) return output.WriteJson(ToJson(row));
            return output.WriteLine(std::string(std::size_t(2 * row.depth), ' ') + std::string(row.record.name.GetView()));
        }));
        return EXIT_CODE::DONE;
    }

private:
    std::string _path;
};

}  // namespace

std::unique_ptr<Command> MakeSearchCommand() { return std::make_unique<SearchCommand>(); }
std::unique_ptr<Command> MakeTreeCommand() { return std::make_unique<TreeCommand>(); }

}  // namespace talvo
