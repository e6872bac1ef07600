#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>

#include "devserver/options.h"
#include "devserver/pages.h"
#include "devserver/tree.h"
#include "support/temporary_folder.h"

namespace tobrel::devserver {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using tobrel::testing::readFile;
using tobrel::testing::writeFile;

constexpr const char* ann = "ann@tobrel.test";

// The program itself, ended with the test.
class Program {
public:
    Program(const std::string& folder, std::vector<std::string> options) {
        options.insert(options.begin(), {DEVSERVER, "--storage", folder, "--user", "ann@tobrel.test=secret-key",
                                         "--log", folder + "/log"});
        std::vector<char*> words;
        for (auto& option : options) words.push_back(option.data());
        words.push_back(nullptr);
        int output[2];
        if (pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, output[1], 1);
        if (posix_spawn(&process_, DEVSERVER, &actions, nullptr, words.data(), environ) != 0) process_ = 0;
        posix_spawn_file_actions_destroy(&actions);
        close(output[1]);
        for (char byte; ::read(output[0], &byte, 1) == 1 && byte != '\n';) line_ += byte;
        close(output[0]);
    }
    ~Program() {
        if (process_) end();
    }

    std::string address() const { return line_.substr(line_.rfind(' ') + 1); }

    int end() {
        kill(std::exchange(process_, 0), SIGTERM);
        int status = 0;
        wait(&status);
        return status;
    }

private:
    pid_t process_ = 0;
    std::string line_;
};

class DevserverProgram : public ::testing::Test {
protected:
    DevserverProgram() { std::filesystem::create_directories(folder_.path() / ann / "Docs"); }
    tobrel::testing::TemporaryFolder folder_;
};

TEST_F(DevserverProgram, answersOverASocketAndLogsWithoutTheKey) {
    writeFile(folder_.path() / ann / "Docs/<script>.txt", "content");
    Program program(folder_.path(), {"--web-user", ann, "--fault", "DELETE /tobrel/api/=503 Closed for repairs."});
    httplib::Client client(program.address());
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
    auto page = client.Get(url.substr(program.address().size()).c_str());
    EXPECT_THAT(page->body, HasSubstr("&lt;script&gt;.txt"));
    EXPECT_THAT(page->body, Not(HasSubstr("<script>")));
    EXPECT_EQ(client.Get("/tobrel/s/nonsense")->status, 404);

    std::string log = readFile(folder_.path() / "log");
    EXPECT_THAT(log, HasSubstr("DELETE /tobrel/api/grants/1 503 ann@tobrel.test\n"));
    EXPECT_THAT(log, HasSubstr("POST /tobrel/api/shares 200 ann@tobrel.test {\"folder_prefix\":\"Docs\"}\n"));
    EXPECT_THAT(log, Not(HasSubstr("key")));
}

TEST_F(DevserverProgram, endsAtOnceWhileAnAnswerStalls) {
    Program program(folder_.path(), {"--stall", "/tobrel/api/item"});
    std::thread stalled([&] {
        httplib::Client client(program.address());
        EXPECT_FALSE(client.Get("/tobrel/api/item?id=root"));
    });
    while (readFile(folder_.path() / "log").empty()) std::this_thread::yield();
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(program.end(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    stalled.join();
}

TEST(DevserverFault, isReadFromItsLastStatus) {
    struct Case {
        const char *text, *read;
    };
    for (auto [text, read] : {
             Case{"GET /tobrel/api/item?id==404", "GET|/tobrel/api/item?id=|404|"},
             Case{"* /a=503 Try a=b later.", "*|/a|503|Try a=b later."},
             Case{"GET /a=1", "none"},
             Case{"GET /a=5030", "none"},
             Case{"/a=503", "none"},
         }) {
        auto fault = faultIn(text);
        EXPECT_EQ(
            fault ? fault->method + "|" + fault->prefix + "|" + std::to_string(fault->status) + "|" + fault->sentence
                  : "none",
            read);
    }
}

TEST(DevserverClock, readsAndWritesInstantsOfOneForm) {
    EXPECT_EQ(instantOf("2030-01-03 12:00:00"), 1893672000);
    EXPECT_EQ(textOf(1893672000), "2030-01-03 12:00:00");
    for (const char* text : {"", "2030-01-03", "2030-1-3 12:00:00", "2030-06-31 12:00:00", "2030-01-03 12:00:00Z"})
        EXPECT_FALSE(instantOf(text)) << text;
}

}  // namespace
}  // namespace tobrel::devserver
