#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

struct sqlite3;

namespace tobrel::devserver {

using Value = std::variant<std::nullptr_t, std::int64_t, std::string>;
using Row = std::vector<Value>;

// A SQLite database. Throws std::runtime_error with a sentence. One thread at a time.
class Database {
public:
    // ":memory:" keeps it in memory.
    explicit Database(const std::string& file);

    // Carries out one statement and returns its rows.
    std::vector<Row> run(const char* statement, const std::vector<Value>& arguments = {});

private:
    struct Close {
        void operator()(sqlite3* connection) const;
    };
    std::unique_ptr<sqlite3, Close> connection_;
};

}  // namespace tobrel::devserver
