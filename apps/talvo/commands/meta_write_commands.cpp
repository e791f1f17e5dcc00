#include "apps/talvo/commands/all_commands.h"
#include "apps/talvo/commands/meta_report.h"
#include "apps/talvo/signals.h"
#include "apps/talvo/value_parser.h"

namespace talvo {

namespace {

// The kind of the entry that is there.
Result<Opt<ASSET_METADATA_KIND>> FindKind(const AssetDescription& description, const InternedId& key) {
    const BaseArray<AssetMetaDataExistingEntry> existing = TRY(description->GetMetaData()->GetExistingEntries());
    for (const auto& [otherKey, kind] : existing) {
        if (otherKey == key) return Opt<ASSET_METADATA_KIND>(kind);
    }
    return Opt<ASSET_METADATA_KIND>();
}

// The library removes what is fixed when it is told to; nobody should lose the time of a version, and with it its order, by a word.
Result<void> CheckMayGo(const AssetDescription& description, const InternedId& key) {
    const Opt<ASSET_METADATA_KIND> kind = TRY(FindKind(description, key));
    if (!kind || !HasFlag(*kind, ASSET_METADATA_KIND::READ_ONLY)) return OK;
    return IllegalArgumentError::Create(
        FormatMessage("\"@\" of @ was fixed when the version was stored and stays. Store a new version instead.", key,
                      description->ToString()));
}

// The kind that is asked for, else that of the entry that is there, else `persistent`.
Result<ASSET_METADATA_KIND> ChooseKind(const Opt<std::string>& wanted, const AssetDescription& description,
                                       const InternedId& key) {
    if (wanted) return ValueParser::ParseKind(*wanted);
    const Opt<ASSET_METADATA_KIND> kind = TRY(FindKind(description, key));
    return kind.value_or(ASSET_METADATA_KIND::NONE) == ASSET_METADATA_KIND::NONE ? ASSET_METADATA_KIND::PERSISTENT : *kind;
}

class MetaSetCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"meta set", "Set a metadata value of a version.",
                "talvo meta set shelf chair com.example.rating 5 --type int\n"
                "talvo meta set shelf chair net.talvo.asset.keywords '[\"wood\",\"oak\"]' --type ids\n"
                "talvo meta set shelf chair net.talvo.asset.previewimageurl --file chair.png",
                "No version is added. A value that begins with \"-\" goes behind \"--\"."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddRequired("KEY", _key, "id of the metadata");
        arguments.AddOptional("VALUE", _value, "text, or JSON for types that are no text");
        arguments.AddOption("--type", "T", _type, ValueParser::ListTypeNames() + ", or the id of a type (default: string)");
        arguments.AddOption("--kind", "K", _kind,
                            ValueParser::ListKindNames() + " (default: that of the value before, else persistent)");
        arguments.AddOption("--file", "PATH", _file, "store a copy of this file as the value");
        arguments.AddOption("--version", "V", _arguments.version, VERSION_HELP);
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        if (_value.has_value() == _file.has_value()) return WrongUsageError::Create("Give either a VALUE or --file.");
        if (_file && _type)
            return WrongUsageError::Create("--type is for a VALUE; what --file stores has no other type than file.");
        const Id type = TRY(ValueParser::ParseType(_type.value_or("string")));
        const Data value = TRY(_value ? ValueParser::ParseValue(*_value, type) : Result<Data>(Data()));
        if (_kind) TRY(ValueParser::ParseKind(*_kind));
        const Id id = TRY(Id::Create(_key));
        const InternedId key(id);
        const OpenedVersion opened = TRY(OpenedVersion::OpenToWrite(_arguments, options));
        const ASSET_METADATA_KIND kind = TRY(ChooseKind(_kind, opened.description, key));
        Signals::StopAtSafePoint();
        TRY(_file ? StoreFile(opened, key, kind) : opened.repository->StoreMetaData(opened.description, key, value, kind));
        TRY(RepositoryOpener::Sync(opened.repository, RepositoryOpener::SYNC::IF_DURABLE));
        TRY(Report(opened.description, key, output));
        return EXIT_CODE::DONE;
    }

private:
    Result<void> StoreFile(const OpenedVersion& opened, const InternedId& key, ASSET_METADATA_KIND kind) const {
        const Url file = Url::FromSystemPath(*_file);
        if (file.IoDetect() != IO_DETECT::FILE) return IoError::Create(FormatMessage("\"@\" is no file.", *_file));
        return opened.repository->StoreUrlMetaData(opened.description, key, file, kind);
    }

    static Result<void> Report(const AssetDescription& description, const InternedId& key, Output& output) {
        const Opt<MetaEntry> entry = TRY(MetaEntry::Find(description, key));
        if (!entry || !output.IsJson()) return OK;
        return WriteMetaJson(output, description, *entry);
    }

    VersionArguments _arguments;
    std::string _key;
    Opt<std::string> _value;
    Opt<std::string> _type;
    Opt<std::string> _kind;
    Opt<std::string> _file;
};

class MetaUnsetCommand final : public Command {
public:
    CommandWords GetWords() const override {
        return {"meta unset", "Remove a metadata value of a version.", "talvo meta unset shelf chair com.example.rating",
                "A value that isn't there is fine."};
    }

    void DeclareArguments(ArgumentList& arguments) override {
        _arguments.DeclareAsset(arguments);
        arguments.AddRequired("KEY", _key, "id of the metadata");
        arguments.AddOption("--kind", "K", _kind, ValueParser::ListKindNames() + " (default: that of the value)");
        arguments.AddOption("--version", "V", _arguments.version, VERSION_HELP);
    }

    Result<EXIT_CODE> Run(const CommonOptions& options, Output& output) override {
        const Id id = TRY(Id::Create(_key));
        const InternedId key(id);
        if (_kind) TRY(ValueParser::ParseKind(*_kind));
        const OpenedVersion opened = TRY(OpenedVersion::OpenToWrite(_arguments, options));
        const ASSET_METADATA_KIND kind = TRY(ChooseKind(_kind, opened.description, key));
        TRY(CheckMayGo(opened.description, key));
        Signals::StopAtSafePoint();
        TRY(opened.repository->StoreMetaData(opened.description, key, Data(), kind));
        TRY(RepositoryOpener::Sync(opened.repository, RepositoryOpener::SYNC::IF_DURABLE));
        if (output.IsJson()) TRY(WriteMetaJson(output, opened.description, MetaEntry{key, kind, Data(), nullptr}));
        return EXIT_CODE::DONE;
    }

private:
    VersionArguments _arguments;
    std::string _key;
    Opt<std::string> _kind;
};

}  // namespace

std::unique_ptr<Command> MakeMetaSetCommand() { return std::make_unique<MetaSetCommand>(); }
std::unique_ptr<Command> MakeMetaUnsetCommand() { return std::make_unique<MetaUnsetCommand>(); }

}  // namespace talvo
