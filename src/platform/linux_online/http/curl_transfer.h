#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/http.h"
#include "platform/linux_online/http/curl_trust.h"
#include "platform/linux_online/http/redirect.h"

namespace tobrel {

// What all transfers of a session share. Worker thread only.
struct CurlCommon {
    CurlCommon();

    CurlTrust trust;
    // Cookies and TLS sessions.
    std::unique_ptr<void, void (*)(void*)> share;
    bool proxiesNamed;
    // By the number of a connection, the last stream that its server took in before it said goodbye.
    std::map<long long, long long> goodbyes;
};

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

    explicit CurlTransfer(CurlCommon& common);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    // Makes the handle ready for the task's request; a failure where it cannot be sent at all.
    std::optional<NSError> prepare(HTTPTask task);
    enum class Next { answered, goOn, startOver };
    // The handle has ended with the library's result. `answered`: the answer is set. `goOn`: a redirect is followed.
    // `startOver`: the server has not taken the request in, which may go out once more. The handle is ready for that.
    Next finish(int result, URLSessionAnswer& answer);
    URLSessionAnswer timedOut() const;
    // Hands out the completion and lets go of all that the request held.
    std::function<void(URLSessionAnswer)> release();
    // Between two requests: the next one brings its own.
    void forgetHeaders();

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

    std::optional<NSError> unsendable() const;
    void prepareHop();
    void setMethod();
    void setHeaders();
    bool goesOutAgain();
    bool waitsForGoodbye();
    bool maySend();
    void noteRemark(std::string_view text);
    HTTPFailure failure(int result) const;
    URLSessionAnswer failed(HTTPFailure failure) const;
    std::optional<std::string> location() const;

    CurlCommon& common_;
    std::unique_ptr<void, Cleanup> handle_;
    std::unique_ptr<void, FreeHeaders> headers_;
    // The headers, in which `headers_` has them for the library, and whether a body went with them.
    std::shared_ptr<const HTTPHeaders> listed_;
    bool listedWithBody_ = false;
    std::function<void(URLSessionAnswer)> completion_;
    HTTPHop hop_;
    std::string body_;
    std::size_t headerBytes_ = 0;
    bool tooLarge_ = false;
    long long bytesMoved_ = 0;
    int connectedPort_ = 0;
    Clock::duration patience_{};
    Clock::time_point lastProgress_{};

    bool sent_ = false;
    bool lost_ = false;
    long bytesWritten_ = 0;
    std::optional<long long> connection_;
    std::optional<long long> stream_;
    bool refused_ = false;
    int refusals_ = 0;
};

}  // namespace tobrel
