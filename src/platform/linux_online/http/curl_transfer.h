#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/http.h"
#include "platform/linux_online/http/redirect.h"

namespace tobrel {

struct CurlTrust;

using HTTPHeaders = decltype(URLRequest::headers);

struct HTTPTask {
    // Without its headers, which tasks in the queue share.
    URLRequest request;
    std::shared_ptr<const HTTPHeaders> headers;
    std::function<void(URLSessionAnswer)> completion;
};

// One of the library's handles, used for one request after the other. Worker thread only.
class CurlTransfer {
public:
    using Clock = std::chrono::steady_clock;

    // `share` is that all transfers keep their cookies in.
    CurlTransfer(const CurlTrust& trust, void* share);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    // Makes the handle ready for the task's request; a failure where it cannot be sent at all.
    std::optional<NSError> prepare(HTTPTask task);
    // The handle has ended with the library's result: the answer, or nothing where a redirect was followed and the
    // handle is ready for the next address.
    std::optional<URLSessionAnswer> finish(int result);
    URLSessionAnswer timedOut() const;
    // Hands out the completion and lets go of all that the request held.
    std::function<void(URLSessionAnswer)> release();

    void* handle() const { return handle_.get(); }
    Clock::time_point deadline() const { return lastProgress_ + patience_; }
    // The last answer came by a connection that carries many requests at once.
    bool sharesConnection() const;

private:
    struct Callbacks;
    struct Cleanup {
        void operator()(void* handle) const;
    };
    struct FreeHeaders {
        void operator()(void* headers) const;
    };

    void prepareHop();
    void setHeaders();
    HTTPFailure failure(int result) const;
    URLSessionAnswer failed(HTTPFailure failure) const;
    std::optional<std::string> location() const;

    std::unique_ptr<void, Cleanup> handle_;
    std::unique_ptr<void, FreeHeaders> headers_;
    std::function<void(URLSessionAnswer)> completion_;
    HTTPHop hop_;
    std::string body_;
    std::size_t headerBytes_ = 0;
    bool tooLarge_ = false;
    bool sent_ = false;
    long long bytesMoved_ = 0;
    Clock::duration patience_{};
    Clock::time_point lastProgress_{};
};

}  // namespace tobrel
