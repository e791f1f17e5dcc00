// How the `meta` commands show an entry.
#pragma once

#include "apps/talvo/commands/version_arguments.h"
#include "apps/talvo/meta_entry.h"

namespace talvo {

/// `{"id","version","key","kind","type","value"}`
inline Result<void> WriteMetaJson(Output& output, const AssetDescription& description, const MetaEntry& entry) {
    DocumentValue::ObjectType object;
    object.emplace_back("id", ToJsonText(description->GetIdAndVersion().first));
    object.emplace_back("version", ToJsonText(description->GetIdAndVersion().second));
    object.emplace_back("key", ToJsonText(entry.key.GetId()));
    entry.AppendJson(object);
    return output.WriteJson(DocumentValue(std::move(object)));
}

}  // namespace talvo
