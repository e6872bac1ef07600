#include <sqlite3.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace {

sqlite3_stmt* prepare(sqlite3* database, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) != SQLITE_OK) std::abort();
    return statement;
}

std::string lookUp(sqlite3_stmt* statement, const std::string& key) {
    sqlite3_bind_blob(statement, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC);
    if (sqlite3_step(statement) != SQLITE_ROW) std::abort();
    std::string found(static_cast<const char*>(sqlite3_column_blob(statement, 0)),
                      static_cast<std::size_t>(sqlite3_column_bytes(statement, 0)));
    sqlite3_reset(statement);
    return found;
}

}  // namespace

// HOME COUNT ITEMS: the least that resolving can cost: each item's path, and that path's item, in one transaction.
int main(int, char* words[]) {
    sqlite3* database = nullptr;
    std::string registry = std::string(words[1]) + "/.local/share/tobrel/file-provider.sqlite";
    if (sqlite3_open_v2(registry.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK)
        std::abort();
    sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_exec(database, "BEGIN", nullptr, nullptr, nullptr);
    auto* path = prepare(database, "SELECT path FROM item WHERE domain = 1 AND item = ?");
    auto* item = prepare(database, "SELECT item FROM item WHERE domain = 1 AND path = ?");
    std::ifstream list(words[3]);
    for (std::string line; std::getline(list, line);)
        if (lookUp(item, lookUp(path, line.substr(3))) != line.substr(3)) return 1;
    sqlite3_finalize(path);
    sqlite3_finalize(item);
    sqlite3_close(database);
}
