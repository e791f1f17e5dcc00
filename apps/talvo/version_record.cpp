#include "apps/talvo/version_record.h"

#include "apps/talvo/terminal_text.h"
#include "kernel/io/file_utilities.h"

#include <cstdio>
#include <tuple>

namespace talvo {

namespace {

constexpr std::size_t SHORT_VERSION = 8;

Opt<String> ReadName(const AssetDescription& description) {
    const Result<String> name = description->GetMetaString(OBJECT_BASE_NAME, nullptr, String());
    return name.IsOk() && name.GetValue().IsPopulated() ? Opt<String>(name.GetValue()) : Opt<String>();
}

std::string FormatOrigin(UInt origin) {
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(origin));
    return text;
}

}  // namespace

std::string ToJsonText(const Id& id) { return MakeUtf8(id.GetView()); }

Opt<Int64> VersionRecord::ReadSize(const AssetDescription& description) {
    if (description->IsDeleted()) return {};
    const Result<const Url&> url = description->GetUrl();
    if (url.IsError() || url.GetValue().IsEmpty()) return {};
    const Result<Int64> size = FileUtilities::GetSize(url.GetValue());
    return size.IsOk() ? Opt<Int64>(size.GetValue()) : Opt<Int64>();
}

VersionRecord VersionRecord::Read(const AssetDescription& description) {
    VersionRecord record;
    record.repository = description->GetRepositoryId();
    record.type = description->GetTypeId();
    std::tie(record.id, record.version) = description->GetIdAndVersion();
    record.key = description.GetVersionKey();
    record.deleted = description->IsDeleted();
    record.name = ReadName(description);
    record.bytes = ReadSize(description);
    return record;
}

DocumentValue::ObjectType VersionRecord::ToJson() const {
    DocumentValue::ObjectType object;
    object.emplace_back("repository", ToJsonText(repository));
    object.emplace_back("id", ToJsonText(id));
    object.emplace_back("type", ToJsonText(type));
    object.emplace_back("version", ToJsonText(version));
    object.emplace_back("counter", UInt64(key.counter));
    object.emplace_back("origin", FormatOrigin(key.origin));
    if (key.time != 0) object.emplace_back("time", UniversalDateTime(Int64(key.time)).Format());
    object.emplace_back("deleted", deleted);
    if (name) object.emplace_back("name", name->GetCString());
    if (bytes) object.emplace_back("bytes", *bytes);
    return object;
}

TextTable VersionRecord::MakeTable() {
    using ALIGN = TextTable::ALIGN;
    return TextTable({{"NAME"}, {"SIZE", ALIGN::RIGHT}, {"TIME"}, {"#", ALIGN::RIGHT}, {"VERSION"}, {"ID"}});
}

std::vector<std::string> VersionRecord::ToRow() const {
    return {name ? name->GetCString() : std::string(),
            bytes ? TerminalText::FormatBytes(*bytes) : std::string(),
            TerminalText::FormatTime(UniversalDateTime(Int64(key.time))),
            std::to_string(key.counter),
            std::string(version.GetView().substr(0, SHORT_VERSION)),
            std::string(id.GetView())};
}

}  // namespace talvo
