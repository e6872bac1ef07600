#include "platform/linux/file_provider/sqlite_database.h"

#include <fcntl.h>
#include <sqlite3.h>

#include <cstdio>

#include "platform/file_descriptor.h"

namespace tobrel {

namespace {

constexpr int busyMilliseconds = 5000;
// Every process that comes first reads the whole log: it is kept short.
constexpr int longLogPages = 64;

SqliteFault faultOf(int code) {
    switch (code & 0xFF) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
        case SQLITE_PROTOCOL:
            return SqliteFault::busy;
        case SQLITE_CONSTRAINT:
            return SqliteFault::notUnique;
        case SQLITE_CANTOPEN:
        case SQLITE_PERM:
        case SQLITE_AUTH:
        case SQLITE_READONLY:
            return SqliteFault::noAccess;
        case SQLITE_FULL:
            return SqliteFault::full;
        case SQLITE_ERROR:
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_SCHEMA:
        case SQLITE_MISMATCH:
            return SqliteFault::damaged;
        default:
            return SqliteFault::unreadable;
    }
}

// The file for sharing must be there, but may be empty.
std::string uriWithoutSharing(const std::string& path) {
    FileDescriptor sharedMemory(open((path + "-shm").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600));
    std::string uri = "file:";
    for (unsigned char c : path) {
        char escape[4];
        std::snprintf(escape, sizeof escape, "%%%02x", c);
        uri += c == '/' ? "/" : escape;
    }
    return uri + "?readonly_shm=1";
}

void check(int code) {
    if (code != SQLITE_OK) throw faultOf(code);
}

}  // namespace

SqliteRows::~SqliteRows() {
    sqlite3_reset(statement_);
}

bool SqliteRows::next() {
    int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW) return true;
    if (code == SQLITE_DONE) return false;
    throw faultOf(code);
}

std::string_view SqliteRows::bytes(int column) const {
    const char* data = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    return {data, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::int64_t SqliteRows::number(int column) const {
    return sqlite3_column_int64(statement_, column);
}

SqliteDatabase::SqliteDatabase(const std::string& path, Use use) {
    int code = use == Use::readAndWrite
                   ? sqlite3_open_v2(path.c_str(), &handle_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr)
                   : sqlite3_open_v2(uriWithoutSharing(path).c_str(), &handle_,
                                     SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI, nullptr);
    if (code != SQLITE_OK) {
        sqlite3_close(handle_);
        throw faultOf(code);
    }
    sqlite3_busy_timeout(handle_, busyMilliseconds);
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    auto noteLogPages = [](void* pages, sqlite3*, const char*, int count) {
        *static_cast<int*>(pages) = count;
        return SQLITE_OK;
    };
    sqlite3_wal_hook(handle_, noteLogPages, &logPages_);
}

SqliteDatabase::~SqliteDatabase() {
    for (const Statement& statement : statements_) sqlite3_finalize(statement.handle);
    sqlite3_close(handle_);
}

void SqliteDatabase::execute(const char* sql) {
    check(sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr));
}

int SqliteDatabase::changes() const {
    return sqlite3_changes(handle_);
}

void SqliteDatabase::tidyUpOnClose() {
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
}

void SqliteDatabase::trimLog() {
    if (logPages_ < longLogPages) return;
    sqlite3_busy_timeout(handle_, 0);
    sqlite3_wal_checkpoint_v2(handle_, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    sqlite3_busy_timeout(handle_, busyMilliseconds);
    logPages_ = 0;
}

sqlite3_stmt* SqliteDatabase::prepared(const char* sql) {
    for (const Statement& statement : statements_)
        if (statement.sql == sql) return statement.handle;
    sqlite3_stmt* handle = nullptr;
    check(sqlite3_prepare_v3(handle_, sql, -1, SQLITE_PREPARE_PERSISTENT, &handle, nullptr));
    statements_.push_back({sql, handle});
    return handle;
}

void SqliteDatabase::bind(sqlite3_stmt* statement, int index, std::string_view bytes) {
    const char* data = bytes.empty() ? "" : bytes.data();
    check(sqlite3_bind_blob64(statement, index, data, bytes.size(), SQLITE_STATIC));
}

void SqliteDatabase::bind(sqlite3_stmt* statement, int index, std::int64_t number) {
    check(sqlite3_bind_int64(statement, index, number));
}

SqliteTransaction::SqliteTransaction(SqliteDatabase& database, Kind kind) : database_(database) {
    database_.run(kind == Kind::read ? "BEGIN" : "BEGIN IMMEDIATE");
}

SqliteTransaction::~SqliteTransaction() {
    if (!open_) return;
    try {
        database_.run("ROLLBACK");
    } catch (SqliteFault) {
        // The failure that led here has undone it already.
    }
}

void SqliteTransaction::commit() {
    database_.run("COMMIT");
    open_ = false;
}

}  // namespace tobrel
