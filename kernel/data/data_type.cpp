// The table of types by id.
#include "kernel/data/data_type.h"

#include "kernel/base/hash_map.h"
#include "kernel/data/standard_types.h"
#include "kernel/thread/locks.h"

#include <new>

namespace talvo {

namespace {

using TypeTable = Guarded<HashMap<Id, DataType>, ARWLock>;

/// Never freed: types register and are looked up from static objects too.
TypeTable& GetTable() {
    static TypeTable* const TABLE = new TypeTable(KERNEL_TABLE_LOCK);
    return *TABLE;
}

}  // namespace

void DataTypes::Register(DataType type) {
    const auto types = GetTable().Write();
    if (types->Contains(type->id)) return;
    if (types->Insert(type->id, type).IsError()) throw std::bad_alloc();
}

DataType DataTypes::Find(const Id& id) {
    [[maybe_unused]] static const Bool STANDARD_TYPES_ARE_THERE = (detail::RegisterStandardTypes(), true);
    const auto types = GetTable().Read();
    const DataType* found = types->Find(id);
    return found ? *found : nullptr;
}

}  // namespace talvo
