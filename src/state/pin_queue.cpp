#include "state/pin_queue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>

#include "platform/files.h"
#include "state/queue_entry.h"
#include "state/queue_rewriter.h"

namespace tobrel::PinQueue {

namespace {

using Exchange = FileReplacement::Exchange;

// How often another program may write in between before what it wrote is set aside.
constexpr int mostTurns = 1'000;

// Of new entries, in bytes, that are written together.
constexpr std::size_t portion = std::size_t{16} * 1024;

// Hands on whole entries.
class WholeEntries : public QueueVisitor {
public:
    explicit WholeEntries(std::function<void(const std::string&)> take) : take_(std::move(take)) {}
    void entryPart(std::string_view text, Part part) override {
        entry_ += text;
        if (part == Part::inner) return;
        take_(entry_);
        entry_.clear();
    }

private:
    const std::function<void(const std::string&)> take_;
    std::string entry_;
};

// The entries of a queue that another one does not hold, each as often as it is there more often; nothing where the
// first is no queue.
std::optional<std::vector<std::string>> difference(FileReader& queue, FileReader* other) {
    std::unordered_map<std::size_t, std::size_t> known;
    const std::hash<std::string> hash;
    WholeEntries count([&](const std::string& entry) { ++known[hash(entry)]; });
    if (other && !(other->restart() && readQueue(*other, count))) known.clear();

    std::vector<std::string> besides;
    WholeEntries collect([&](const std::string& entry) {
        auto found = known.find(hash(entry));
        if (found == known.end() || found->second == 0)
            besides.push_back(entry);
        else
            --found->second;
    });
    if (!readQueue(queue, collect)) return std::nullopt;
    return besides;
}

using AddEntries = std::function<void(QueueRewriter&)>;

AddEntries these(std::vector<std::string> entries) {
    return [entries = std::move(entries)](QueueRewriter& rewriter) {
        for (const std::string& entry : entries) rewriter.add(entry);
    };
}

// Where the adding fails, what the replacement `owing` has displaced is kept beside the queue.
void change(Files& files, const std::string& path, AddEntries add, std::unique_ptr<FileReplacement> owing = nullptr) {
    for (int turn = 0; turn < mostTurns; ++turn) {
        const FileState found = files.state(path);
        auto old = files.open(path);
        auto next = files.replace(path);
        if (!next) break;
        QueueRewriter rewriter(*next);
        bool isQueue = old && rewriter.copy(*old);
        add(rewriter);
        if (!rewriter.finish()) break;
        bool isGone = !isQueue && found != FileState() && files.setAside(path, found);

        Exchange exchanged = next->exchange(isGone ? FileState() : found);
        if (exchanged == Exchange::done) return;
        if (exchanged == Exchange::failed) break;
        if (exchanged == Exchange::changed) continue;
        auto displaced = next->displaced();
        auto besides = displaced ? difference(*displaced, isQueue ? old.get() : nullptr) : std::nullopt;
        if (!besides) next->keepDisplaced();
        if (!besides || besides->empty()) return;
        add = these(std::move(*besides));
        owing = std::move(next);
    }
    if (owing) owing->keepDisplaced();
}

struct Finder : QueueVisitor {
    void entryPart(std::string_view, Part) override { found = true; }
    bool found = false;
};

}  // namespace

void append(Files& files, const std::string& path, const std::vector<std::string>& identifiers, bool pinned) {
    auto lock = files.lock(path);
    change(files, path, [&](QueueRewriter& rewriter) {
        std::string entries;
        for (const std::string& identifier : identifiers) {
            if (!entries.empty()) entries += ',';
            addQueueEntry(entries, identifier, pinned);
            if (entries.size() < portion) continue;
            rewriter.add(entries);
            entries.clear();
        }
        if (!entries.empty()) rewriter.add(entries);
    });
}

Taken take(Files& files, const std::string& path, Taker& taker) {
    auto lock = files.lock(path);
    FileState found = files.state(path);
    if (found == FileState()) return Taken::done;
    auto old = files.open(path);
    Finder entries;
    if (!old || !readQueue(*old, entries)) return Taken::noQueue;
    if (!entries.found) return Taken::done;
    if (!old->restart() || !readQueue(*old, taker) || !taker.finish()) return Taken::notWritten;

    // What came in meanwhile, from programs that take no lock.
    std::vector<std::string> rest;
    for (int turn = 0; turn < mostTurns; ++turn) {
        auto next = files.replace(path);
        if (!next) break;
        QueueRewriter rewriter(*next);
        these(rest)(rewriter);
        if (!rewriter.finish()) break;
        Exchange exchanged = next->exchange(found);
        if (exchanged == Exchange::done) return Taken::done;
        if (exchanged == Exchange::failed) break;
        if (exchanged == Exchange::displaced) {
            auto displaced = next->displaced();
            auto besides = displaced ? difference(*displaced, old.get()) : std::nullopt;
            if (besides)
                change(files, path, these(std::move(*besides)), std::move(next));
            else
                next->keepDisplaced();
            return Taken::done;
        }
        found = files.state(path);
        if (found == FileState()) return Taken::done;
        auto present = files.open(path);
        auto besides = present ? difference(*present, old.get()) : std::nullopt;
        if (!besides) break;
        rest = std::move(*besides);
    }
    return Taken::notRemoved;
}

}  // namespace tobrel::PinQueue
