#include "kernel/data/enum_type.h"

#include "kernel/base/hash_map.h"
#include "kernel/base/hashing.h"
#include "kernel/text/format.h"
#include "kernel/thread/locks.h"

#include <algorithm>
#include <map>
#include <memory>

namespace talvo {

namespace {

/// A descriptor that knows its choices.
struct EnumInfo : DataTypeInfo {
    BaseArray<EnumEntry> entries;
};

/// Never freed, like all descriptors: by the text of what they consist of (unequal values may read alike), and by their own address.
struct EnumTable {
    std::multimap<std::string, std::unique_ptr<EnumInfo>> byText;
    HashMap<DataType, const EnumInfo*> byType;
};

Guarded<EnumTable, ARWLock>& GetTable() {
    static auto& table = *new Guarded<EnumTable, ARWLock>(KERNEL_TABLE_LOCK);
    return table;
}

/// Lengths stand before the texts, so that no two lists of texts give one.
void AppendText(std::string& whole, std::string_view text) { whole.append(std::to_string(text.size())).append(":").append(text); }

const EnumInfo* FindEqual(const EnumTable& table, const std::string& text, const BaseArray<EnumEntry>& entries) {
    const auto [first, last] = table.byText.equal_range(text);
    const auto found = std::find_if(first, last, [&](const auto& each) { return each.second->entries == entries; });
    return found == last ? nullptr : found->second.get();
}

/// The text of a whole enumeration. Errors: those of GetEnumType.
Result<std::string> MakeText(DataType underlying, const BaseArray<EnumEntry>& entries) {
    std::string text;
    HashSet<String> names;
    AppendText(text, underlying->id.GetView());
    for (const EnumEntry& entry : entries) {
        if (entry.value.GetType() != underlying) {
            return IllegalArgumentError::Create(FormatMessage("\"@\" is a choice of type @ in an enumeration of type @.",
                                                              entry.name, entry.value.GetTypeId(), underlying->id));
        }
        const Bool isNew = TRY(names.Insert(entry.name));
        if (!isNew) return IllegalArgumentError::Create(FormatMessage("\"@\" is in an enumeration twice.", entry.name));
        AppendText(text, entry.name.GetView());
        AppendText(text, entry.value.ToString());
    }
    return text;
}

}  // namespace

Result<DataType> DataTypeLib::GetEnumType(DataType underlying, BaseArray<EnumEntry> entries) {
    return CatchOutOfMemory([&]() -> Result<DataType> {
        if (!underlying) return NullptrError::Create("An enumeration needs the type of its values.");
        const std::string text = TRY(MakeText(underlying, entries));
        auto info = std::make_unique<EnumInfo>();
        static_cast<DataTypeInfo&>(*info) = *underlying;
        info->id = TRY(Id::Create(FormatMessage("net.talvo.datatype.enum.@{016x}", GetStoredHash64(text))));
        info->entries = std::move(entries);
        const auto table = GetTable().Write();
        const EnumInfo* known = FindEqual(*table, text, info->entries);
        if (!known) known = table->byText.emplace(text, std::move(info))->second.get();
        // Also for a known one: memory may have run out before this step the first time.
        TRY(table->byType.Insert(known, known));
        return DataType(known);
    });
}

const BaseArray<EnumEntry>* DataTypeLib::FindEnumEntries(DataType type) {
    const auto table = GetTable().Read();
    const EnumInfo* const* info = table->byType.Find(type);
    return info ? &(*info)->entries : nullptr;
}

}  // namespace talvo
