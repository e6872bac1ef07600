#include "platform/linux/http_redirect.h"

#include <gtest/gtest.h>

namespace tobrel {
namespace {

HTTPHop hopTo(const std::string& url, const std::string& method = "GET") {
    URLRequest request{.url = url, .httpMethod = method};
    if (method == "POST") request.httpBody = "{}";
    request.setValue("secret", "x-api-KEY");
    request.setValue("macos/1 (1); Tobrel", "X-Tobrel-Client");
    request.setValue("application/json", "Content-Type");
    return {request, std::get<HTTPAddress>(parseHTTPAddress(url))};
}

bool carries(const HTTPHop& hop, const std::string& name) {
    for (const auto& header : hop.request.headers)
        if (header.first == name) return true;
    return false;
}

TEST(HTTPRedirect, ChangesTheMethodAsThePlatformDoes) {
    struct Case {
        int status;
        const char* method;
        const char* next;
    };
    for (const Case& each : {Case{301, "POST", "GET"},
                             {302, "POST", "GET"},
                             {303, "POST", "GET"},
                             {307, "POST", "POST"},
                             {308, "POST", "POST"},
                             {301, "DELETE", "DELETE"},
                             {302, "DELETE", "DELETE"},
                             {303, "DELETE", "GET"},
                             {308, "DELETE", "DELETE"},
                             {303, "HEAD", "HEAD"}}) {
        SCOPED_TRACE(std::to_string(each.status) + " " + each.method);
        HTTPHop hop = hopTo("http://a/x", each.method);
        ASSERT_EQ(std::get<Redirection>(takeRedirect(hop, each.status, "/y")), Redirection::followed);
        EXPECT_EQ(hop.request.httpMethod, each.next);
        EXPECT_EQ(hop.request.httpBody.has_value(), std::string(each.next) == "POST");
        EXPECT_EQ(carries(hop, "Content-Type"), std::string(each.method) == each.next);
    }
}

TEST(HTTPRedirect, FollowsToTheAddressThatTheLocationMeans) {
    struct Case {
        const char* from;
        const char* location;
        const char* to;
    };
    for (const Case& each : {Case{"http://a/b/c?d#e", "f?g", "http://a/b/f?g"},
                             {"http://a/b/c", "/x", "http://a/x"},
                             {"http://a/b/c", "../x", "http://a/x"},
                             {"https://a/b", "//c/d", "https://c/d"},
                             {"http://a/b", "HTTPS://C/d e", "https://C/d%20e"},
                             {"http://u:p@a/b", "c", "http://u:p@a/c"}}) {
        HTTPHop hop = hopTo(each.from);
        takeRedirect(hop, 302, each.location);
        EXPECT_EQ(hop.address.url, each.to) << each.location;
    }
}

TEST(HTTPRedirect, LeavesTheAnswerAsItIsWhereThereIsNothingToFollow) {
    HTTPHop hop = hopTo("http://a/x");
    EXPECT_EQ(std::get<Redirection>(takeRedirect(hop, 302, std::nullopt)), Redirection::none);
    EXPECT_EQ(std::get<Redirection>(takeRedirect(hop, 304, "/y")), Redirection::none);
    EXPECT_EQ(std::get<Redirection>(takeRedirect(hop, 200, "/y")), Redirection::none);
}

TEST(HTTPRedirect, RefusesWhatIsNoWebAddressAndWhatIsLessSecure) {
    struct Case {
        const char* from;
        const char* location;
        HTTPFailure failure;
    };
    for (const Case& each : {Case{"http://a", "file:///etc/passwd", HTTPFailure::redirectedToOtherScheme},
                             {"http://a", "mailto:a@b", HTTPFailure::redirectedToOtherScheme},
                             {"http://a", "FTP://a/", HTTPFailure::redirectedToOtherScheme},
                             {"https://a", "http://a/", HTTPFailure::redirectedToInsecure},
                             {"http://a", "http:///b", HTTPFailure::redirectedToBadAddress},
                             {"http://a", "http:b", HTTPFailure::redirectedToBadAddress},
                             {"http://a", "http://b:99999/", HTTPFailure::redirectedToBadAddress},
                             {"http://a", "/x\ny", HTTPFailure::redirectedToBadAddress}}) {
        HTTPHop hop = hopTo(each.from);
        auto taken = takeRedirect(hop, 302, each.location);
        ASSERT_TRUE(std::holds_alternative<HTTPFailure>(taken)) << each.location;
        EXPECT_EQ(std::get<HTTPFailure>(taken), each.failure) << each.location;
    }
}

TEST(HTTPRedirect, KeepsTheKeyAtItsOwnSchemeHostAndPortOnly) {
    struct Case {
        const char* location;
        bool keeps;
    };
    for (const Case& each : {Case{"/y", true},
                             {"http://A:80/y", true},
                             {"https://a/y", false},
                             {"http://a:81/y", false},
                             {"http://b/y", false},
                             {"http://a.b/y", false},
                             {"http://a@b/y", false}}) {
        HTTPHop hop = hopTo("http://a/x");
        takeRedirect(hop, 307, each.location);
        EXPECT_EQ(carries(hop, "x-api-KEY"), each.keeps) << each.location;
        EXPECT_TRUE(carries(hop, "X-Tobrel-Client")) << each.location;
    }
}

TEST(HTTPRedirect, GivesUpAfterTwentyRedirects) {
    HTTPHop hop = hopTo("http://a/x");
    for (int count = 0; count < 20; ++count)
        ASSERT_EQ(std::get<Redirection>(takeRedirect(hop, 302, "/x")), Redirection::followed);
    EXPECT_EQ(std::get<HTTPFailure>(takeRedirect(hop, 302, "/x")), HTTPFailure::tooManyRedirects);
}

}  // namespace
}  // namespace tobrel
