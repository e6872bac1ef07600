#include <sqlite3.h>

#include "durable_copy.h"

namespace {

sqlite3* database;

void run(const char* sql, const char* first, const char* second) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) != SQLITE_OK) std::abort();
    sqlite3_bind_blob(statement, 1, first, static_cast<int>(std::char_traits<char>::length(first)), SQLITE_STATIC);
    if (second)
        sqlite3_bind_blob(statement, 2, second, static_cast<int>(std::char_traits<char>::length(second)),
                          SQLITE_STATIC);
    int expected = sqlite3_stmt_readonly(statement) ? SQLITE_ROW : SQLITE_DONE;
    if (sqlite3_step(statement) != expected) std::abort();
    sqlite3_finalize(statement);
}

}  // namespace

// HOME DOMAIN PATH: what no pin command can do without. One look-up, one replacement of the queue, one signal.
int main(int, char* words[]) {
    std::string registry = std::string(words[1]) + "/.local/share/tobrel/file-provider.sqlite";
    if (sqlite3_open_v2(registry.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK)
        std::abort();
    sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_exec(database, "PRAGMA synchronous = NORMAL; PRAGMA wal_autocheckpoint = 64", nullptr, nullptr, nullptr);
    run("SELECT item FROM item JOIN domain ON domain = number WHERE identifier = ? AND path = ?", words[2], words[3]);
    tobrel::bench::replaceQueue(words[1]);
    run("UPDATE domain SET signals = signals + 1 WHERE identifier = ?", words[2], nullptr);
    sqlite3_close(database);
}
