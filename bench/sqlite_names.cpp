#include "bench/sqlite_names.h"

#include "bench/measure.h"

#include <sqlite3.h>

namespace talvo::bench {

class SqliteNames::Database {
public:
    Database() { Need(sqlite3_open(":memory:", &handle) == SQLITE_OK, "can't open a database"); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database() { sqlite3_close(handle); }
    void Run(const char* words) {
        Need(sqlite3_exec(handle, words, nullptr, nullptr, nullptr) == SQLITE_OK, sqlite3_errmsg(handle));
    }

    sqlite3* handle = nullptr;
};

SqliteNames::SqliteNames(const std::vector<std::string>& names) : _database(std::make_unique<Database>()) {
    _database->Run("CREATE TABLE assets(name TEXT); CREATE VIRTUAL TABLE trigrams USING fts5(name, tokenize='trigram'); BEGIN");
    sqlite3_stmt* insert = nullptr;
    Need(sqlite3_prepare_v2(_database->handle, "INSERT INTO assets VALUES (?)", -1, &insert, nullptr) == SQLITE_OK,
         "can't insert");
    for (const std::string& name : names) {
        sqlite3_bind_text(insert, 1, name.data(), int(name.size()), SQLITE_STATIC);
        Need(sqlite3_step(insert) == SQLITE_DONE, "can't write a name");
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    _database->Run("INSERT INTO trigrams SELECT name FROM assets; COMMIT");
}

SqliteNames::~SqliteNames() = default;

Int SqliteNames::ReadAll(const char* words, const std::string& argument) {
    sqlite3_stmt* select = nullptr;
    Need(sqlite3_prepare_v2(_database->handle, words, -1, &select, nullptr) == SQLITE_OK, sqlite3_errmsg(_database->handle));
    sqlite3_bind_text(select, 1, argument.data(), int(argument.size()), SQLITE_STATIC);
    Int rows = 0;
    while (sqlite3_step(select) == SQLITE_ROW) {
        Keep(sqlite3_column_text(select, 0));
        ++rows;
    }
    sqlite3_finalize(select);
    return rows;
}

Int SqliteNames::SearchLike(const std::string& word) {
    return ReadAll("SELECT name FROM assets WHERE name LIKE ? ORDER BY name", "%" + word + "%");
}

Int SqliteNames::SearchTrigrams(const std::string& word) {
    return ReadAll("SELECT name FROM trigrams WHERE name MATCH ? ORDER BY name", "\"" + word + "\"");
}

}  // namespace talvo::bench
