// What both forms of documents refuse to write, so that whatever is written can be read.
#pragma once

#include "kernel/data/document_value.h"

namespace talvo::detail {

/// Errors: UnsupportedArgumentError for numbers that aren't finite and keys that are not UTF-8; IllegalArgumentError if
/// the tree is nested too deep (bytes count as one level) or has too many values.
Result<void> CheckDocumentLimits(const DocumentValue& value);

/// Null unless two members of `object` have one key.
const std::string* FindDuplicateKey(const DocumentValue::ObjectType& object);

}  // namespace talvo::detail
