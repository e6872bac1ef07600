#pragma once

#include <optional>
#include <string_view>

namespace tobrel {

// What the library remarks on its work with a connection that carries many requests. It says nowhere else which
// requests the server never took in. A wording that is not known here leaves such a request a lost one.
struct CurlRemark {
    enum class Kind {
        // The request goes out by the connection of that number.
        connection,
        // The request is the connection's stream of that number.
        stream,
        // The server takes in no stream above that number.
        goodbye,
        // The request's stream or connection has ended without an answer.
        withoutAnswer,
    };
    Kind kind;
    long long number = 0;
};

std::optional<CurlRemark> readRemark(std::string_view text);

// The number of the connection by which the handle's request goes out, from within a callback; nothing where only a
// remark tells it.
std::optional<long long> connectionNumber(void* handle);

// The result for an answer whose head is too large, besides those that all versions have.
bool saysTooLarge(int result);

}  // namespace tobrel
