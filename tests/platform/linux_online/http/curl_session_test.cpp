#include "platform/linux_online/http/curl_session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <future>
#include <set>

#include "platform/linux_online/http/errors.h"
#include "support/program.h"
#include "support/scripted_server.h"
#include "support/temporary_folder.h"

namespace tobrel {
namespace {

using namespace std::chrono_literals;
using namespace testing;
using ::testing::HasSubstr;
using ::testing::Not;

std::string zerosInGzip(std::size_t size) {
    TemporaryFolder folder;
    std::string packed = folder.file("zeros.gz");
    std::string command = "head -c " + std::to_string(size) + " /dev/zero | gzip > '" + packed + "'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return readFile(packed);
}

URLRequest withHeader(URLRequest request, std::string name, std::string value) {
    request.setValue(std::move(value), std::move(name));
    return request;
}

class CurlURLSessionTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"CURL_CA_BUNDLE", "SSL_CERT_DIR", "SSL_CERT_FILE", "http_proxy", "https_proxy",
                                 "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"})
            unsetenv(name);
    }

    URLSessionAnswer ask(CurlURLSession& session, URLRequest request) {
        std::promise<URLSessionAnswer> promise;
        auto answered = promise.get_future();
        session.dataTask(std::move(request), [&](URLSessionAnswer answer) { promise.set_value(std::move(answer)); });
        EXPECT_EQ(answered.wait_for(20s), std::future_status::ready);
        return answered.get();
    }

    URLSessionAnswer ask(URLRequest request) {
        CurlURLSession session;
        return ask(session, std::move(request));
    }

    void expectFailure(const URLSessionAnswer& answer, int code) {
        ASSERT_TRUE(answer.error) << answer.statusCode.value_or(0);
        EXPECT_EQ(answer.error->domain, "NSURLErrorDomain");
        EXPECT_EQ(answer.error->code, code) << answer.error->text;
        EXPECT_TRUE(answer.error->text.ends_with(".")) << answer.error->text;
        EXPECT_THAT(answer.error->text, Not(HasSubstr("secret")));
        EXPECT_FALSE(answer.data);
        EXPECT_FALSE(answer.statusCode);
    }

    static ServerStep redirectsTo(const std::string& location) {
        return sends(answer(307, "", "Location: " + location + "\r\n"));
    }

    ScriptedServer server_;
    const std::string host_ = "127.0.0.1:" + std::to_string(server_.port());
};

TEST_F(CurlURLSessionTest, SendsTheRequestAsItStandsAndHandsBackStatusAndBody) {
    server_.script("/", {sends(answer(418, "teapot"))});
    server_.script("/grants", {sends(answer(200, zerosInGzip(1000), "Content-Encoding: gzip\r\n"))});
    URLRequest get{.url = server_.url("/a/../b/./%2e?id={x|y}&z#fragment")};
    get.setValue("", "X-API-Key");
    get.setValue("macos/1.0 (1); Tobrel", "X-Tobrel-Client");
    URLRequest post{.url = server_.url("/grants"), .httpMethod = "POST", .httpBody = R"({"role":"read"})"};

    CurlURLSession session;
    URLSessionAnswer got = ask(session, get);
    EXPECT_EQ(got.statusCode, 418);
    EXPECT_EQ(got.data, "teapot");
    EXPECT_FALSE(got.error);
    EXPECT_EQ(ask(session, withHeader(post, "Content-Type", "application/json")).data, std::string(1000, '\0'));
    ask(session, {.url = server_.url("/id"), .httpMethod = "DELETE"});

    const std::string common = " HTTP/1.1\r\nHost: " + host_ + "\r\nAccept: */*\r\nAccept-Encoding: gzip\r\n";
    const std::string expected[] = {
        "GET /a/../b/./%2e?id={x|y}&z" + common + "X-API-Key:\r\nX-Tobrel-Client: macos/1.0 (1); Tobrel\r\n\r\n",
        "POST /grants" + common + "Content-Type: application/json\r\nContent-Length: 15\r\n\r\n{\"role\":\"read\"}",
        "DELETE /id" + common + "\r\n"};
    for (std::size_t index = 0; index < 3; ++index) EXPECT_EQ(server_.requests().at(index).bytes, expected[index]);
    EXPECT_EQ(server_.connectionsAccepted(), 1);
}

TEST_F(CurlURLSessionTest, SendsNothingOfARequestThatCannotBeSent) {
    const std::pair<int, std::vector<URLRequest>> cases[] = {
        {-1000,
         {withHeader({.url = server_.url()}, "X-API-Key", "secret\r\nX-Other: 1"),
          withHeader({.url = server_.url()}, "X-API-Key", "secret\n"),
          withHeader({.url = server_.url()}, "X-API-Key", "secret\rX"),
          withHeader({.url = server_.url()}, "X-API-Key", std::string("secret\0X", 8)),
          withHeader({.url = server_.url()}, "X-API-Key: 1\r\nX", "secret"),
          withHeader({.url = server_.url()}, "X-API-Key;", "secret"),
          {.url = server_.url(), .httpMethod = "GET /other HTTP/1.1\r\nX:"},
          {.url = "http:///" + host_},
          {.url = "http://?secret"},
          {.url = "http://me:secret@:" + std::to_string(server_.port())},
          {.url = server_.url("/a b")},
          {.url = server_.url("/a\nb")}}},
        {-1002,
         {{.url = host_}, {.url = "/tobrel"}, {.url = "ftp://secret@" + host_}, {.url = "file:///etc/hostname"}}},
        // No resolver asks the network for a name with so long a label.
        {-1003, {{.url = "http://" + std::string(70, 'x') + ".invalid/"}}},
        {-1004, {{.url = "http://127.0.0.1:1"}}},
        {-1200, {{.url = "https://" + host_}}},
    };
    for (const auto& [code, requests] : cases)
        for (const URLRequest& request : requests) {
            SCOPED_TRACE(request.url);
            expectFailure(ask(request), code);
        }
    EXPECT_EQ(server_.connectionsAccepted(), 1) << "that of the https address alone";
}

TEST_F(CurlURLSessionTest, FailsWithItsOwnSentenceForEachThingThatGoesWrong) {
    const std::string ok = "HTTP/1.1 200 OK\r\n", gzip = "Content-Encoding: gzip\r\n";
    const std::string part = ok + "Content-Length: 100\r\n\r\n{";
    struct {
        const char* name;
        ServerScript script;
        int code;
        const char* says = "was lost";
    } cases[] = {
        {"reset before the answer", {resets()}, -1005},
        {"closed before the answer", {closes()}, -1005},
        {"closed in the body", {sends(part), closes()}, -1005},
        {"closed in a chunk", {sends(ok + "Transfer-Encoding: chunked\r\n\r\nff\r\n{"), closes()}, -1005},
        {"stalled before the answer", {stalls()}, -1001, "in time"},
        {"stalled in the body", {sends(part), stalls()}, -1001, "in time"},
        {"another protocol", {sends("SSH-2.0-OpenSSH_9.2\r\n"), closes()}, -1011, "as a web server does"},
        {"too long", {sends(ok + "Content-Length: 8388609\r\n\r\n"), stalls()}, -1103, "too large"},
        {"an endless body", {sends(ok + "\r\n"), sendsForever(std::string(1 << 20, 'x'))}, -1103, "too large"},
        {"an endless header line", {sends(ok + "A: "), sendsForever(std::string(1 << 16, 'x'))}, -1103, "too large"},
        {"endless header lines", {sends(ok), sendsForever("A: " + std::string(999, 'x') + "\r\n")}, -1103, "too large"},
        {"endless interim answers", {sendsForever("HTTP/1.1 103 Early Hints\r\nA: b\r\n\r\n")}, -1103, "too large"},
        {"a gzip bomb", {sends(answer(200, zerosInGzip(9 << 20), gzip))}, -1103, "too large"},
        {"gzip that is none", {sends(answer(200, "{\"a\": 1, \"b\": 2}", gzip))}, -1015, "could not be decoded"},
        {"a redirect loop", {redirectsTo("/x")}, -1007, "too many times"},
    };
    for (const auto& [name, script, code, says] : cases) {
        SCOPED_TRACE(name);
        server_.script("/", script);
        URLSessionAnswer failed =
            ask({.url = "http://me:secret@" + host_ + "/x?secret", .timeoutInterval = code == -1001 ? 0.1 : 10});
        expectFailure(failed, code);
        EXPECT_THAT(failed.error->text, HasSubstr(says));
        EXPECT_THAT(failed.error->text, HasSubstr("“" + host_ + "”"));
    }
}

TEST_F(CurlURLSessionTest, AsksEachOfManyOnceAndTakesItsTimeWhileBytesComeOrConnectionsAreShort) {
    const std::string slow = "twenty five bytes, slowly";
    server_.script("/", {sends("HTTP/1.1 200 OK\r\nContent-Length: 25\r\n\r\n"), trickles(slow, 50ms)});
    constexpr int many = 80;
    std::promise<URLSessionAnswer> answers[many];
    CurlURLSession session;
    for (int index = 0; index < many; ++index)
        session.dataTask(withHeader({.url = server_.url("/").append(std::to_string(index)), .timeoutInterval = 1},
                                    "X-Number", std::to_string(index)),
                         [&, index](URLSessionAnswer answer) { answers[index].set_value(std::move(answer)); });
    for (auto& each : answers) {
        URLSessionAnswer got = each.get_future().get();
        EXPECT_EQ(got.data, slow) << got.error.value_or(NSError{}).text;
    }
    std::set<std::string> targets;
    for (const auto& request : server_.requests()) {
        EXPECT_TRUE(targets.insert(request.target()).second);
        EXPECT_EQ("/" + request.header("X-Number"), request.target());
    }
    EXPECT_EQ(targets.size(), std::size(answers));
    EXPECT_EQ(server_.mostConnectionsAtOnce(), 64);
}

TEST_F(CurlURLSessionTest, NeverSendsARequestAgainWhenAReusedConnectionDies) {
    for (const char* method : {"GET", "POST", "DELETE"}) {
        SCOPED_TRACE(method);
        ScriptedServer server;
        server.script("/first", {sends(answer(200, ""))});
        server.script("/second", {closes()});
        CurlURLSession session;
        ASSERT_EQ(ask(session, {.url = server.url("/first")}).statusCode, 200);
        URLRequest second{.url = server.url("/second"), .httpMethod = method};
        if (second.httpMethod == "POST") second.httpBody = "{}";
        expectFailure(ask(session, second), -1005);
        ASSERT_EQ(server.requests().size(), 2u);
        EXPECT_EQ(server.requests()[1].connection, 0) << "the connection was not reused";
        EXPECT_EQ(ask(session, {.url = server.url("/first")}).statusCode, 200);
    }
}

TEST_F(CurlURLSessionTest, LeavesTheKeyBehindWhenARedirectLeavesTheServerEvenWhenItComesBack) {
    ScriptedServer other;
    server_.script("/start", {redirectsTo("/inside")});
    server_.script("/inside", {redirectsTo(other.url("/outside"))});
    other.script("/outside", {redirectsTo(server_.url("/back"))});
    server_.script("/back", {sends(answer(200, "{}"))});
    URLRequest request{.url = "http://me:pass@" + host_ + "/start", .httpMethod = "POST", .httpBody = "body"};
    CurlURLSession session;
    EXPECT_EQ(ask(session, withHeader(request, "X-API-Key", "secret")).data, "{}");
    ask(session, {.url = other.url("/next")});

    auto requests = server_.requests();
    ASSERT_EQ(requests.size(), 3u);
    ASSERT_EQ(other.requests().size(), 2u);
    EXPECT_EQ(requests[1].header("X-API-Key"), "secret");
    EXPECT_EQ(requests[1].header("Authorization"), "Basic bWU6cGFzcw==");
    for (const auto& later : {requests[2], other.requests()[0], other.requests()[1]})
        EXPECT_EQ(later.header("X-API-Key") + later.header("Authorization"), "");
    EXPECT_EQ(requests[2].method() + requests[2].body(), "POSTbody");
}

TEST_F(CurlURLSessionTest, KeepsCookiesInMemoryForTheirServer) {
    server_.script("/", {sends(answer(200, "", "Set-Cookie: a=b; Path=/\r\n"))});
    {
        CurlURLSession session;
        ask(session, {.url = server_.url("/1")});
        ask(session, {.url = server_.url("/2")});
        ask(session, {.url = "http://localhost:" + std::to_string(server_.port()) + "/3"});
    }
    ask({.url = server_.url("/4")});
    std::vector<std::string> cookies;
    for (const auto& request : server_.requests()) cookies.push_back(request.header("Cookie"));
    EXPECT_EQ(cookies, (std::vector<std::string>{"", "a=b", "", ""}));
}

TEST_F(CurlURLSessionTest, CallsBackOnItsOwnThreadFromWhereFurtherRequestsMayBeMade) {
    server_.script("/", {sends(answer(200, "x"))});
    CurlURLSession session;
    std::promise<std::thread::id> thread;
    session.dataTask({.url = server_.url("/1")}, [&](URLSessionAnswer) {
        session.dataTask({.url = "nowhere"}, [&](URLSessionAnswer) {
            session.dataTask({.url = server_.url("/2")},
                             [&](URLSessionAnswer) { thread.set_value(std::this_thread::get_id()); });
        });
    });
    EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
    EXPECT_EQ(server_.requests().size(), 2u);
}

TEST_F(CurlURLSessionTest, EndsAtOnceWithRequestsUnderWayAndThousandsWaiting) {
    server_.script("/", {sends("HTTP/1.1 200 OK\r\n"), stalls()});
    auto captured = std::make_shared<int>(0);
    {
        CurlURLSession session;
        for (int index = 0; index < 5000; ++index)
            session.dataTask({.url = server_.url("/item/").append(std::to_string(index))},
                             [captured](URLSessionAnswer) { ++*captured; });
        server_.waitForRequests(64);
        EXPECT_EQ(captured.use_count(), 5001);
    }
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_EQ(*captured, 0);
}

TEST_F(CurlURLSessionTest, TrustsOnlyCertificatesThatItWasToldToTrustAndStaysWithSecureServers) {
    TemporaryFolder folder;
    auto certificate = makeCertificate(folder.path());
    ScriptedServer secure(&certificate);
    secure.script("/", {sends(answer(200, "private"))});
    secure.script("/open", {redirectsTo(server_.url())});

    URLSessionAnswer untrusted = ask({.url = secure.url()});
    expectFailure(untrusted, -1202);
    EXPECT_THAT(untrusted.error->text, HasSubstr("not from an authority"));
    setenv("CURL_CA_BUNDLE", folder.file("missing.pem").c_str(), 1);
    expectFailure(ask({.url = secure.url()}), -1202);
    setenv("CURL_CA_BUNDLE", certificate.certificateFile.c_str(), 1);
    URLSessionAnswer otherName = ask({.url = "https://127.0.0.1:" + std::to_string(secure.port())});
    expectFailure(otherName, -1202);
    EXPECT_THAT(otherName.error->text, HasSubstr("another name"));
    EXPECT_TRUE(secure.requests().empty());

    setenv("SSLKEYLOGFILE", folder.file("keys").c_str(), 1);
    EXPECT_EQ(ask({.url = secure.url()}).data, "private");
    EXPECT_FALSE(std::ifstream(folder.file("keys")));
    unsetenv("CURL_CA_BUNDLE");
    setenv("SSL_CERT_FILE", certificate.certificateFile.c_str(), 1);
    expectFailure(ask({.url = secure.url("/open")}), -1022);
    EXPECT_EQ(server_.connectionsAccepted(), 0);

    const std::string &file = certificate.certificateFile, &key = certificate.keyFile;
    EXPECT_EQ(run({"openssl", "x509", "-in", file, "-signkey", key, "-days", "0", "-out", file}).status, 0);
    ScriptedServer late(&certificate);
    expectFailure(ask({.url = late.url()}), -1201);
}

TEST_F(CurlURLSessionTest, GoesThroughTheProxyThatTheEnvironmentNames) {
    server_.script("http://tobrel.invalid/", {sends(answer(200, "by proxy"))});
    server_.script("tobrel.invalid:443", {sends(answer(407, ""))});
    for (const char* name : {"http_proxy", "https_proxy"}) setenv(name, ("http://me:secret@" + host_).c_str(), 1);
    EXPECT_EQ(ask({.url = "http://tobrel.invalid/x"}).data, "by proxy");
    URLSessionAnswer refused = ask(withHeader({.url = "https://tobrel.invalid/x"}, "X-API-Key", "secret"));
    expectFailure(refused, -1004);
    EXPECT_THAT(refused.error->text, HasSubstr("proxy"));
    EXPECT_EQ(server_.requests()[1].method(), "CONNECT");
    EXPECT_THAT(server_.requests()[1].bytes, Not(HasSubstr("X-API-Key")));
    setenv("http_proxy", ScriptedServer().url().c_str(), 1);
    EXPECT_THAT(ask({.url = "http://tobrel.invalid/x"}).error->text, HasSubstr("proxy server for “tobrel.invalid”"));
}

TEST_F(CurlURLSessionTest, SendsAgainWhatAServerHasNotTakenInOverHTTP2AndNothingElse) {
    TemporaryFolder folder;
    auto certificate = makeCertificate(folder.path());
    setenv("CURL_CA_BUNDLE", certificate.certificateFile.c_str(), 1);
    using enum HTTP2Server::Leaving;
    constexpr int many = 500;
    for (auto [limit, leaving] : {std::pair{100, politely}, {7, politely}, {1000, politely}, {100, rudely}}) {
        SCOPED_TRACE(limit);
        HTTP2Server server(certificate, limit, leaving);
        CurlURLSession session;
        std::vector<std::promise<URLSessionAnswer>> answers(many);
        for (int index = 0; index < many; ++index)
            session.dataTask({.url = server.url("/?id=").append(std::to_string(index))},
                             [&, index](URLSessionAnswer answer) { answers[index].set_value(std::move(answer)); });
        int answered = 0;
        for (auto& each : answers) answered += each.get_future().get().data == "{}";
        if (leaving == politely) {
            EXPECT_EQ(answered, many);
            EXPECT_EQ(server.requestsTakenIn(), many);
            EXPECT_LE(server.connections(), 2 + 2 * many / limit);
        } else {
            EXPECT_LT(answered, many);
            EXPECT_LE(server.requestsSeen(), many);
        }
    }
}

TEST(HTTPError, FitsTheSheetsThreeLines) {
    for (int each = 0; each <= static_cast<int>(HTTPFailure::other); ++each) {
        std::string text = httpError(static_cast<HTTPFailure>(each), std::string(90, 'x')).text;
        EXPECT_TRUE(text.ends_with(".")) << text;
        EXPECT_LE(text.size(), 145u) << text;
    }
}

}  // namespace
}  // namespace tobrel
