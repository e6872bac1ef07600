#include "platform/linux_online/http/curl_transfer.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

#include "platform/linux_online/http/curl_remark.h"

namespace tobrel {
namespace {

constexpr std::size_t largestBody = 8 << 20;
constexpr std::size_t largestHeaders = 256 << 10;
// Servers close what has been idle for five seconds or more; a request must not cross that.
constexpr long idleConnectionSeconds = 3;
// How often a request goes out again that the server has not taken in.
constexpr int mostRefusals = 10;

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

int portOf(const sockaddr& address) {
    if (address.sa_family == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
    return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

bool anyProxyNamed() {
    for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        if (const char* value = std::getenv(name); value && *value) return true;
    return false;
}

CurlTransfer::Clock::duration patience(double seconds) {
    double kept = seconds > 0 ? std::min(seconds, 1e6) : 60;
    return std::chrono::duration_cast<CurlTransfer::Clock::duration>(std::chrono::duration<double>(kept));
}

HTTPFailure certificateFailure(long verdict) {
    // The certificate was in order, or at least nothing else was said about it, before its names were compared.
    constexpr long inOrder = 0;
    constexpr long unspecified = 1;
    constexpr long notYetValid = 9;
    constexpr long expired = 10;
    switch (verdict) {
        case inOrder:
        case unspecified:
            return HTTPFailure::certificateForOtherName;
        case notYetValid:
            return HTTPFailure::certificateNotYetValid;
        case expired:
            return HTTPFailure::certificateExpired;
        default:
            return HTTPFailure::certificateUntrusted;
    }
}

}  // namespace

struct CurlTransfer::Callbacks {
    static std::size_t write(char* data, std::size_t, std::size_t size, void* self) {
        auto& transfer = *static_cast<CurlTransfer*>(self);
        transfer.tooLarge_ = size > largestBody - transfer.body_.size();
        if (transfer.tooLarge_) return 0;
        transfer.body_.append(data, size);
        return size;
    }

    static std::size_t header(char*, std::size_t, std::size_t size, void* self) {
        auto& transfer = *static_cast<CurlTransfer*>(self);
        transfer.headerBytes_ += size;
        transfer.lastProgress_ = Clock::now();
        transfer.tooLarge_ = transfer.headerBytes_ > largestHeaders;
        return transfer.tooLarge_ ? 0 : size;
    }

    static int progress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
        auto& transfer = *static_cast<CurlTransfer*>(self);
        if (std::exchange(transfer.bytesMoved_, received + sent) != received + sent)
            transfer.lastProgress_ = Clock::now();
        return 0;
    }

    static int beforeSending(void* self, char*, char*, int, int) {
        return static_cast<CurlTransfer*>(self)->maySend() ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
    }

    static int remark(CURL*, curl_infotype type, char* text, std::size_t size, void* self) {
        if (type == CURLINFO_TEXT) static_cast<CurlTransfer*>(self)->noteRemark({text, size});
        return 0;
    }

    // A program that is started meanwhile, such as the browser, inherits no connection.
    static curl_socket_t open(void* self, curlsocktype, curl_sockaddr* address) {
        auto& transfer = *static_cast<CurlTransfer*>(self);
        if (transfer.goesOutAgain() || transfer.waitsForGoodbye()) return CURL_SOCKET_BAD;
        transfer.connectedPort_ = portOf(address->addr);
        return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    }
};

void CurlTransfer::Cleanup::operator()(void* handle) const {
    curl_easy_cleanup(handle);
}

void CurlTransfer::FreeHeaders::operator()(void* headers) const {
    curl_slist_free_all(static_cast<curl_slist*>(headers));
}

CurlCommon::CurlCommon()
    : trust(trustedCertificates()),
      share(curl_share_init(), [](void* share) { curl_share_cleanup(share); }),
      proxiesNamed(anyProxyNamed()) {
    curl_share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
    curl_share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
}

CurlTransfer::CurlTransfer(CurlCommon& common) : common_(common), handle_(curl_easy_init()) {
    if (!handle_) throw std::bad_alloc();
    const CurlTrust& trust = common.trust;
    void* handle = handle_.get();
    set(handle, CURLOPT_PRIVATE, this);
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
    set(handle, CURLOPT_OPENSOCKETDATA, this);
    set(handle, CURLOPT_DEBUGFUNCTION, &Callbacks::remark);
    set(handle, CURLOPT_DEBUGDATA, this);
    set(handle, CURLOPT_SHARE, common.share.get());
    set(handle, CURLOPT_COOKIEFILE, "");

    // Else the library looks for the variables with every request.
    if (!common.proxiesNamed) set(handle, CURLOPT_PROXY, "");
    if (!common.proxiesNamed) set(handle, CURLOPT_NOPROXY, "");
    set(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    set(handle, CURLOPT_PATH_AS_IS, 1L);
    set(handle, CURLOPT_ACCEPT_ENCODING, "gzip");
    set(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(largestBody));
    set(handle, CURLOPT_MAXAGE_CONN, idleConnectionSeconds);
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
    if (!hop_.address.changeQuery(task.request.url)) {
        auto address = parseHTTPAddress(task.request.url);
        if (auto* failure = std::get_if<HTTPFailure>(&address)) return httpError(*failure, {});
        hop_.address = std::get<HTTPAddress>(std::move(address));
    }
    hop_.request = std::move(task.request);
    hop_.headers = std::move(task.headers);
    hop_.redirects = 0;
    refusals_ = 0;
    if (auto error = unsendable()) return error;
    patience_ = patience(hop_.request.timeoutInterval);
    prepareHop();
    return std::nullopt;
}

std::optional<NSError> CurlTransfer::unsendable() const {
    const std::string& method = hop_.request.httpMethod;
    if (!isToken(method)) return httpError(HTTPFailure::unsendableHeader, method);
    if (hop_.headers == listed_) return std::nullopt;
    for (const auto& [name, value] : *hop_.headers)
        if (!isToken(name) || !isHeaderValue(value)) return httpError(HTTPFailure::unsendableHeader, name);
    return std::nullopt;
}

void CurlTransfer::prepareHop() {
    void* handle = handle_.get();
    set(handle, CURLOPT_CURLU, static_cast<CURLU*>(hop_.address.parts.get()));
    // The first connection tells whether it can carry all requests; in plain text that is never so.
    bool secure = hop_.address.scheme == "https";
    set(handle, CURLOPT_HTTP_VERSION, static_cast<long>(secure ? CURL_HTTP_VERSION_2TLS : CURL_HTTP_VERSION_1_1));
    set(handle, CURLOPT_PIPEWAIT, secure ? 1L : 0L);
    set(handle, CURLOPT_VERBOSE, secure ? 1L : 0L);
    setMethod();
    setHeaders();
    auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(patience_).count();
    set(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::max<long long>(milliseconds, 1)));

    body_.clear();
    headerBytes_ = 0;
    tooLarge_ = false;
    bytesMoved_ = 0;
    connectedPort_ = 0;
    lastProgress_ = Clock::now();
    sent_ = false;
    lost_ = false;
    connection_.reset();
    stream_.reset();
    refused_ = false;
}

void CurlTransfer::setMethod() {
    void* handle = handle_.get();
    const std::string& method = hop_.request.httpMethod;
    set(handle, CURLOPT_CUSTOMREQUEST, nullptr);
    set(handle, CURLOPT_HTTPGET, 1L);
    if (hop_.request.httpBody || method == "POST") {
        static const std::string nothing;
        const std::string& body = hop_.request.httpBody ? *hop_.request.httpBody : nothing;
        set(handle, CURLOPT_POST, 1L);
        set(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        set(handle, CURLOPT_POSTFIELDS, body.data());
        if (method != "POST") set(handle, CURLOPT_CUSTOMREQUEST, method.c_str());
    } else if (method == "HEAD") {
        set(handle, CURLOPT_NOBODY, 1L);
    } else if (method != "GET") {
        set(handle, CURLOPT_CUSTOMREQUEST, method.c_str());
    }
}

void CurlTransfer::setHeaders() {
    bool withBody = hop_.request.httpBody.has_value();
    if (hop_.headers == listed_ && withBody == listedWithBody_) return;
    curl_slist* list = nullptr;
    auto append = [&](const std::string& line) {
        curl_slist* longer = curl_slist_append(list, line.c_str());
        if (!longer) throw std::bad_alloc();
        list = longer;
    };
    std::string line;
    for (const auto& [name, value] : *hop_.headers) {
        // The library leaves out a header without a value unless it is written so.
        bool blank = value.find_first_not_of(" \t") == value.npos;
        line.assign(name).append(blank ? ";" : ": ").append(blank ? "" : value);
        append(line);
    }
    if (withBody) append("Expect:");
    set(handle_.get(), CURLOPT_HTTPHEADER, list);
    headers_.reset(list);
    listed_ = hop_.headers;
    listedWithBody_ = withBody;
}

// The library would send a request again by itself when a connection dies before the first byte of the answer. The
// server may have acted on it by then, unless no byte of it was written.
bool CurlTransfer::goesOutAgain() {
    lost_ |= sent_ && info<long>(handle_.get(), CURLINFO_REQUEST_SIZE) != bytesWritten_;
    return lost_;
}

// Else each of the requests that are caught by a goodbye before they went out would open a connection of its own.
bool CurlTransfer::waitsForGoodbye() {
    refused_ |= !sent_ && !common_.goodbyes.empty();
    return refused_;
}

bool CurlTransfer::maySend() {
    lastProgress_ = Clock::now();
    if (goesOutAgain()) return false;
    sent_ = true;
    bytesWritten_ = info<long>(handle_.get(), CURLINFO_REQUEST_SIZE);
    if (auto number = connectionNumber(handle_.get())) connection_ = number;
    return true;
}

void CurlTransfer::noteRemark(std::string_view text) {
    auto remark = readRemark(text);
    if (!remark) return;
    switch (remark->kind) {
        case CurlRemark::Kind::connection:
            connection_ = remark->number;
            return;
        case CurlRemark::Kind::stream:
            stream_ = remark->number;
            return;
        case CurlRemark::Kind::goodbye:
            // Without a connection of its own the transfer is just trying out one that idles.
            if (connection_) common_.goodbyes[*connection_] = remark->number;
            return;
        case CurlRemark::Kind::withoutAnswer:
            auto goodbye = connection_ ? common_.goodbyes.find(*connection_) : common_.goodbyes.end();
            refused_ = stream_ && goodbye != common_.goodbyes.end() && *stream_ > goodbye->second;
            connection_.reset();
            return;
    }
}

CurlTransfer::Next CurlTransfer::finish(int result, URLSessionAnswer& answer) {
    if (result != CURLE_OK && refused_ && ++refusals_ < mostRefusals) {
        prepareHop();
        return Next::startOver;
    }
    if (result != CURLE_OK) {
        answer = failed(failure(result));
        return Next::answered;
    }
    long status = info<long>(handle_.get(), CURLINFO_RESPONSE_CODE);
    auto redirect = takeRedirect(hop_, static_cast<int>(status), location());
    if (auto* failure = std::get_if<HTTPFailure>(&redirect)) {
        answer = failed(*failure);
    } else if (std::get<Redirection>(redirect) == Redirection::followed) {
        prepareHop();
        return Next::goOn;
    } else {
        answer = {.data = std::move(body_), .statusCode = static_cast<int>(status)};
    }
    return Next::answered;
}

URLSessionAnswer CurlTransfer::timedOut() const {
    return failed(HTTPFailure::timedOut);
}

std::function<void(URLSessionAnswer)> CurlTransfer::release() {
    hop_.request = {};
    body_ = {};
    return std::exchange(completion_, nullptr);
}

void CurlTransfer::forgetHeaders() {
    set(handle_.get(), CURLOPT_HTTPHEADER, nullptr);
    headers_.reset();
    hop_.headers.reset();
    listed_.reset();
}

bool CurlTransfer::sharesConnection() const {
    return info<long>(handle_.get(), CURLINFO_HTTP_VERSION) == CURL_HTTP_VERSION_2_0;
}

URLSessionAnswer CurlTransfer::failed(HTTPFailure failure) const {
    return URLSessionAnswer{.error = httpError(failure, hop_.address.name)};
}

HTTPFailure CurlTransfer::failure(int result) const {
    void* handle = handle_.get();
    if (tooLarge_ || saysTooLarge(result)) return HTTPFailure::tooLarge;
    if (lost_) return HTTPFailure::connectionLost;
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
            if (common_.proxiesNamed && std::to_string(connectedPort_) != hop_.address.port)
                return HTTPFailure::proxyUnreachable;
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
        case CURLE_FILESIZE_EXCEEDED:
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
