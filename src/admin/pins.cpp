#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "admin/listing.h"
#include "admin/subcommand.h"
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
        if (format_ == Format::plain) entry_ = plainLine(entry_);
        entry_ += '\n';
        std::fwrite(entry_.data(), 1, entry_.size(), stdout);
        entry_.clear();
    }

    bool finish() override {
        if (std::fflush(stdout) != 0 || std::ferror(stdout)) return false;
        // A pipe and a terminal have nothing to flush.
        return fsync(STDOUT_FILENO) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
    }

private:
    const Format format_;
    std::string entry_;
};

void noteKept(const std::string& queue) {
    for (const std::string& kept : keptBeside(queue))
        std::fprintf(stderr, "tobrel-admin: %s holds what could not be read as a queue; look into it, then remove it\n",
                     inQuotes(kept).c_str());
}

int noQueue(const std::string& path) {
    return failed(inQuotes(path) +
                  " is no queue of pin requests that can be read; the next pin command sets it aside.");
}

int list(const std::string& path, Format format) {
    PosixFiles files;
    auto file = files.open(path);
    Printer nothing(Format::nothing);
    // Checked before anything is printed.
    if (!file || !readQueue(*file, nothing)) return noQueue(path);
    Printer printer(format);
    if (file->restart() && readQueue(*file, printer)) return 0;
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
            return failed(std::string("standard output cannot be written, nothing was taken: ") + std::strerror(errno));
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
    struct stat status {};
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
