#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "admin/listing.h"
#include "admin/subcommand.h"
#include "platform/file_descriptor.h"
#include "platform/linux/file_names.h"
#include "platform/linux/files_posix.h"
#include "platform/linux/user_database_posix.h"
#include "state/paths.h"
#include "state/pin_queue.h"
#include "text/harmless_text.h"
#include "text/json.h"

namespace tobrel::admin {

namespace {

std::string plainLine(const std::string& entry) {
    auto object = json::parseObject(entry);
    auto identifier = object ? json::string(*object, "id") : std::nullopt;
    auto pin = object ? json::boolean(*object, "pin") : std::nullopt;
    if (!identifier || !pin) return "?\t" + plainField(entry);
    return (*pin ? "keep\t" : "unkeep\t") + plainField(*identifier);
}

enum class Format { nothing, plain, json };

class Printer : public PinQueue::Taker {
public:
    explicit Printer(Format format) : format_(format) {}

    void entryPart(std::string_view text, Part part) override {
        if (format_ == Format::nothing) return;
        entry_ += text;
        if (part == Part::inner) return;
        lines_ += format_ == Format::plain ? plainLine(entry_) : entry_;
        lines_ += '\n';
        entry_.clear();
        if (lines_.size() >= queuePieceSize) writeLines();
    }

    bool finish() override {
        writeLines();
        int flushed;
        do {
            flushed = error_ ? -1 : fsync(STDOUT_FILENO);
        } while (flushed != 0 && !error_ && errno == EINTR);
        // A pipe and a terminal have nothing to flush.
        if (flushed != 0 && !error_ && errno != EINVAL && errno != ENOTSUP) error_ = errno;
        return error_ == 0;
    }
    int error() const { return error_; }

private:
    void writeLines() {
        if (!error_ && !writeWhole(STDOUT_FILENO, lines_)) error_ = errno;
        lines_.clear();
    }

    const Format format_;
    std::string lines_;
    int error_ = 0;
    std::string entry_;
};

void noteKept(const std::string& queue) {
    for (const std::string& kept : keptBeside(queue))
        std::fprintf(stderr, "tobrel-admin: %s holds what could not be read as a queue; look into it, then remove it\n",
                     inQuotes(kept).c_str());
}

int noQueue(const std::string& path) {
    return failed(inQuotes(path) + " cannot be read as a queue of pin requests; the next pin command sets it aside.");
}

int list(const std::string& path, Format format) {
    PosixFiles files;
    auto file = files.open(path);
    Printer nothing(Format::nothing);
    // Checked before anything is printed.
    if (!file || !readQueue(*file, nothing)) return noQueue(path);
    Printer printer(format);
    bool isRead = file->restart() && readQueue(*file, printer);
    printer.finish();
    if (printer.error())
        return failed(std::string("standard output cannot be written: ") + std::strerror(printer.error()));
    if (isRead) return 0;
    return failed(inQuotes(path) + " was changed while it was read; try again.");
}

int take(const std::string& path) {
    std::string trouble;
    PosixFiles files([&](NoticeKind kind, const std::string& sentence) {
        if (kind == NoticeKind::waiting)
            std::fprintf(stderr, "tobrel-admin: %s\n", sentence.c_str());
        else
            trouble = sentence;
    });
    Printer printer(Format::json);
    switch (PinQueue::take(files, path, printer)) {
        case PinQueue::Taken::done:
            return 0;
        case PinQueue::Taken::noQueue:
            return noQueue(path);
        case PinQueue::Taken::notWritten:
            if (!printer.error()) return failed(inQuotes(path) + " could not be read to its end, nothing was taken.");
            return failed(std::string("standard output cannot be written, nothing was taken: ") +
                          std::strerror(printer.error()));
        case PinQueue::Taken::notRemoved:
            break;
    }
    return failed("What was printed is still in the queue. " + trouble);
}

}  // namespace

int runPins(const Invocation& invocation) {
    const auto& words = invocation.words;
    bool isTake = words.size() == 1 && words[0] == "take";
    if (words.size() == 1 && !isTake) return noSuchWord("pins subcommand", words[0], {"take"});
    if (words.size() > 1) return misused("the usage is: tobrel-admin pins [take]");
    PosixUserDatabase users(invocation.home);
    std::string path = Paths::inHome(users.homeDirectory().value_or(users.NSHomeDirectory()), "pinned_pending.json");
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0) {
        if (errno != ENOENT) return failed(inQuotes(path) + " cannot be read: " + std::strerror(errno));
        noteKept(path);
        return 0;
    }
    int done = isTake ? take(path) : list(path, invocation.json ? Format::json : Format::plain);
    noteKept(path);
    return done;
}

}  // namespace tobrel::admin
