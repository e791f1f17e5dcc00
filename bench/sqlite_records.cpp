#include "bench/sqlite_records.h"

#include "bench/measure.h"

#include <sqlite3.h>

#include <fstream>

namespace talvo::bench {

namespace {

constexpr int COLUMNS = 7;

class Database {
public:
    explicit Database(const std::string& path) { Need(sqlite3_open(path.c_str(), &_handle) == SQLITE_OK, "can't open " + path); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database() {
        sqlite3_finalize(_statement);
        sqlite3_close(_handle);
    }

    void Run(const char* words) {
        Need(sqlite3_exec(_handle, words, nullptr, nullptr, nullptr) == SQLITE_OK, sqlite3_errmsg(_handle));
    }
    sqlite3_stmt* Prepare(const char* words) {
        Need(sqlite3_prepare_v2(_handle, words, -1, &_statement, nullptr) == SQLITE_OK, sqlite3_errmsg(_handle));
        return _statement;
    }

private:
    sqlite3* _handle = nullptr;
    sqlite3_stmt* _statement = nullptr;
};

}  // namespace

void WriteRecords(const std::string& text, const std::string& database) {
    Database target(database);
    target.Run(
        "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; BEGIN;"
        "CREATE TABLE records(directory TEXT, id TEXT, type TEXT, number INTEGER, version TEXT, payload TEXT, names TEXT)");
    sqlite3_stmt* const insert = target.Prepare("INSERT INTO records VALUES (?, ?, ?, ?, ?, ?, ?)");
    std::string row[COLUMNS];
    const auto write = [&] {
        for (int i = 0; i < COLUMNS; i++) {
            if (i == 3) {
                sqlite3_bind_int64(insert, i + 1, std::stoll(row[i]));
            } else {
                sqlite3_bind_text(insert, i + 1, row[i].data(), int(row[i].size()), SQLITE_STATIC);
            }
        }
        Need(sqlite3_step(insert) == SQLITE_DONE, "can't write a record");
        sqlite3_reset(insert);
    };
    // Each line is told from the others by its tabs and by what came before it.
    std::ifstream lines(text);
    int column = -1;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t tabs = line.find_first_not_of('\t');
        const bool beginsVersion = tabs == 1 && column != 3;
        if ((tabs == 0 && column > 2) || (beginsVersion && column > 4)) write();
        if (tabs == 0) column = column > 2 ? 0 : column + 1;
        if (tabs == 1) column = beginsVersion ? 3 : 4;
        if (tabs == 2) column = column == 4 ? 5 : 6;
        if (beginsVersion) row[6].clear();
        row[column] = (column == 6 && !row[6].empty() ? row[6] + "\n" : "") + line.substr(tabs);
    }
    if (column > 2) write();
    target.Run("COMMIT");
}

Int ReadRecords(const std::string& database) {
    Database source(database);
    sqlite3_stmt* const select = source.Prepare("SELECT directory, id, type, number, version, payload, names FROM records");
    Int rows = 0;
    Int bytes = 0;
    while (sqlite3_step(select) == SQLITE_ROW) {
        ++rows;
        for (int i = 0; i < COLUMNS; i++) {
            Keep(sqlite3_column_text(select, i));
            bytes += sqlite3_column_bytes(select, i);
        }
    }
    Keep(bytes);
    return rows;
}

}  // namespace talvo::bench
