#include "state/queue_entry.h"

#include <boost/json/serialize.hpp>
#include <cstring>

#include "state/plain_text.h"
#include "text/utf8.h"

namespace tobrel {

namespace {

constexpr std::string_view head = "{\"id\":", middle = ",\"pin\":", yes = "true}", no = "false}";

}  // namespace

std::string queueEntry(std::string_view identifier, bool pinned) {
    std::string text(head);
    text += boost::json::serialize(wellFormedUtf8(identifier));
    return text.append(middle).append(pinned ? yes : no);
}

std::size_t plainEntriesLength(std::string_view text) {
    const char* at = text.data();
    const char* end = at + text.size();
    auto skip = [&](std::string_view expected) {
        if (static_cast<std::size_t>(end - at) < expected.size()) return false;
        if (std::memcmp(at, expected.data(), expected.size()) != 0) return false;
        at += expected.size();
        return true;
    };
    std::size_t length = 0;
    while (skip(head) && skip("\"")) {
        at += plainLength({at, end});
        if (!skip("\"") || !skip(middle) || !(skip(yes) || skip(no))) break;
        length = at - text.data();
        if (!skip(",")) break;
    }
    return length;
}

}  // namespace tobrel
