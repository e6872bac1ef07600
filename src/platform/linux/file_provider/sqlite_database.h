#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace tobrel {

// Thrown by every call below; nothing outside this folder ever sees it.
enum class SqliteFault { damaged, busy, notUnique, noAccess, full, unreadable };

// The rows of one statement, which is ready for its next use when this is destroyed.
class SqliteRows {
public:
    explicit SqliteRows(sqlite3_stmt* statement) : statement_(statement) {}
    ~SqliteRows();
    SqliteRows(const SqliteRows&) = delete;
    SqliteRows& operator=(const SqliteRows&) = delete;

    // Goes to the next row; false after the last.
    bool next();
    // Of the present row, until the next one.
    std::string_view bytes(int column) const;
    std::int64_t number(int column) const;

private:
    sqlite3_stmt* const statement_;
};

// One connection to an existing database file, for one thread at a time. SQL text is always a literal; what is bound to
// it must outlive the rows.
class SqliteDatabase {
public:
    // The database is shared by a small file beside it, which a full disk does not allow; reading alone needs none.
    enum class Use { readAndWrite, readWithoutSharing };
    explicit SqliteDatabase(const std::string& path, Use use = Use::readAndWrite);
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    template <class... Arguments>
    SqliteRows query(const char* sql, const Arguments&... arguments) {
        sqlite3_stmt* statement = prepared(sql);
        int index = 0;
        (bind(statement, ++index, arguments), ...);
        return SqliteRows(statement);
    }
    // Several statements at once, none of which is kept.
    void execute(const char* sql);
    template <class... Arguments>
    void run(const char* sql, const Arguments&... arguments) {
        query(sql, arguments...).next();
    }
    // The rows that the last statement changed.
    int changes() const;

    // By default closing leaves the write-ahead log as it is, which takes no time.
    void tidyUpOnClose();
    // Moves the write-ahead log into the database once it has grown, unless others are using it.
    void trimLog();

private:
    sqlite3_stmt* prepared(const char* sql);
    void bind(sqlite3_stmt* statement, int index, std::string_view bytes);
    void bind(sqlite3_stmt* statement, int index, std::int64_t number);

    struct Statement {
        const char* sql;
        sqlite3_stmt* handle;
    };
    sqlite3* handle_ = nullptr;
    std::vector<Statement> statements_;
    int logPages_ = 0;
};

// Undone where it is destroyed before commit.
class SqliteTransaction {
public:
    enum class Kind { read, write };
    SqliteTransaction(SqliteDatabase& database, Kind kind);
    ~SqliteTransaction();
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;
    void commit();

private:
    SqliteDatabase& database_;
    bool open_ = true;
};

}  // namespace tobrel
