// One metadata value of a version as the program shows it.
#pragma once

#include "assets.h"
#include "kernel/data/document_value.h"

#include <string>
#include <vector>

namespace talvo {

struct MetaEntry {
    InternedId key;
    ASSET_METADATA_KIND kind = ASSET_METADATA_KIND::NONE;
    Data value;
    ErrorRef problem;  ///< why there is no value, if it couldn't be read

    /// The entry of `key`; nothing if the version has none.
    static Result<Opt<MetaEntry>> Find(const AssetDescription& description, const InternedId& key);
    /// All entries, sorted by key. One that can't be read is there with its problem.
    static Result<std::vector<MetaEntry>> ReadAll(const AssetDescription& description);

    /// Appends kind, type and value. Without a value only the kind.
    void AppendJson(DocumentValue::ObjectType& object) const;
    /// The value as text for people.
    std::string GetText() const;
};

}  // namespace talvo
