#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/error.h"

namespace tobrel {

struct URLRequest {
    std::string url;
    std::string httpMethod = "GET";
    // Seconds without progress after which the request fails; waiting for a free connection does not count.
    double timeoutInterval = 60;
    std::vector<std::pair<std::string, std::string>> headers;
    std::optional<std::string> httpBody;

    void setValue(std::string value, std::string headerField) {
        headers.emplace_back(std::move(headerField), std::move(value));
    }
};

struct URLSessionAnswer {
    std::optional<std::string> data;
    // Of the final answer, after redirects.
    std::optional<int> statusCode;
    // A transport failure: its text is a sentence for the user.
    std::optional<NSError> error;
};

// The shared HTTP client: follows redirects, keeps cookies in memory, verifies certificates.
class URLSession {
public:
    virtual ~URLSession() = default;
    // Any thread; returns at once. The completion runs exactly once, on the client's own thread, never inside this
    // call. Destroying the client ends all its work without further completions.
    virtual void dataTask(URLRequest request, std::function<void(URLSessionAnswer)> completion) = 0;
};

}  // namespace tobrel
