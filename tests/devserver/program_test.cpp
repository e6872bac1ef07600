#include <gmock/gmock.h>
#include <httplib.h>

#include <boost/json/parse.hpp>
#include <chrono>
#include <csignal>
#include <thread>

#include "devserver/options.h"
#include "devserver/tree.h"
#include "support/program.h"
#include "support/temporary_folder.h"

namespace tobrel::devserver {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using tobrel::testing::Program;
using tobrel::testing::readFile;
using tobrel::testing::writeFile;

constexpr const char* ann = "ann@tobrel.test";

class DevserverProgram : public ::testing::Test {
protected:
    DevserverProgram() { std::filesystem::create_directories(folder_.path() / ann / "Docs"); }

    std::vector<std::string> words(std::vector<std::string> options) const {
        std::string folder = folder_.path();
        options.insert(options.begin(), {"tobrel-devserver", "--storage", folder, "--user",
                                         "ann@tobrel.test=secret-key", "--log", folder + "/log"});
        return options;
    }

    static std::string addressOf(Program& program) {
        std::string line = program.waitForLine("listening on ");
        return line.substr(line.rfind(' ') + 1);
    }

    std::string log() const { return readFile(folder_.path() / "log"); }

    tobrel::testing::TemporaryFolder folder_;
};

TEST_F(DevserverProgram, answersOverASocketAndLogsWithoutTheKey) {
    writeFile(folder_.path() / ann / "Docs/<script>.txt", "content");
    Program program(words({"--web-user", ann, "--fault", "DELETE /tobrel/api/=503 Closed for repairs."}));
    std::string address = addressOf(program);
    httplib::Client client(address);
    client.set_default_headers({{"X-API-Key", "secret-key"}});

    auto item = client.Get(("/tobrel/api/item?id=" + identifierOf(ann, "Docs")).c_str());
    ASSERT_TRUE(item);
    EXPECT_EQ(item->body, R"({"path":"Docs","is_folder":true,"key":"ann@tobrel.test/Docs"})");
    EXPECT_EQ(client.Delete("/tobrel/api/grants/1")->body, R"({"error":"Closed for repairs."})");
    EXPECT_EQ(client.Get("/tobrel/api/item?id=root", {{"X-API-Key", "wrong\tkey"}})->status, 401);
    EXPECT_THAT(client.Get("/tobrel/account/files")->body, HasSubstr("hashchange"));
    EXPECT_THAT(client.Get("/tobrel/account/files.json?path=Docs")->body, HasSubstr("<script>.txt"));

    auto link = client.Post("/tobrel/api/shares", R"({"folder_prefix":"Docs"})", "application/json");
    std::string url = boost::json::parse(link->body).at("url").as_string().c_str();
    auto page = client.Get(url.substr(address.size()).c_str());
    EXPECT_THAT(page->body, HasSubstr("&lt;script&gt;.txt"));
    EXPECT_THAT(page->body, Not(HasSubstr("<script>")));
    EXPECT_EQ(client.Get("/tobrel/s/nonsense")->status, 404);

    EXPECT_THAT(log(), HasSubstr("DELETE /tobrel/api/grants/1 503 ann@tobrel.test\n"));
    EXPECT_THAT(log(), HasSubstr("POST /tobrel/api/shares 200 ann@tobrel.test {\"folder_prefix\":\"Docs\"}\n"));
    EXPECT_THAT(log(), Not(HasSubstr("key")));
}

TEST_F(DevserverProgram, endsAtOnceWhileAnAnswerStalls) {
    Program program(words({"--stall", "/tobrel/api/item"}));
    std::thread stalled([address = addressOf(program)] {
        httplib::Client client(address);
        EXPECT_FALSE(client.Get("/tobrel/api/item?id=root"));
    });
    while (log().empty()) std::this_thread::yield();
    auto start = std::chrono::steady_clock::now();
    program.kill(SIGTERM);
    EXPECT_EQ(program.wait().status, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    stalled.join();
}

TEST(DevserverFault, isReadFromItsLastStatus) {
    auto fault = faultIn("GET /tobrel/api/item?id==404 Try a=b later.");
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->method + " " + fault->prefix, "GET /tobrel/api/item?id=");
    EXPECT_EQ(fault->status, 404);
    EXPECT_EQ(fault->sentence, "Try a=b later.");
    for (const char* text : {"GET /a=1", "GET /a=5030", "/a=503"}) EXPECT_FALSE(faultIn(text)) << text;
}

TEST(DevserverClock, readsAndWritesInstantsOfOneForm) {
    EXPECT_EQ(instantOf("2030-01-03 12:00:00"), 1893672000);
    EXPECT_EQ(textOf(1893672000), "2030-01-03 12:00:00");
    for (const char* text : {"", "2030-01-03", "2030-1-3 12:00:00", "2030-06-31 12:00:00", "2030-01-03 12:00:00Z"})
        EXPECT_FALSE(instantOf(text)) << text;
}

}  // namespace
}  // namespace tobrel::devserver
