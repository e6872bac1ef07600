#include "platform/linux_online/http/errors.h"

#include <string>

namespace tobrel {
namespace {

struct Description {
    HTTPFailure failure;
    int code;
    const char* before;
    const char* after;
};

// The name stands in curly quotes between the two texts; a first text without a second one stands alone.
constexpr Description descriptions[] = {
    {HTTPFailure::badAddress, -1000, "The server address is not a valid web address; check it.", nullptr},
    {HTTPFailure::unsupportedScheme, -1002, "The server address does not begin with https:// or http://; correct it.",
     nullptr},
    {HTTPFailure::unsendableHeader, -1000, "The value for ",
     " holds a line break or another character that cannot be sent; set it again."},
    {HTTPFailure::timedOut, -1001, "The server ", " did not respond in time; try again later."},
    {HTTPFailure::hostNotFound, -1003, "No server named ",
     " was found; check the server address and the network connection."},
    {HTTPFailure::refused, -1004, "The server ",
     " refused the connection; check the server address, or try again later."},
    {HTTPFailure::unreachable, -1004, "The server ", " cannot be reached; check the network connection."},
    {HTTPFailure::connectionLost, -1005, "The connection to ", " was lost before the answer was complete; try again."},
    {HTTPFailure::tooManyRedirects, -1007, "The server ", " redirected too many times; check the server address."},
    {HTTPFailure::redirectedToOtherScheme, -1002, "The server ",
     " redirected to something that is not a web address; check the server address."},
    {HTTPFailure::redirectedToInsecure, -1022, "The server ",
     " redirected from a secure to an insecure address; check the server address."},
    {HTTPFailure::redirectedToBadAddress, -1000, "The server ",
     " redirected to an address that is not valid; check the server address."},
    {HTTPFailure::proxyNotFound, -1003, "The proxy server for ", " was not found; check the proxy settings."},
    {HTTPFailure::proxyUnreachable, -1004, "The proxy server for ", " cannot be reached; check the proxy settings."},
    {HTTPFailure::proxyRefused, -1004, "The proxy server did not let the connection to ",
     " through; check the proxy settings."},
    {HTTPFailure::notHTTP, -1011, "The server ", " did not answer as a web server does; check the server address."},
    {HTTPFailure::tooLarge, -1103, "The answer from ", " is too large; check the server address."},
    {HTTPFailure::undecodable, -1015, "The answer from ", " could not be decoded; try again later."},
    {HTTPFailure::secureConnectionFailed, -1200, "A secure connection to ",
     " could not be made; check the server address."},
    {HTTPFailure::certificateExpired, -1201, "The certificate of ",
     " has expired; check this computer’s date, or ask who runs the server."},
    {HTTPFailure::certificateNotYetValid, -1204, "The certificate of ",
     " is not valid yet; check this computer’s date, or ask who runs the server."},
    {HTTPFailure::certificateForOtherName, -1202, "The certificate presented by ",
     " is for another name; check the server address."},
    {HTTPFailure::certificateUntrusted, -1202, "The certificate of ",
     " is not from an authority that this computer trusts; check the address."},
    {HTTPFailure::trustedCertificatesUnreadable, -1202,
     "This computer’s trusted certificates cannot be read; check CURL_CA_BUNDLE, SSL_CERT_FILE and SSL_CERT_DIR.",
     nullptr},
    {HTTPFailure::other, -1, "The connection to ", " failed; try again later."},
};

// The sheet has three lines for the whole sentence.
constexpr std::size_t longestName = 40;

std::string printable(std::string_view name) {
    std::string shown;
    for (char character : name.substr(0, longestName)) shown += character > 0x20 && character < 0x7f ? character : '?';
    return name.size() > longestName ? shown + "…" : shown;
}

}  // namespace

NSError httpError(HTTPFailure failure, std::string_view name) {
    for (const Description& description : descriptions) {
        if (description.failure != failure) continue;
        std::string text = description.before;
        if (description.after) text += "“" + printable(name) + "”" + description.after;
        return {"NSURLErrorDomain", description.code, text};
    }
    return {"NSURLErrorDomain", -1, {}};
}

}  // namespace tobrel
