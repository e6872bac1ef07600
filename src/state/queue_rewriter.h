#pragma once

#include <memory>
#include <string_view>

#include "state/queue_reader.h"

namespace tobrel {

class FileReplacement;

// Fills a replacement with a queue, compact, in memory of one size.
class QueueRewriter : private QueueVisitor {
public:
    explicit QueueRewriter(FileReplacement& file);

    // The entries of an earlier queue, if called before add. False where it is none or cannot be read to its end; none
    // of it is taken then.
    bool copy(FileReader& old);
    // Entries as JSON text, a comma between each two.
    void add(std::string_view entries) { entryPart(entries, Part::last); }
    // False where the replacement could not be written.
    bool finish();

private:
    void entryPart(std::string_view text, Part part) override;
    void simpleEntries(std::string_view text) override { entryPart(text, Part::last); }
    void append(std::string_view text);
    void write(std::size_t size);

    FileReplacement& file_;
    const std::unique_ptr<char[]> buffer_;
    std::size_t size_ = 0;
    bool failed_ = false;
    // What stands before the next part.
    std::string_view before_ = "[";
};

}  // namespace tobrel
