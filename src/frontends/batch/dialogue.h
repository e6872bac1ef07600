#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "frontends/batch/task.h"
#include "frontends/sheet/rows.h"

// One task's answers to the sheet: which button a user would press next, and what the sheet has come to. Pure but for
// the form's fields, which it fills. Main thread only.
namespace tobrel::batch {

// What has reached the front end besides the sheet.
struct Seen {
    std::optional<std::string> copied;
    std::optional<std::string> opened;
    // The log has told of a success since the last press.
    bool succeeded = false;
};

// One line of the result: as columns, and as members with --json.
struct Record {
    std::vector<std::string> columns;
    std::vector<std::pair<std::string, std::string>> members;
};

struct Done {
    std::vector<Record> records;
};

// The sheet's last message, or why the sheet could not be answered.
struct NotDone {
    std::string sentence;
};

using End = std::variant<Done, NotDone>;
using Step = std::variant<NSButton*, Done, NotDone>;

class Dialogue {
public:
    virtual ~Dialogue() = default;
    // The sheet rests: nothing of the request is outstanding. The button to press, or the end.
    virtual Step next(const sheet::Rows& rows, const Seen& seen) = 0;
    // The request has ended by itself.
    virtual End ended(const sheet::Rows& rows, const Seen& seen) const;
};

std::unique_ptr<Dialogue> dialogueFor(const Task& task);

}  // namespace tobrel::batch
