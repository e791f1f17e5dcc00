#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/meta_report.h"
#include "apps/talvo/value_parser.h"

namespace talvo {

namespace {

class MetaListCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"meta list", "List the metadata of a version.", "talvo meta list shelf chair"};
    }

    void DeclareArguments(ArgumentList& arguments) override { _arguments.Declare(arguments); }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const OpenedVersion opened = TRY(OpenedVersion::OpenToRead(_arguments, options));
        const std::vector<MetaEntry> entries = TRY(MetaEntry::ReadAll(opened.description));
        TextTable table({{"KEY"}, {"KIND"}, {"TYPE"}, {"VALUE"}});
        for (const MetaEntry& entry : entries) {
            if (output.IsJson())
                TRY(WriteMetaJson(output, opened.description, entry));
            else
                table.AddRow({std::string(entry.key.GetView()), ValueParser::GetKindName(entry.kind),
                              ValueParser::GetTypeName(entry.value.GetTypeId()), entry.GetText()});
            if (entry.problem) output.QueueWarning(entry.problem->GetMessage());
        }
        if (!output.IsJson()) TRY(output.WriteTable(table));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
};

class MetaGetCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"meta get", "Show one metadata value of a version.", "talvo meta get shelf chair net.talvo.asset.versiontag"};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddRequired("KEY", _key, "id of the metadata");
        arguments.AddOption("--version", "V", _arguments.version, VERSION_HELP);
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const OpenedVersion opened = TRY(OpenedVersion::OpenToRead(_arguments, options));
        const Id key = TRY(Id::Create(_key));
        const Opt<MetaEntry> entry = TRY(MetaEntry::Find(opened.description, InternedId(key)));
        if (!entry)
            return UnresolvedError::Create(FormatMessage("@ has no metadata \"@\".", opened.description->ToString(), key));
        TRY(output.IsJson() ? WriteMetaJson(output, opened.description, *entry) : output.WriteLine(entry->GetText()));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
    std::string _key;
};

}  // namespace

std::unique_ptr<Command> MakeMetaListCommand() { return std::make_unique<MetaListCommand>(); }
std::unique_ptr<Command> MakeMetaGetCommand() { return std::make_unique<MetaGetCommand>(); }

}  // namespace talvo
