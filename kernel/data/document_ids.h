// Reading of ids from documents, for the files of this folder.
#pragma once

#include "kernel/base/id.h"
#include "kernel/data/document_value.h"

namespace talvo::detail {

/// Errors: FileFormatError if `value` is no text, or one too long for an id.
Result<Id> ReadDocumentId(const DocumentValue& value);

}  // namespace talvo::detail
