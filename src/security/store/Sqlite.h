#pragma once
// A small RAII layer over SQLite for the keychain file: a connection, a
// prepared statement with typed binds and reads, and the mapping of SQLite
// failures onto credential-store statuses.
#include <sqlite3.h>

#include <cstdint>
#include <string>

#include "VORKCoreCommC/security/SecurityTypes.h"

namespace vork::sec {

// The store status for a SQLite result code.
OSStatus statusFromSqlite(int code);

class Statement {
public:
    Statement(sqlite3 *db, const char *sql);
    ~Statement();
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    Statement &bind(int index, int64_t value);
    Statement &bind(int index, const std::string &blob);
    Statement &bindText(int index, const std::string &text);
    Statement &bindNull(int index);
    // SQLITE_ROW, SQLITE_DONE or an error code.
    int step();
    int64_t integer(int column) const;
    std::string blob(int column) const;
    bool isNull(int column) const;
    int prepareResult() const { return prepared_; }

private:
    sqlite3_stmt *statement_ = nullptr;
    int prepared_ = SQLITE_OK;
};

// Runs SQL without results; answers the SQLite result code.
int execute(sqlite3 *db, const char *sql);

}  // namespace vork::sec
