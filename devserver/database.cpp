#include "devserver/database.h"

#include <sqlite3.h>

#include <stdexcept>

namespace tobrel::devserver {

namespace {

struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

[[noreturn]] void fail(sqlite3* connection) {
    throw std::runtime_error(std::string("the database: ") + sqlite3_errmsg(connection));
}

void bind(sqlite3_stmt* statement, int index, const Value& value) {
    if (auto* number = std::get_if<std::int64_t>(&value)) {
        sqlite3_bind_int64(statement, index, *number);
    } else if (auto* text = std::get_if<std::string>(&value)) {
        sqlite3_bind_text(statement, index, text->data(), static_cast<int>(text->size()), SQLITE_TRANSIENT);
    }
}

Value column(sqlite3_stmt* statement, int index) {
    switch (sqlite3_column_type(statement, index)) {
        case SQLITE_NULL:
            return nullptr;
        case SQLITE_INTEGER:
            return sqlite3_column_int64(statement, index);
        default: {
            auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
            return std::string(text, sqlite3_column_bytes(statement, index));
        }
    }
}

}  // namespace

void Database::Close::operator()(sqlite3* connection) const {
    sqlite3_close(connection);
}

Database::Database(const std::string& file) {
    sqlite3* connection = nullptr;
    int outcome = sqlite3_open(file.c_str(), &connection);
    connection_.reset(connection);
    if (outcome != SQLITE_OK) throw std::runtime_error("cannot open the database " + file);
    sqlite3_busy_timeout(connection, 2000);
    run("CREATE TABLE IF NOT EXISTS grants (id INTEGER PRIMARY KEY AUTOINCREMENT, owner TEXT, path TEXT, email TEXT,"
        " role TEXT, name TEXT, UNIQUE (owner, path, email), UNIQUE (email, name))");
    run("CREATE TABLE IF NOT EXISTS links (id TEXT PRIMARY KEY, owner TEXT, cover TEXT, name TEXT, expires INTEGER)");
    run("CREATE INDEX IF NOT EXISTS link_covers ON links (owner, cover)");
}

std::vector<Row> Database::run(const char* sql, const std::vector<Value>& arguments) {
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(connection_.get(), sql, -1, &raw, nullptr) != SQLITE_OK) fail(connection_.get());
    Statement statement(raw);
    for (std::size_t index = 0; index < arguments.size(); ++index)
        bind(raw, static_cast<int>(index) + 1, arguments[index]);

    std::vector<Row> rows;
    int outcome;
    while ((outcome = sqlite3_step(raw)) == SQLITE_ROW) {
        Row row;
        for (int index = 0; index < sqlite3_column_count(raw); ++index) row.push_back(column(raw, index));
        rows.push_back(std::move(row));
    }
    if (outcome != SQLITE_DONE) fail(connection_.get());
    return rows;
}

}  // namespace tobrel::devserver
