// The table of types by id.
#include "kernel/data/data_type.h"

#include "kernel/data/standard_types.h"

#include <absl/container/flat_hash_map.h>

#include <mutex>
#include <shared_mutex>

namespace talvo {

namespace {

struct TypeTable {
    std::shared_mutex lock;
    absl::flat_hash_map<Id, DataType> types;
};

/// Never freed: types register and are looked up from static objects too.
TypeTable& GetTable() {
    static TypeTable* const TABLE = new TypeTable;
    return *TABLE;
}

}  // namespace

void DataTypes::Register(DataType type) {
    TypeTable& table = GetTable();
    const std::unique_lock scope(table.lock);
    table.types.try_emplace(type->id, type);
}

DataType DataTypes::Find(const Id& id) {
    [[maybe_unused]] static const Bool STANDARD_TYPES_ARE_THERE = (detail::RegisterStandardTypes(), true);
    TypeTable& table = GetTable();
    const std::shared_lock scope(table.lock);
    const auto found = table.types.find(id);
    return found == table.types.end() ? nullptr : found->second;
}

}  // namespace talvo
