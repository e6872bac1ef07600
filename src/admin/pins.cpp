#include <sys/stat.h>

#include <boost/json/parse.hpp>
#include <cerrno>
#include <cstdio>

#include "admin/listing.h"
#include "admin/subcommand.h"
#include "platform/linux/files_posix.h"
#include "platform/linux/user_database_posix.h"
#include "state/json_stream.h"
#include "state/queue_rewriter.h"
#include "text/harmless_text.h"

namespace tobrel::admin {

namespace {

std::string plainLine(const std::string& entry) {
    boost::json::parse_options options;
    options.max_depth = jsonDepthLimit;
    boost::json::error_code error;
    auto value = boost::json::parse(entry, error, {}, options);
    const auto* object = value.if_object();
    const auto* identifier = object ? object->if_contains("id") : nullptr;
    const auto* pin = object ? object->if_contains("pin") : nullptr;
    if (!identifier || !identifier->is_string() || !pin || !pin->is_bool()) return "?\t" + plainField(entry);
    return (pin->get_bool() ? "keep\t" : "unkeep\t") + plainField(identifier->get_string());
}

enum class Format { nothing, plain, json };

// Prints the entries of a queue that passes by as compact JSON.
class EntryPrinter : public FileReplacement {
public:
    explicit EntryPrinter(Format format) : format_(format) {}
    bool isQueue() const { return isQueue_; }

    bool write(std::string_view text) override {
        if (format_ == Format::nothing || !isQueue_) return true;
        for (char c : text) {
            if (depth_ > 1) entry_ += c;
            take(c);
        }
        return true;
    }
    bool restart() override {
        isQueue_ = false;
        return true;
    }
    bool commit() override { return false; }

private:
    void take(char c) {
        if (inString_) {
            if (c == '"' && !escaped_) inString_ = false;
            escaped_ = c == '\\' && !escaped_;
        } else if (c == '"') {
            inString_ = true;
        } else if (c == '{' || c == '[') {
            if (++depth_ == 2) entry_ = c;
        } else if ((c == '}' || c == ']') && --depth_ == 1) {
            std::string line = format_ == Format::json ? entry_ : plainLine(entry_);
            line += '\n';
            std::fwrite(line.data(), 1, line.size(), stdout);
        }
    }

    const Format format_;
    bool isQueue_ = true;
    std::string entry_;
    std::size_t depth_ = 0;
    bool inString_ = false;
    bool escaped_ = false;
};

// Reads as the pin commands do when they add to the queue: what they would throw away is no queue here either.
bool pass(const std::string& path, Format format) {
    PosixFiles files;
    auto file = files.open(path);
    EntryPrinter printer(format);
    return file && appendRequests(file.get(), printer, {}, true) && printer.isQueue();
}

}  // namespace

int runPins(const Invocation& invocation) {
    if (!invocation.words.empty()) return misused("the usage is: tobrel-admin pins");
    PosixUserDatabase users(invocation.home);
    std::string path = users.homeDirectory().value_or(users.NSHomeDirectory()) + "/.tobrel/pinned_pending.json";
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 && errno == ENOENT) return 0;
    if (!PosixFiles().open(path)) return failed(inQuotes(path) + " is no file that can be read.");
    // Checked before anything is printed.
    if (!pass(path, Format::nothing))
        return failed(inQuotes(path) + " is no queue of pin requests; the next pin command starts it anew.");
    if (pass(path, invocation.json ? Format::json : Format::plain)) return 0;
    return failed(inQuotes(path) + " was replaced while it was read; try again.");
}

}  // namespace tobrel::admin
