#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/json_text.h"
#include "apps/talvo/search_host.h"
#include "asset_filter.h"
#include "kernel/data/document_json.h"

#include <iostream>

namespace talvo {

namespace {

DocumentValue ToJson(const FilterOptions& options) {
    DocumentValue::ObjectType object;
    object.emplace_back("groupBy", DocumentValue(Int64(options.groupBy)));
    object.emplace_back("sortBy", DocumentValue(Int64(options.sortBy)));
    object.emplace_back("sortOrder", DocumentValue(Int64(options.sortOrder)));
    object.emplace_back("firstItems", DocumentValue(Int64(options.firstItems)));
    object.emplace_back("relevantItems", DocumentValue(Int64(options.relevantItems)));
    object.emplace_back("context", DocumentValue(Int64(options.context)));
    object.emplace_back("showSubContent", DocumentValue(options.showSubContent));
    object.emplace_back("reverseOrder", DocumentValue(options.reverseOrder));
    object.emplace_back("missingAssets", DocumentValue(options.missingAssets));
    return DocumentValue(std::move(object));
}

DocumentValue::ObjectType ToJson(const FilterCondition& condition) {
    DocumentValue::ArrayType values;
    for (const String& value : condition.values) values.emplace_back(value.GetCString());
    DocumentValue::ObjectType object;
    object.emplace_back("key", condition.key.IsPopulated() ? ToJsonText(condition.key.GetId()) : DocumentValue());
    object.emplace_back("values", DocumentValue(std::move(values)));
    return object;
}

DocumentValue ToJson(const FilterReading& reading) {
    DocumentValue::ArrayType conditions;
    for (const FilterCondition& condition : reading.conditions) conditions.emplace_back(ToJson(condition));
    DocumentValue::ObjectType object;
    object.emplace_back("options", ToJson(reading.options));
    object.emplace_back("conditions", DocumentValue(std::move(conditions)));
    return DocumentValue(std::move(object));
}

Result<void> WriteForPeople(const FilterReading& reading, Int32 lengthUnitSystem, Output& output) {
    TRY(output.WriteLine(WriteFilterOptions(reading.options).GetView()));
    for (const FilterCondition& condition : reading.conditions)
        TRY(output.WriteLine(DescribeFilterCondition(condition, lengthUnitSystem).GetView()));
    for (const FilterReading::UnknownKey& unknown : reading.unknownKeys) {
        std::string line = FormatMessage("unknown key @", unknown.word.ToLower());
        if (unknown.suggestion.IsPopulated()) line += FormatMessage(": did you mean @:?", unknown.suggestion.ToLower());
        TRY(output.WriteLine(line));
    }
    return OK;
}

/// A text of an object; one that isn't there is empty.
Result<String> GetText(const DocumentValue& object, const char* key) {
    const DocumentValue* value = object.FindMember(key);
    if (!value || value->IsNull()) return String();
    const std::string& text = TRY_REF(value->GetText());
    return String(text);
}

/// One line of --batch.
Result<FilterReading> ReadLine(const std::string& line) {
    const DocumentValue object = TRY(ReadJson(line));
    if (const auto members = object.GetObject(); members.IsError()) return members.GetError();
    FilterPieces pieces;
    pieces.groupFilter = TRY(GetText(object, "group"));
    pieces.sortFilter = TRY(GetText(object, "sort"));
    pieces.masterFilter = TRY(GetText(object, "master"));
    pieces.smartSearch = TRY(GetText(object, "smart"));
    pieces.filterString = TRY(GetText(object, "filter"));
    const DocumentValue* local = object.FindMember("local");
    pieces.localFilterMode = local ? TRY(local->GetBool()) : false;
    const DocumentValue* mode = object.FindMember("mode");
    const Int64 number = mode ? TRY(mode->GetInt()) : Int64(ASSET_BROWSE_MODE::ASSET_LIST);
    if (number < Int64(ASSET_BROWSE_MODE::CATEGORY_TREE) || number > Int64(ASSET_BROWSE_MODE::DATABASES))
        return FileFormatError::Create("\"mode\" is 1 to 8.");
    return ReadFilter(pieces, ASSET_BROWSE_MODE(Int32(number)));
}

class FilterCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"filter", "Show how a filter text is understood.",
                "talvo filter \"oak|beech polygons:<5000 groupby:category\"\ntalvo filter --batch < filters.jsonl",
                "--batch reads one JSON object a line: {\"group\",\"sort\",\"master\",\"smart\",\"filter\",\"local\",\"mode\"}."};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddOptional("TEXT", _text, "the filter");
        arguments.AddOption("--mode", "N", _mode, "of the browser: 1 a tree, 2 a list (default: 2)");
        arguments.AddOption("--master", "T", _master, "a filter that the text narrows");
        arguments.AddOption("--group", "T", _group, "what groups, such as category");
        arguments.AddOption("--sort", "T", _sort, "what sorts, such as name");
        arguments.AddOption("--smart-text", "T", _smart, "the text of selected smart searches");
        arguments.AddFlag("--local", _isLocal, "the text narrows the smart searches rather than taking their place");
        arguments.AddFlag("--imperial", _isImperial, "lengths are told in miles, yards, feet and inches");
        arguments.AddFlag("--batch", _isBatch, "read filters from standard input");
    }
    Result<EXIT_CODE> Run(const CommonOptions&, Output& output) override {
        if (_isBatch) return RunBatch(output);
        if (!_text) return WrongUsageError::Create("filter takes a text, or --batch.");
        FilterPieces pieces;
        pieces.groupFilter = SearchHost::MakeOptionText(_group, "groupby:");
        pieces.sortFilter = SearchHost::MakeOptionText(_sort, "sortby:");
        pieces.masterFilter = String(_master.value_or(""));
        pieces.smartSearch = String(_smart.value_or(""));
        pieces.filterString = String(*_text);
        pieces.localFilterMode = _isLocal;
        if (_mode && (_mode->size() != 1 || *_mode < "1" || *_mode > "8")) return WrongUsageError::Create("--mode takes 1 to 8.");
        const auto mode = _mode ? ASSET_BROWSE_MODE(Int32(_mode->front() - '0')) : ASSET_BROWSE_MODE::ASSET_LIST;
        const FilterReading reading = TRY(ReadFilter(pieces, mode));
        TRY(output.IsJson() ? output.WriteJson(ToJson(reading)) : WriteForPeople(reading, _isImperial ? 1 : 0, output));
        return EXIT_CODE::DONE;
    }

private:
    static Result<EXIT_CODE> RunBatch(Output& output) {
        EXIT_CODE code = EXIT_CODE::DONE;
        Int number = 0;
        for (std::string line; std::getline(std::cin, line);) {
            ++number;
            const Result<FilterReading> reading = ReadLine(line);
            if (reading.IsOk()) {
                TRY(output.WriteJson(ToJson(reading.GetValue())));
            } else {
                // Each line has its answer, so that those behind it stay in step.
                code = EXIT_CODE::FAILED;
                TRY(output.WriteJson(Output::ToJson(FileFormatError::Create(
                    FormatMessage("Line @ of the standard input: @", number, reading.GetError()->GetMessage())))));
            }
            // Whoever asks may wait for the answer before the next question.
            TRY(output.Flush());
        }
        return code;
    }

    Opt<std::string> _text, _mode, _master, _group, _sort, _smart;
    Bool _isLocal = false;
    Bool _isImperial = false;
    Bool _isBatch = false;
};

const char* GetLayerName(ListingExplanation::LAYER layer) {
    switch (layer) {
        case ListingExplanation::LAYER::WALK: return "walk";
        case ListingExplanation::LAYER::RULES: return "rules";
        case ListingExplanation::LAYER::FILTER: return "filter";
        case ListingExplanation::LAYER::LISTED: return "listed";
    }
    return "";
}

class ExplainCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"explain", "Say why a filter lists an asset, or doesn't.", "talvo explain shelf \"oak size:>1000\" oak.tv3"};
    }
    void DeclareArguments(ArgumentList& arguments) override {
        arguments.AddRequired("REPO", _path, REPO_HELP);
        arguments.AddRequired("TEXT", _text, "the filter");
        arguments.AddRequired("ID", _id, "the asset");
    }
    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const AssetRepositoryRef repository = TRY(SearchHost::OpenAll({_path}, options));
        const Id id = TRY(Id::Create(_id));
        const AssetDescription asset =
            id.IsEmpty() ? AssetDescription() : TRY(repository->FindLatestAsset(Id(), id, Id(), ASSET_FIND_MODE::LATEST));
        if (!asset) return UnresolvedError::Create(FormatMessage("There is no asset @ in @.", _id, _path));
        FilterPieces pieces;
        pieces.filterString = String(_text);
        const ListingExplanation explanation = TRY(ExplainListing(asset, pieces, repository));
        TRY(output.IsJson() ? output.WriteJson(Write(explanation)) : WriteText(explanation, output));
        return EXIT_CODE::DONE;
    }

private:
    DocumentValue Write(const ListingExplanation& explanation) const {
        DocumentValue::ArrayType conditions;
        for (const ListingExplanation::Condition& condition : explanation.conditions) {
            DocumentValue::ObjectType object = ToJson(condition.condition);
            object.emplace_back("met", DocumentValue(condition.isMet));
            object.emplace_back("match", condition.matchText.GetCString());
            DocumentValue::ArrayType reads;
            for (const auto& [what, value] : condition.reads) {
                DocumentValue::ObjectType read;
                read.emplace_back("what", what.GetCString());
                read.emplace_back("value", value.GetCString());
                reads.emplace_back(std::move(read));
            }
            object.emplace_back("reads", DocumentValue(std::move(reads)));
            conditions.emplace_back(std::move(object));
        }
        DocumentValue::ObjectType object;
        object.emplace_back("id", DocumentValue(_id));
        object.emplace_back("listed", DocumentValue(explanation.decidedBy == ListingExplanation::LAYER::LISTED));
        object.emplace_back("layer", DocumentValue(std::string(GetLayerName(explanation.decidedBy))));
        object.emplace_back("reason", explanation.reason.GetCString());
        object.emplace_back("conditions", DocumentValue(std::move(conditions)));
        return DocumentValue(std::move(object));
    }
    Result<void> WriteText(const ListingExplanation& explanation, Output& output) const {
        const Bool isListed = explanation.decidedBy == ListingExplanation::LAYER::LISTED;
        TRY(output.WriteLine(FormatMessage("@ is @. @", _id, isListed ? "listed" : "not listed", explanation.reason)));
        for (const ListingExplanation::Condition& condition : explanation.conditions) {
            TRY(output.WriteLine(FormatMessage("  @  @", condition.isMet ? "met    " : "not met",
                                               DescribeFilterCondition(condition.condition, 0))));
            for (const auto& [what, value] : condition.reads)
                TRY(output.WriteLine(FormatMessage("             @: @", what, value)));
        }
        return OK;
    }

    std::string _path, _text, _id;
};

}  // namespace

std::unique_ptr<Command> MakeFilterCommand() { return std::make_unique<FilterCommand>(); }
std::unique_ptr<Command> MakeExplainCommand() { return std::make_unique<ExplainCommand>(); }

}  // namespace talvo
