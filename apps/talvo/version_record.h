// What the program shows of one version.
#pragma once

#include "apps/talvo/text_table.h"
#include "assets.h"
#include "kernel/data/document_value.h"

#include <string>

namespace talvo {

/// One version as rows and JSON objects show it. What can't be read is left out: a list goes on.
struct VersionRecord {
    Id repository;
    Id type;
    Id id;
    Id version;
    AssetVersionKey key;
    Bool deleted = false;
    Opt<String> name;
    Opt<Int64> bytes;  ///< size of the payload

    static VersionRecord Read(const AssetDescription& description);
    /// Size of the content; nothing if there is none or it can't be read.
    static Opt<Int64> ReadSize(const AssetDescription& description);
    /// The members of the version object, in the order in which scripts know them.
    DocumentValue::ObjectType ToJson() const;

    static TextTable MakeTable();
    /// Cells for MakeTable.
    std::vector<std::string> ToRow() const;
};

/// Text of an id for JSON: always UTF-8.
std::string ToJsonText(const Id& id);

}  // namespace talvo
