#include "security/store/Sqlite.h"

#include "VORKCoreCommC/security/VORKSecurityStatus.h"

namespace vork::sec {

OSStatus statusFromSqlite(int code) {
    switch (code & 0xff) {
    case SQLITE_OK:
    case SQLITE_DONE:
    case SQLITE_ROW: return errSecSuccess;
    case SQLITE_FULL: return errSecDiskFull;
    case SQLITE_IOERR: return errSecIO;
    case SQLITE_READONLY:
    case SQLITE_PERM: return errSecWrPerm;
    case SQLITE_CANTOPEN: return errSecNoSuchKeychain;
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT: return errSecInvalidKeychain;
    case SQLITE_CONSTRAINT: return errSecDuplicateItem;
    case SQLITE_NOMEM: return errSecAllocate;
    default: return errSecInternalComponent;
    }
}

Statement::Statement(sqlite3 *db, const char *sql) { prepared_ = sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr); }

Statement::~Statement() { sqlite3_finalize(statement_); }

Statement &Statement::bind(int index, int64_t value) {
    sqlite3_bind_int64(statement_, index, value);
    return *this;
}

Statement &Statement::bind(int index, const std::string &blob) {
    sqlite3_bind_blob64(statement_, index, blob.data(), blob.size(), SQLITE_TRANSIENT);
    return *this;
}

Statement &Statement::bindText(int index, const std::string &text) {
    sqlite3_bind_text64(statement_, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    return *this;
}

Statement &Statement::bindNull(int index) {
    sqlite3_bind_null(statement_, index);
    return *this;
}

int Statement::step() { return statement_ ? sqlite3_step(statement_) : prepared_; }

int64_t Statement::integer(int column) const { return sqlite3_column_int64(statement_, column); }

std::string Statement::blob(int column) const {
    const void *data = sqlite3_column_blob(statement_, column);
    const int length = sqlite3_column_bytes(statement_, column);
    return data ? std::string(static_cast<const char *>(data), static_cast<size_t>(length)) : std::string();
}

bool Statement::isNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }

int execute(sqlite3 *db, const char *sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }

}  // namespace vork::sec
