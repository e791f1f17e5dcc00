// The peer of an index: its records in a table of a database.
#pragma once

#include "kernel/base/types.h"

#include <string>

namespace talvo::bench {

/// Makes `database` with a row for each version that the text of an index tells of: directory, id, type, number, version id, payload, and the
/// names of metadata.
void WriteRecords(const std::string& text, const std::string& database);
/// Reads all columns of all rows. @return how many rows there are.
Int ReadRecords(const std::string& database);

}  // namespace talvo::bench
