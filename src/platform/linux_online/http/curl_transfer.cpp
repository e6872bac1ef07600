#include "platform/linux_online/http/curl_transfer.h"

#include <curl/curl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string_view>
#include <utility>

#include "platform/linux_online/http/curl_trust.h"

namespace tobrel {
namespace {

constexpr std::size_t kLargestBody = 64 << 20;
constexpr std::size_t kLargestHeaders = 256 << 10;
// Servers close what has been idle for five seconds or more; a request must not cross that.
constexpr long kIdleConnectionSeconds = 3;

template <class Value>
void set(void* handle, CURLoption option, Value value) {
    curl_easy_setopt(handle, option, value);
}

template <class Value>
Value info(void* handle, CURLINFO name) {
    Value value{};
    curl_easy_getinfo(handle, name, &value);
    return value;
}

bool isToken(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char byte) {
        return byte > 0x20 && byte < 0x7f &&
               std::string_view("\"(),/:;<=>?@[\\]{}").find(byte) == std::string_view::npos;
    });
}

bool isHeaderValue(std::string_view text) {
    return std::none_of(text.begin(), text.end(),
                        [](unsigned char byte) { return (byte < 0x20 && byte != '\t') || byte == 0x7f; });
}

// The first header that must not be sent, by name.
std::optional<std::string> unsendable(const URLRequest& request) {
    if (!isToken(request.httpMethod)) return request.httpMethod;
    for (const auto& [name, value] : request.headers)
        if (!isToken(name) || !isHeaderValue(value)) return name;
    return std::nullopt;
}

CurlTransfer::Clock::duration patience(double seconds) {
    double kept = seconds > 0 ? std::min(seconds, 1e6) : 60;
    return std::chrono::duration_cast<CurlTransfer::Clock::duration>(std::chrono::duration<double>(kept));
}

HTTPFailure certificateFailure(long verdict) {
    // The certificate was in order, or at least nothing else was said about it, before its names were compared.
    constexpr long kInOrder = 0;
    constexpr long kUnspecified = 1;
    constexpr long kNotYetValid = 9;
    constexpr long kExpired = 10;
    switch (verdict) {
        case kInOrder:
        case kUnspecified:
            return HTTPFailure::certificateForOtherName;
        case kNotYetValid:
            return HTTPFailure::certificateNotYetValid;
        case kExpired:
            return HTTPFailure::certificateExpired;
        default:
            return HTTPFailure::certificateUntrusted;
    }
}

}  // namespace

struct CurlTransfer::Callbacks {
    static std::size_t write(char* data, std::size_t, std::size_t size, void* self) {
        auto& transfer = *static_cast<CurlTransfer*>(self);
        transfer.tooLarge_ = size > kLargestBody - transfer.body_.size();
        if (transfer.tooLarge_) return 0;
        transfer.body_.append(data, size);
        return size;
    }

    static std::size_t header(char*, std::size_t, std::size_t size, void* self) {
        auto& transfer = *static_cast<CurlTransfer*>(self);
        transfer.headerBytes_ += size;
        transfer.lastProgress_ = Clock::now();
        transfer.tooLarge_ = transfer.headerBytes_ > kLargestHeaders;
        return transfer.tooLarge_ ? 0 : size;
    }

    static int progress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
        auto& transfer = *static_cast<CurlTransfer*>(self);
        if (std::exchange(transfer.bytesMoved_, received + sent) != received + sent)
            transfer.lastProgress_ = Clock::now();
        return 0;
    }

    // The library sends a request again by itself when a reused connection dies before the first byte of the answer;
    // the server may have acted on it by then.
    static int beforeSending(void* self, char*, char*, int, int) {
        auto& transfer = *static_cast<CurlTransfer*>(self);
        transfer.lastProgress_ = Clock::now();
        return std::exchange(transfer.sent_, true) ? CURL_PREREQFUNC_ABORT : CURL_PREREQFUNC_OK;
    }

    // A program that is started meanwhile, such as the browser, inherits no connection.
    static curl_socket_t open(void*, curlsocktype, curl_sockaddr* address) {
        return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    }
};

void CurlTransfer::Cleanup::operator()(void* handle) const {
    curl_easy_cleanup(handle);
}

void CurlTransfer::FreeHeaders::operator()(void* headers) const {
    curl_slist_free_all(static_cast<curl_slist*>(headers));
}

CurlTransfer::CurlTransfer(const CurlTrust& trust, void* share) : handle_(curl_easy_init()) {
    if (!handle_) throw std::bad_alloc();
    void* handle = handle_.get();
    set(handle, CURLOPT_WRITEFUNCTION, &Callbacks::write);
    set(handle, CURLOPT_WRITEDATA, this);
    set(handle, CURLOPT_HEADERFUNCTION, &Callbacks::header);
    set(handle, CURLOPT_HEADERDATA, this);
    set(handle, CURLOPT_XFERINFOFUNCTION, &Callbacks::progress);
    set(handle, CURLOPT_XFERINFODATA, this);
    set(handle, CURLOPT_NOPROGRESS, 0L);
    set(handle, CURLOPT_PREREQFUNCTION, &Callbacks::beforeSending);
    set(handle, CURLOPT_PREREQDATA, this);
    set(handle, CURLOPT_OPENSOCKETFUNCTION, &Callbacks::open);
    set(handle, CURLOPT_SHARE, share);
    set(handle, CURLOPT_COOKIEFILE, "");

    set(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    set(handle, CURLOPT_PATH_AS_IS, 1L);
    set(handle, CURLOPT_ACCEPT_ENCODING, "gzip");
    set(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(kLargestBody));
    set(handle, CURLOPT_MAXAGE_CONN, kIdleConnectionSeconds);
    set(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(handle, CURLOPT_NOSIGNAL, 1L);
    // A name that is still being resolved when the transfer ends is not waited for.
    set(handle, CURLOPT_QUICK_EXIT, 1L);

    set(handle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    set(handle, CURLOPT_CAINFO, trust.file ? trust.file->c_str() : nullptr);
    set(handle, CURLOPT_CAPATH, trust.folder ? trust.folder->c_str() : nullptr);
    set(handle, CURLOPT_PROXY_CAINFO, trust.file ? trust.file->c_str() : nullptr);
    set(handle, CURLOPT_PROXY_CAPATH, trust.folder ? trust.folder->c_str() : nullptr);
}

std::optional<NSError> CurlTransfer::prepare(HTTPTask task) {
    completion_ = std::move(task.completion);
    task.request.headers = *task.headers;
    auto address = parseHTTPAddress(task.request.url);
    if (auto* failure = std::get_if<HTTPFailure>(&address)) return httpError(*failure, {});
    if (auto name = unsendable(task.request)) return httpError(HTTPFailure::unsendableHeader, *name);
    patience_ = patience(task.request.timeoutInterval);
    hop_ = {std::move(task.request), std::get<HTTPAddress>(std::move(address)), 0};
    prepareHop();
    return std::nullopt;
}

void CurlTransfer::prepareHop() {
    void* handle = handle_.get();
    const std::string& method = hop_.request.httpMethod;
    set(handle, CURLOPT_URL, hop_.address.url.c_str());
    // The first connection tells whether it can carry all requests; in plain text that is never so.
    bool secure = hop_.address.scheme == "https";
    set(handle, CURLOPT_HTTP_VERSION, static_cast<long>(secure ? CURL_HTTP_VERSION_2TLS : CURL_HTTP_VERSION_1_1));
    set(handle, CURLOPT_PIPEWAIT, secure ? 1L : 0L);
    set(handle, CURLOPT_CUSTOMREQUEST, nullptr);
    set(handle, CURLOPT_HTTPGET, 1L);
    if (hop_.request.httpBody || method == "POST") {
        static const std::string kNothing;
        const std::string& body = hop_.request.httpBody ? *hop_.request.httpBody : kNothing;
        set(handle, CURLOPT_POST, 1L);
        set(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        set(handle, CURLOPT_POSTFIELDS, body.data());
        if (method != "POST") set(handle, CURLOPT_CUSTOMREQUEST, method.c_str());
    } else if (method == "HEAD") {
        set(handle, CURLOPT_NOBODY, 1L);
    } else if (method != "GET") {
        set(handle, CURLOPT_CUSTOMREQUEST, method.c_str());
    }
    setHeaders();
    auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(patience_).count();
    set(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::max<long long>(milliseconds, 1)));

    body_.clear();
    headerBytes_ = 0;
    tooLarge_ = false;
    sent_ = false;
    bytesMoved_ = 0;
    lastProgress_ = Clock::now();
}

void CurlTransfer::setHeaders() {
    curl_slist* list = nullptr;
    auto append = [&](const std::string& line) {
        curl_slist* longer = curl_slist_append(list, line.c_str());
        if (!longer) throw std::bad_alloc();
        list = longer;
    };
    std::string line;
    for (const auto& [name, value] : hop_.request.headers) {
        // The library leaves out a header without a value unless it is written so.
        bool blank = value.find_first_not_of(" \t") == value.npos;
        line.assign(name).append(blank ? ";" : ": ").append(blank ? "" : value);
        append(line);
    }
    if (hop_.request.httpBody) append("Expect:");
    set(handle_.get(), CURLOPT_HTTPHEADER, list);
    headers_.reset(list);
}

std::optional<URLSessionAnswer> CurlTransfer::finish(int result) {
    if (result != CURLE_OK) return failed(failure(result));
    long status = info<long>(handle_.get(), CURLINFO_RESPONSE_CODE);
    auto redirect = takeRedirect(hop_, static_cast<int>(status), location());
    if (auto* failure = std::get_if<HTTPFailure>(&redirect)) return failed(*failure);
    if (std::get<Redirection>(redirect) == Redirection::followed) {
        prepareHop();
        return std::nullopt;
    }
    return URLSessionAnswer{.data = std::move(body_), .statusCode = static_cast<int>(status)};
}

URLSessionAnswer CurlTransfer::timedOut() const {
    return failed(HTTPFailure::timedOut);
}

std::function<void(URLSessionAnswer)> CurlTransfer::release() {
    hop_ = {};
    body_ = {};
    return std::exchange(completion_, nullptr);
}

bool CurlTransfer::sharesConnection() const {
    return info<long>(handle_.get(), CURLINFO_HTTP_VERSION) == CURL_HTTP_VERSION_2_0;
}

URLSessionAnswer CurlTransfer::failed(HTTPFailure failure) const {
    return URLSessionAnswer{.error = httpError(failure, hop_.address.name)};
}

HTTPFailure CurlTransfer::failure(int result) const {
    void* handle = handle_.get();
    if (tooLarge_) return HTTPFailure::tooLarge;
    long proxyAnswer = info<long>(handle, CURLINFO_HTTP_CONNECTCODE);
    if (proxyAnswer != 0 && proxyAnswer / 100 != 2) return HTTPFailure::proxyRefused;
    switch (result) {
        case CURLE_URL_MALFORMAT:
            return HTTPFailure::badAddress;
        case CURLE_COULDNT_RESOLVE_HOST:
            return HTTPFailure::hostNotFound;
        case CURLE_COULDNT_RESOLVE_PROXY:
            return HTTPFailure::proxyNotFound;
        case CURLE_PROXY:
            return HTTPFailure::proxyRefused;
        case CURLE_COULDNT_CONNECT:
            return info<long>(handle, CURLINFO_OS_ERRNO) == ECONNREFUSED ? HTTPFailure::refused
                                                                         : HTTPFailure::unreachable;
        case CURLE_OPERATION_TIMEDOUT:
            return HTTPFailure::timedOut;
        case CURLE_PEER_FAILED_VERIFICATION:
            return certificateFailure(info<long>(handle, CURLINFO_SSL_VERIFYRESULT));
        case CURLE_SSL_CACERT_BADFILE:
            return HTTPFailure::trustedCertificatesUnreadable;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CIPHER:
            return HTTPFailure::secureConnectionFailed;
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_UNSUPPORTED_PROTOCOL:
            return HTTPFailure::notHTTP;
        case CURLE_BAD_CONTENT_ENCODING:
            return HTTPFailure::undecodable;
        // The second is what a header line without an end comes to.
        case CURLE_FILESIZE_EXCEEDED:
        case CURLE_OUT_OF_MEMORY:
            return HTTPFailure::tooLarge;
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
        case CURLE_ABORTED_BY_CALLBACK:
            return HTTPFailure::connectionLost;
        default:
            return HTTPFailure::other;
    }
}

std::optional<std::string> CurlTransfer::location() const {
    curl_header* header = nullptr;
    if (curl_easy_header(handle_.get(), "Location", 0, CURLH_HEADER, -1, &header) != CURLHE_OK) return std::nullopt;
    return header->value;
}

}  // namespace tobrel
