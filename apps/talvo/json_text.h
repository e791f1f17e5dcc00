// JSON lines made of the value trees that documents use.
#pragma once

#include "kernel/data/document_value.h"

#include <string>

namespace talvo::JsonText {

/// One line without its end. Keys keep their order, bytes that are no text stand as {"base64": ...}, not-a-number as null.
std::string Write(const DocumentValue& value);

}  // namespace talvo::JsonText
