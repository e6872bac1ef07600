// Sends so many lookups at once through the product's client and checks every answer. Prints the seconds it took,
// from the first request to the last answer.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "http_answer.h"
#include "platform/linux_online/http/curl_session.h"

namespace {

struct Outcome {
    std::mutex mutex;
    std::condition_variable changed;
    int expected = 0;
    int answered = 0;
    int wrong = 0;
    std::string error;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    int count = std::atoi(argv[1]);
    std::string server = argv[2];
    Outcome outcome{.expected = count};

    auto begin = std::chrono::steady_clock::now();
    tobrel::CurlURLSession session;
    for (int index = 0; index < count; ++index) {
        tobrel::URLRequest request{.url = server + "/tobrel/api/item?id=item-" + std::to_string(index),
                                   .timeoutInterval = 30};
        request.setValue("0123456789abcdef0123456789abcdef", "X-API-Key");
        request.setValue("macos/1.0 (1); Tobrel", "X-Tobrel-Client");
        session.dataTask(std::move(request), [&outcome](tobrel::URLSessionAnswer answer) {
            std::lock_guard lock(outcome.mutex);
            if (answer.statusCode != 200 || answer.data != tobrel::bench::answerText) ++outcome.wrong;
            if (answer.error) outcome.error = answer.error->localizedDescription();
            if (++outcome.answered == outcome.expected) outcome.changed.notify_one();
        });
    }
    std::unique_lock lock(outcome.mutex);
    outcome.changed.wait(lock, [&] { return outcome.answered == count; });
    std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    std::printf("%.6f\n", taken.count());
    if (outcome.wrong == 0) return 0;
    std::fprintf(stderr, "%d of %d answers are wrong: %s\n", outcome.wrong, count, outcome.error.c_str());
    return 1;
}
