// COUNT SERVER: so many lookups over the library's multi interface and 16 connections, whose handles are used again;
// the least that a program over this library can do. Checks every answer.
#include <curl/curl.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "http_answer.h"

namespace {

constexpr int connections = 16;

struct Lookup {
    CURL* handle = nullptr;
    std::string answer;
};

std::size_t take(char* bytes, std::size_t size, std::size_t count, void* lookup) {
    static_cast<Lookup*>(lookup)->answer.append(bytes, size * count);
    return size * count;
}

}  // namespace

int main(int, char* words[]) {
    const int count = std::atoi(words[1]);
    const std::string item = std::string(words[2]) + "/tobrel/api/item?id=item-";
    CURLM* multi = curl_multi_init();
    curl_slist* headers = curl_slist_append(nullptr, "X-API-Key: 0123456789abcdef0123456789abcdef");
    headers = curl_slist_append(headers, "X-Tobrel-Client: macos/1.0 (1); Tobrel");
    Lookup lookups[connections];
    int begun = 0, answered = 0;
    auto begin = [&](Lookup& lookup) {
        lookup.answer.clear();
        curl_easy_setopt(lookup.handle, CURLOPT_URL, (item + std::to_string(begun++)).c_str());
        curl_multi_add_handle(multi, lookup.handle);
    };
    for (Lookup& lookup : lookups) {
        if (begun == count) break;
        lookup.handle = curl_easy_init();
        curl_easy_setopt(lookup.handle, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(lookup.handle, CURLOPT_WRITEFUNCTION, take);
        curl_easy_setopt(lookup.handle, CURLOPT_WRITEDATA, &lookup);
        curl_easy_setopt(lookup.handle, CURLOPT_PRIVATE, &lookup);
        begin(lookup);
    }
    while (answered < count) {
        int running = 0;
        if (curl_multi_perform(multi, &running) != CURLM_OK) return 1;
        int left = 0;
        while (CURLMsg* message = curl_multi_info_read(multi, &left)) {
            Lookup* lookup = nullptr;
            curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &lookup);
            if (message->data.result != CURLE_OK || lookup->answer != tobrel::bench::answerText) return 1;
            ++answered;
            curl_multi_remove_handle(multi, lookup->handle);
            if (begun < count) begin(*lookup);
        }
        if (answered < count) curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
    }
}
