// Enumerations that are made at run time: a list of choices, each a text for people and a value, as a selector shows them.
#pragma once

#include "kernel/base/array.h"
#include "kernel/data/data.h"
#include "kernel/text/string.h"

namespace talvo {

/// One choice of an enumeration.
struct EnumEntry {
    String name;  ///< what people choose
    Data value;   ///< of the underlying type
    Bool operator==(const EnumEntry&) const = default;
};

namespace DataTypeLib {

/// The data type whose values are those of `underlying` and whose choices are `entries`, in this order. Equal enumerations are one type.
/// Types live as long as the process: make them of what people choose from, not of what a document holds. They are in no table, so values of
/// them are stored as values of `underlying`.
/// Errors: NullptrError for a null `underlying`; IllegalArgumentError for a value of another type, or a name that is there twice.
Result<DataType> GetEnumType(DataType underlying, BaseArray<EnumEntry> entries);
/// The choices of `type`; null if it is no enumeration. Valid for ever.
const BaseArray<EnumEntry>* FindEnumEntries(DataType type);

}  // namespace DataTypeLib

}  // namespace talvo
