#include <algorithm>
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/value.hpp>
#include <utility>

#include "text/json.h"

namespace tobrel::json {
namespace {

// Far more than the longest list that a server sends.
constexpr std::size_t mostValues = std::size_t{1} << 20;
constexpr std::size_t mostContainers = std::size_t{1} << 17;
// An object in a list in the object that the text holds.
constexpr std::size_t deepestKept = 3;

// Keeps the named members as the parser goes over the text; what lies in others leaves no trace.
class Collector {
public:
    using Error = boost::json::error_code;
    using Text = boost::json::string_view;

    static constexpr std::size_t max_object_size = -1;
    static constexpr std::size_t max_array_size = -1;
    static constexpr std::size_t max_key_size = -1;
    static constexpr std::size_t max_string_size = -1;

    explicit Collector(std::span<const std::string_view> names) : names_(names) {}

    std::optional<boost::json::value> take() { return std::move(whole_); }

    bool on_document_begin(Error&) { return true; }
    bool on_document_end(Error&) { return true; }
    bool on_object_begin(Error& error) { return begin(boost::json::object(), error); }
    bool on_object_end(std::size_t, Error& error) { return end(error); }
    bool on_array_begin(Error& error) { return begin(boost::json::array(), error); }
    bool on_array_end(std::size_t, Error& error) { return end(error); }
    bool on_key_part(Text part, std::size_t, Error&) { return append(part); }
    bool on_key(Text part, std::size_t, Error&) {
        append(part);
        if (skipped_ == 0) open_.back().name = std::exchange(text_, {});
        return true;
    }
    bool on_string_part(Text part, std::size_t, Error&) { return append(part); }
    bool on_string(Text part, std::size_t, Error& error) {
        append(part);
        if (!wanted()) text_.clear();
        return add(boost::json::string(std::exchange(text_, {})), error);
    }
    bool on_number_part(Text, Error&) { return true; }
    bool on_int64(std::int64_t number, Text, Error& error) { return add(number, error); }
    bool on_uint64(std::uint64_t number, Text, Error& error) { return add(number, error); }
    bool on_double(double number, Text, Error& error) { return add(number, error); }
    bool on_bool(bool value, Error& error) { return add(value, error); }
    bool on_null(Error& error) { return add(nullptr, error); }
    bool on_comment_part(Text, Error&) { return true; }
    bool on_comment(Text, Error&) { return true; }

private:
    struct Container {
        boost::json::value value;
        // Of the member that comes next.
        std::string name = {};
    };

    bool append(Text part) {
        if (skipped_ == 0) text_.append(part.data(), part.size());
        return true;
    }

    // Whether the value that comes next is one that was asked for.
    bool wanted() const {
        if (skipped_ > 0) return false;
        if (open_.empty() || open_.back().value.is_array()) return true;
        return std::find(names_.begin(), names_.end(), open_.back().name) != names_.end();
    }

    bool begin(boost::json::value container, Error& error) {
        if (!wanted() || open_.size() == deepestKept) {
            ++skipped_;
            return true;
        }
        open_.push_back({std::move(container)});
        return atMost(mostContainers, containers_, error);
    }

    static bool atMost(std::size_t most, std::size_t& count, Error& error) {
        if (++count <= most) return true;
        error = boost::json::error::array_too_large;
        return false;
    }

    bool end(Error& error) {
        // What lies too deep was left out; null stands in its place, which is neither a text, a number nor a list.
        if (skipped_ > 0) return --skipped_ > 0 || add(nullptr, error);
        boost::json::value closed = std::move(open_.back().value);
        open_.pop_back();
        return add(std::move(closed), error);
    }

    bool add(boost::json::value value, Error& error) {
        if (!wanted()) return true;
        if (open_.empty())
            whole_ = std::move(value);
        else if (auto* array = open_.back().value.if_array())
            array->push_back(std::move(value));
        else
            open_.back().value.get_object().insert_or_assign(open_.back().name, std::move(value));
        return atMost(mostValues, values_, error);
    }

    std::span<const std::string_view> names_;
    std::vector<Container> open_;
    // Open containers in what is left out.
    std::size_t skipped_ = 0;
    std::size_t values_ = 0, containers_ = 0;
    std::string text_;
    std::optional<boost::json::value> whole_;
};

}  // namespace

std::shared_ptr<const boost::json::object> parseMembers(std::string_view text,
                                                        std::span<const std::string_view> names) {
    const std::string readable = prepared(text);
    boost::json::parse_options options;
    options.max_depth = deepestLevel;
    boost::json::basic_parser<Collector> parser(options, names);
    boost::json::error_code error;
    try {
        std::size_t read = parser.write_some(false, readable.data(), readable.size(), error);
        auto whole = parser.handler().take();
        if (error || read < readable.size() || !whole || !whole->is_object()) return nullptr;
        return std::make_shared<const boost::json::object>(std::move(whole->get_object()));
    } catch (const std::exception&) {
        return nullptr;
    }
}

}  // namespace tobrel::json
