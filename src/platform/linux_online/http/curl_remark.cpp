#include "platform/linux_online/http/curl_remark.h"

#include <curl/curl.h>

#include <charconv>

namespace tobrel {
namespace {

// The number behind the mark, where the text begins so and holds the mark.
std::optional<long long> number(std::string_view text, std::string_view beginning, std::string_view mark) {
    if (!text.starts_with(beginning)) return std::nullopt;
    std::size_t at = text.rfind(mark);
    if (at == text.npos) return std::nullopt;
    const char* begin = text.data() + at + mark.size();
    long long value = 0;
    auto [end, failed] = std::from_chars(begin, text.data() + text.size(), value);
    if (failed != std::errc() || end == begin) return std::nullopt;
    return value;
}

}  // namespace

std::optional<CurlRemark> readRemark(std::string_view text) {
    using Kind = CurlRemark::Kind;
    static constexpr struct {
        Kind kind;
        std::string_view beginning, mark;
    } wordings[] = {
        // 7.88
        {Kind::connection, "Re-using existing connection #", "connection #"},
        {Kind::connection, "Connected to ", "(#"},
        {Kind::stream, "Using Stream ID: ", "ID: "},
        {Kind::goodbye, "recveived GOAWAY, error=", "last_stream="},
        // 8
        {Kind::stream, "[HTTP/2] [", "[HTTP/2] ["},
        {Kind::goodbye, "received GOAWAY, error=", "last_stream="},
    };
    if (text.starts_with("Connection died, ")) return CurlRemark{Kind::withoutAnswer};
    for (const auto& [kind, beginning, mark] : wordings)
        if (auto found = number(text, beginning, mark)) return CurlRemark{kind, *found};
    return std::nullopt;
}

std::optional<long long> connectionNumber([[maybe_unused]] void* handle) {
#if LIBCURL_VERSION_NUM >= 0x080200
    // The remarks have lost the number, and it can be asked for.
    curl_off_t number = -1;
    if (curl_easy_getinfo(handle, CURLINFO_CONN_ID, &number) == CURLE_OK && number >= 0) return number;
#endif
    return std::nullopt;
}

bool saysTooLarge(int result) {
    // A header line without an end comes to the first before 8.6, and since then to a result of its own, which older
    // headers do not name.
    constexpr int tooLarge = 100;
    return result == CURLE_OUT_OF_MEMORY || result == tooLarge;
}

}  // namespace tobrel
