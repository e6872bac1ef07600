#include "admin/settings_text.h"

#include <boost/json/serialize.hpp>

#include "text/json.h"

namespace tobrel::admin {

namespace {

// Walks over the top level of a text that is known to be a JSON object.
class Walker {
public:
    explicit Walker(std::string_view text) : text_(text) {}

    std::size_t position() const { return at_; }
    char current() const { return text_[at_]; }
    void skipOne() { ++at_; }
    void skipSpace() { at_ = text_.find_first_not_of(" \t\r\n", at_); }

    void skipString() {
        for (++at_; text_[at_] != '"'; ++at_)
            if (text_[at_] == '\\') ++at_;
        ++at_;
    }

    void skipValue() {
        std::size_t depth = 0;
        do {
            char c = text_[at_];
            if (c == '"') {
                skipString();
                continue;
            }
            if (depth == 0 && (c == ',' || c == '}')) return;
            if (c == '{' || c == '[') ++depth;
            if (c == '}' || c == ']') --depth;
            ++at_;
        } while (true);
    }

private:
    const std::string_view text_;
    std::size_t at_ = 0;
};

struct Member {
    std::size_t key;
    // Up to the comma or brace behind it, without the space before that.
    std::size_t value;
    std::size_t end;
};

}  // namespace

std::optional<std::string> withTextMember(std::string_view text, std::string_view name, std::string_view value) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark)) {
        text.remove_prefix(byteOrderMark.size());
        // A second one is none, and no JSON.
        auto rest = text.starts_with(byteOrderMark) ? std::nullopt : withTextMember(text, name, value);
        return rest ? std::optional(std::string(byteOrderMark) + *rest) : std::nullopt;
    }
    const std::string key = boost::json::serialize(boost::json::value(name));
    const std::string quoted = boost::json::serialize(boost::json::value(value));
    if (text.find_first_not_of(" \t\r\n") == text.npos) return "{" + key + ":" + quoted + "}";
    auto object = json::parse(text);
    if (!object || !object->is_object()) return std::nullopt;

    Walker walker(text);
    walker.skipSpace();
    std::size_t before = walker.position() + 1;
    std::optional<Member> last;
    std::optional<Member> named;
    do {
        before = walker.position() + 1;
        walker.skipOne();
        walker.skipSpace();
        if (walker.current() == '}') break;
        Member member{walker.position(), 0, 0};
        walker.skipString();
        std::string_view written = text.substr(member.key, walker.position() - member.key);
        walker.skipSpace();
        walker.skipOne();
        walker.skipSpace();
        member.value = walker.position();
        walker.skipValue();
        member.end = text.find_last_not_of(" \t\r\n", walker.position() - 1) + 1;
        // Of members with one name the last one counts.
        if (json::parse(written)->get_string() == name) named = member;
        last = member;
    } while (walker.current() == ',');

    std::string result(text);
    if (named) return result.replace(named->value, named->end - named->value, quoted);
    if (!last) return result.insert(before, key + ":" + quoted);
    std::string_view space = text.substr(before, last->key - before);
    return result.insert(last->end, "," + std::string(space) + key + ":" + quoted);
}

}  // namespace tobrel::admin
