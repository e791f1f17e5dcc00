#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/meta_entry.h"
#include "apps/talvo/terminal_text.h"
#include "apps/talvo/value_parser.h"

namespace talvo {

namespace {

Opt<std::string> ReadUrl(const AssetDescription& description) {
    const Result<const Url&> url = description->GetUrl();
    return url.IsOk() && url.GetValue().IsPopulated() ? Opt<std::string>(url.GetValue().GetUrl()) : Opt<std::string>();
}

class ShowCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"show", "Show everything about one version.", "talvo show shelf chair\ntalvo show shelf chair --version '#2'"};
    }

    void DeclareArguments(ArgumentList& arguments) override { _arguments.Declare(arguments); }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const OpenedVersion opened = TRY(OpenedVersion::OpenToRead(_arguments, options));
        const VersionRecord record = VersionRecord::Read(opened.description);
        const Opt<std::string> url = ReadUrl(opened.description);
        const std::vector<MetaEntry> entries = TRY(MetaEntry::ReadAll(opened.description));
        if (output.IsJson()) {
            TRY(WriteJson(record, url, entries, output));
        } else {
            TRY(WriteText(record, url, output));
            TRY(WriteEntries(entries, output));
        }
        return EXIT_CODE::DONE;
    }

private:
    static Result<void> WriteJson(const VersionRecord& record, const Opt<std::string>& url, const std::vector<MetaEntry>& entries,
                                  Output& output) {
        DocumentValue::ObjectType object = record.ToJson();
        if (url) object.emplace_back("url", *url);
        DocumentValue::ArrayType metaData;
        for (const MetaEntry& entry : entries) {
            DocumentValue::ObjectType member;
            member.emplace_back("id", ToJsonText(entry.key.GetId()));
            entry.AppendJson(member);
            metaData.emplace_back(std::move(member));
        }
        object.emplace_back("metadata", DocumentValue(std::move(metaData)));
        return output.WriteJson(DocumentValue(std::move(object)));
    }

    static Result<void> WriteText(const VersionRecord& record, const Opt<std::string>& url, Output& output) {
        TRY(output.WriteLine("Id          " + std::string(record.id.GetView())));
        if (record.name) TRY(output.WriteLine("Name        " + record.name->GetCString()));
        TRY(output.WriteLine("Type        " + std::string(record.type.GetView())));
        TRY(output.WriteLine(FormatMessage("Version     #@  @{}@", record.key.counter, record.version,
                                           record.deleted ? "  (deletion marker)" : "")));
        const std::string time = TerminalText::FormatTime(UniversalDateTime(Int64(record.key.time)));
        if (!time.empty()) TRY(output.WriteLine("Time        " + time));
        if (record.bytes)
            TRY(output.WriteLine(
                FormatMessage("Size        @ (@ bytes)", TerminalText::FormatBytes(*record.bytes), *record.bytes)));
        TRY(output.WriteLine("Repository  " + std::string(record.repository.GetView())));
        if (url) TRY(output.WriteLine("Content     " + *url));
        return OK;
    }

    static Result<void> WriteEntries(const std::vector<MetaEntry>& entries, Output& output) {
        TextTable table({{"METADATA"}, {"KIND"}, {"TYPE"}, {"VALUE"}});
        for (const MetaEntry& entry : entries) {
            table.AddRow({std::string(entry.key.GetView()), ValueParser::GetKindName(entry.kind),
                          ValueParser::GetTypeName(entry.value.GetTypeId()), entry.GetText()});
        }
        TRY(output.WriteBytes("\n"));
        return output.WriteTable(table);
    }

    VersionArguments _arguments;
};

}  // namespace

std::unique_ptr<Command> MakeShowCommand() { return std::make_unique<ShowCommand>(); }

}  // namespace talvo
