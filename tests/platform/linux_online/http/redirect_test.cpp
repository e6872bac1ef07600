#include "platform/linux_online/http/redirect.h"

#include <gtest/gtest.h>

namespace tobrel {
namespace {

using Taken = std::variant<Redirection, HTTPFailure>;

HTTPHop hopTo(const std::string& url, const std::string& method = "GET") {
    URLRequest request{.url = url, .httpMethod = method};
    if (method == "POST") request.httpBody = "{}";
    HTTPHeaders headers = {
        {"x-api-KEY", "secret"}, {"X-Tobrel-Client", "macos/1 (1); Tobrel"}, {"Content-Type", "application/json"}};
    return {request, std::make_shared<const HTTPHeaders>(headers), std::get<HTTPAddress>(parseHTTPAddress(url))};
}

bool carries(const HTTPHop& hop, const std::string& name) {
    for (const auto& header : *hop.headers)
        if (header.first == name) return true;
    return false;
}

TEST(HTTPRedirect, ChangesTheMethodAsThePlatformDoes) {
    struct {
        std::string method, next;
        std::vector<int> statuses;
    } cases[] = {{"POST", "GET", {301, 302, 303}},
                 {"POST", "POST", {307, 308}},
                 {"DELETE", "DELETE", {301, 302, 308}},
                 {"DELETE", "GET", {303}},
                 {"HEAD", "HEAD", {303}}};
    for (const auto& [method, next, statuses] : cases)
        for (int status : statuses) {
            SCOPED_TRACE(std::to_string(status) + " " + method);
            HTTPHop hop = hopTo("http://a/x", method);
            ASSERT_EQ(std::get<Redirection>(takeRedirect(hop, status, "/y")), Redirection::followed);
            EXPECT_EQ(hop.request.httpMethod, next);
            EXPECT_EQ(hop.request.httpBody.has_value(), next == "POST");
            EXPECT_EQ(carries(hop, "Content-Type"), method == next);
        }
}

TEST(HTTPRedirect, GoesWhereTheLocationMeansAndKeepsTheKeyAtItsOwnSchemeHostAndPortOnly) {
    struct {
        const char *from, *location, *to;
        bool keepsKey;
    } cases[] = {{"http://a/b/c?d#e", "f?g", "http://a/b/f?g", true},
                 {"http://a/b/c", "/x", "http://a/x", true},
                 {"http://a/b/c", "../x", "http://a/x", true},
                 {"http://u:p@a/b", "c", "http://u:p@a/c", true},
                 {"http://a/b", "http://A:80/y", "http://A:80/y", true},
                 {"https://a/b", "//c/d", "https://c/d", false},
                 {"http://a/b", "HTTPS://A/d e", "https://A/d%20e", false},
                 {"http://a/b", "http://a:81/y", "http://a:81/y", false},
                 {"http://a/b", "http://a.b/y", "http://a.b/y", false},
                 {"http://a/b", "http://a@b/y", "http://a@b/y", false}};
    for (const auto& [from, location, to, keepsKey] : cases) {
        HTTPHop hop = hopTo(from);
        takeRedirect(hop, 302, location);
        EXPECT_EQ(hop.address.url, to);
        EXPECT_EQ(carries(hop, "x-api-KEY"), keepsKey) << location;
        EXPECT_TRUE(carries(hop, "X-Tobrel-Client")) << location;
    }
}

TEST(HTTPRedirect, RefusesWhatIsNoWebAddressAndWhatIsLessSecure) {
    struct {
        HTTPFailure failure;
        const char* from;
        std::vector<const char*> locations;
    } cases[] = {
        {HTTPFailure::redirectedToOtherScheme, "http://a", {"file:///etc/passwd", "mailto:a@b", "FTP://a/"}},
        {HTTPFailure::redirectedToInsecure, "https://a", {"http://a/"}},
        {HTTPFailure::redirectedToBadAddress, "http://a", {"http:///b", "http:b", "http://b:99999/", "/x\ny"}}};
    for (const auto& [failure, from, locations] : cases)
        for (const char* location : locations) {
            HTTPHop hop = hopTo(from);
            EXPECT_EQ(takeRedirect(hop, 302, location), Taken(failure)) << location;
        }
    HTTPHop hop = hopTo("http://a/x");
    EXPECT_EQ(takeRedirect(hop, 302, std::nullopt), Taken(Redirection::none));
    EXPECT_EQ(takeRedirect(hop, 302, ""), Taken(Redirection::none));
    EXPECT_EQ(takeRedirect(hop, 304, "/y"), Taken(Redirection::none));
    EXPECT_EQ(takeRedirect(hop, 200, "/y"), Taken(Redirection::none));
}

TEST(HTTPRedirect, GivesUpAfterTwentyRedirects) {
    HTTPHop hop = hopTo("http://a/x");
    for (int count = 0; count < 20; ++count)
        ASSERT_EQ(std::get<Redirection>(takeRedirect(hop, 302, "/x")), Redirection::followed);
    EXPECT_EQ(std::get<HTTPFailure>(takeRedirect(hop, 302, "/x")), HTTPFailure::tooManyRedirects);
}

}  // namespace
}  // namespace tobrel
