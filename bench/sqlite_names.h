// The peer of a search: names in a table of a database, with a full-text index of their trigrams beside it.
#pragma once

#include "kernel/base/types.h"

#include <memory>
#include <string>
#include <vector>

namespace talvo::bench {

/// Names in memory of this process.
class SqliteNames {
public:
    explicit SqliteNames(const std::vector<std::string>& names);
    ~SqliteNames();
    /// Reads all names with `word` in them, sorted. @return how many.
    Int SearchLike(const std::string& word);
    /// The same over the trigrams.
    Int SearchTrigrams(const std::string& word);

private:
    class Database;
    Int ReadAll(const char* words, const std::string& argument);
    const std::unique_ptr<Database> _database;
};

}  // namespace talvo::bench
