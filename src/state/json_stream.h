#pragma once

#include <boost/json/basic_parser_impl.hpp>
#include <memory>
#include <optional>
#include <span>

namespace tobrel {

class FileReader;

// How deep arrays and objects may lie in each other.
inline constexpr std::size_t jsonDepthLimit = 512;

// The text of a JSON file, piece by piece, without a byte order mark.
class JsonText {
public:
    explicit JsonText(FileReader& file);
    // The next piece, valid and the caller's to change until the next call; empty at the end, nothing on a read error.
    std::optional<std::span<char>> next();

    static constexpr std::size_t pieceSize = std::size_t{64} * 1024;

private:
    FileReader& file_;
    std::unique_ptr<char[]> piece_;
    bool started_ = false;
};

// Accepts every event of a parser; a pass over the text hides the ones that it cares about.
struct JsonEvents {
    using Error = boost::json::error_code;
    using Text = boost::json::string_view;

    static constexpr std::size_t max_object_size = -1;
    static constexpr std::size_t max_array_size = -1;
    static constexpr std::size_t max_key_size = -1;
    static constexpr std::size_t max_string_size = -1;

    bool on_document_begin(Error&) { return true; }
    bool on_document_end(Error&) { return true; }
    bool on_object_begin(Error&) { return true; }
    bool on_object_end(std::size_t, Error&) { return true; }
    bool on_array_begin(Error&) { return true; }
    bool on_array_end(std::size_t, Error&) { return true; }
    bool on_key_part(Text, std::size_t, Error&) { return true; }
    bool on_key(Text, std::size_t, Error&) { return true; }
    bool on_string_part(Text, std::size_t, Error&) { return true; }
    bool on_string(Text, std::size_t, Error&) { return true; }
    bool on_number_part(Text, Error&) { return true; }
    bool on_int64(std::int64_t, Text, Error&) { return true; }
    bool on_uint64(std::uint64_t, Text, Error&) { return true; }
    bool on_double(double, Text, Error&) { return true; }
    bool on_bool(bool, Error&) { return true; }
    bool on_null(Error&) { return true; }
    bool on_comment_part(Text, Error&) { return true; }
    bool on_comment(Text, Error&) { return true; }
};

}  // namespace tobrel
