#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <boost/json/parse.hpp>
#include <cstdlib>
#include <thread>

#include "platform/linux/file_descriptor.h"
#include "support/installation.h"
#include "support/scripted_server.h"

namespace tobrel::testing {

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != text.npos;
}

// The check's lines of `doctor`, each with its mark; all of them are printed whatever they find.
std::vector<std::string> diagnosis(const Ended& doctor, const std::string& check) {
    std::vector<std::string> lines = doctor.lines();
    std::erase_if(lines, [&](auto& line) { return !contains(line, " " + check + ": "); });
    return lines;
}

// A terminal as the program sees it, and the user's side of it.
class Terminal {
public:
    Terminal() : user_(posix_openpt(O_RDWR | O_NOCTTY)) {
        grantpt(user_.number());
        unlockpt(user_.number());
        program_ = FileDescriptor(open(path().c_str(), O_RDWR | O_NOCTTY));
    }
    std::string path() const { return ptsname(user_.number()); }
    bool echoes() const {
        termios settings{};
        tcgetattr(program_.number(), &settings);
        return settings.c_lflag & ECHO;
    }
    void waitForSilence() const {
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (echoes() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_FALSE(echoes());
    }
    void type(const std::string& keys) {
        ASSERT_EQ(write(user_.number(), keys.data(), keys.size()), ssize_t(keys.size()));
    }
    std::string shown() const {
        fcntl(user_.number(), F_SETFL, O_NONBLOCK);
        char buffer[4096];
        ssize_t count = read(user_.number(), buffer, sizeof buffer);
        return std::string(buffer, std::max<ssize_t>(count, 0));
    }

private:
    FileDescriptor user_;
    FileDescriptor program_;
};

class SettingUp : public ::testing::Test {
protected:
    std::string config() const { return readFile(installation_.privateFile("config.json")); }
    void configure(const std::string& json) {
        std::filesystem::create_directories(installation_.home() + "/.tobrel");
        chmod((installation_.home() + "/.tobrel").c_str(), 0700);
        writeFile(installation_.privateFile("config.json"), json);
        chmod(installation_.privateFile("config.json").c_str(), 0600);
    }
    Ended admin(const std::vector<std::string>& words, const std::string& input = {}) {
        return installation_.admin(words, input);
    }
    std::string status() { return admin({"key", "status"}).output; }

    Installation installation_;
};

}  // namespace

TEST_F(SettingUp, server_writes_its_member_and_keeps_the_rest_and_the_mode) {
    EXPECT_EQ(admin({"server", "https://tobrel.example/base/"}).status, 0);
    EXPECT_EQ(config(), R"({"server":"https://tobrel.example/base/"})");
    configure("{\"api_key\": \"k\",\n \"server\": 7}\n");
    chmod(installation_.privateFile("config.json").c_str(), 0640);
    EXPECT_EQ(admin({"server", "HTTP://[::1]:8080"}).status, 0);
    EXPECT_EQ(config(), "{\"api_key\": \"k\",\n \"server\": \"HTTP://[::1]:8080\"}\n");
    struct stat file {};
    stat(installation_.privateFile("config.json").c_str(), &file);
    EXPECT_EQ(file.st_mode & 07777, 0640u);
}

TEST_F(SettingUp, server_refuses_what_is_no_web_address_and_a_file_that_is_no_object) {
    for (const char* address :
         {"", "tobrel.example", "/base", "ftp://a.example", "http:a", "https://", "http://:80", "http://a b",
          "http://a.example\n", "http://[", "http://é.example", "http://a/?b", "http://a/#", "javascript:alert(1)"}) {
        Ended ended = admin({"server", "--", address});
        EXPECT_EQ(ended.status, 1) << address;
        EXPECT_TRUE(contains(ended.errors, "The address “")) << ended.errors;
        EXPECT_EQ(ended.lines().size(), 0u);
        EXPECT_EQ(std::count(ended.errors.begin(), ended.errors.end(), '\n'), 1);
        EXPECT_FALSE(std::filesystem::exists(installation_.privateFile("config.json")));
    }
    for (const char* content : {"{broken", "[]"}) {
        configure(content);
        EXPECT_EQ(admin({"server", "https://a.example"}).status, 1);
        EXPECT_EQ(config(), content);
    }
    std::filesystem::remove(installation_.privateFile("config.json"));
    mkfifo(installation_.privateFile("config.json").c_str(), 0600);
    EXPECT_EQ(admin({"server", "https://a.example"}).status, 1);
    EXPECT_EQ(admin({"server"}).status, 2);
    EXPECT_EQ(admin({"server", "https://a.example", "x"}).status, 2);
}

TEST_F(SettingUp, a_key_is_stored_without_its_final_line_break_and_never_shown) {
    struct {
        std::string input;
        int length;  // 0: refused
    } cases[] = {{"s3cret-s3cret", 13},
                 {"s3cret\n", 6},
                 {"s3cret\r\n", 6},
                 {" s3 \n\n", 5},
                 {"clé", 3},
                 {"", 0},
                 {"\n", 0},
                 {"k\xFF", 0},
                 {std::string(100000, 'k'), 0}};
    for (const auto& [input, length] : cases) {
        admin({"key", "delete"});
        Ended set = admin({"key", "set"}, input);
        EXPECT_EQ(set.status, length ? 0 : 1) << input;
        EXPECT_EQ(std::count(set.errors.begin(), set.errors.end(), '\n'), length ? 0 : 1);
        EXPECT_TRUE(contains(status(), length ? "length " + std::to_string(length) + "," : "no usable key"))
            << status();
        EXPECT_FALSE(contains(status() + set.output + set.errors, "s3"));
    }
}

TEST_F(SettingUp, the_status_says_where_the_key_comes_from) {
    auto source = [&] {
        auto status = boost::json::parse(admin({"key", "status", "--json"}).output);
        return std::string(status.at("source").as_string());
    };
    EXPECT_EQ(source(), "none");
    configure(R"({"api_key":"from file"})");
    EXPECT_EQ(source(), "config.json");
    EXPECT_EQ(admin({"key", "set", "--account", "ann"}, "k").status, 0);
    EXPECT_EQ(source(), "keychain file");
    std::string folder = installation_.home() + "/.local/share/tobrel/keychain";
    chmod(folder.c_str(), 0755);
    EXPECT_EQ(source(), "config.json");
    EXPECT_TRUE(contains(admin({"key", "set"}, "k").errors, "chmod 700"));
    EXPECT_EQ(admin({"key", "delete"}).status, 1);
    chmod(folder.c_str(), 0700);
    EXPECT_EQ(admin({"key", "delete"}).status, 0);
    EXPECT_EQ(admin({"key", "delete"}).status, 0);
    EXPECT_EQ(source(), "config.json");
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"key"},
                                               {"key", "show"},
                                               {"key", "set", "k3y"},
                                               {"key", "status", "--account", "a"},
                                               {"key", "set", "--json"}})
        EXPECT_EQ(admin(words).status, 2);
}

TEST_F(SettingUp, a_terminal_shows_nothing_of_the_key_and_is_left_as_it_was) {
    Terminal terminal;
    {
        Program program({"tobrel-admin", "--home", installation_.home(), "key", "set"},
                        {.standardInput = terminal.path()});
        terminal.waitForSilence();
        terminal.type("s3cret\n");
        EXPECT_EQ(program.wait().status, 0);
    }
    EXPECT_FALSE(contains(terminal.shown(), "s3"));
    EXPECT_TRUE(terminal.echoes());
    EXPECT_TRUE(contains(status(), "length 6,"));
    {
        Program program({"tobrel-admin", "--home", installation_.home(), "key", "set"},
                        {.standardInput = terminal.path()});
        terminal.waitForSilence();
        program.kill(SIGINT);
        EXPECT_EQ(program.wait().status, -SIGINT);
    }
    EXPECT_TRUE(terminal.echoes());
    EXPECT_TRUE(contains(status(), "length 6,"));
}

TEST_F(SettingUp, doctor_says_for_each_fault_what_to_do) {
    Ended fresh = admin({"doctor"});
    EXPECT_EQ(fresh.status, 1);
    for (const char* check : {"private folder", "settings", "server", "key"})
        EXPECT_TRUE(contains(diagnosis(fresh, check).at(0), "✗ ")) << fresh.output;
    for (const char* check : {"keychain", "domain", "file managers"})
        EXPECT_TRUE(contains(diagnosis(fresh, check).at(0), "✓ ")) << fresh.output;

    ScriptedServer server;
    const std::string top = "/tobrel/api/item?id=root";
    server.script(top, {sends(answer(200, R"({"key":"","path":"","is_folder":true})"))});
    EXPECT_EQ(admin({"server", server.url("")}).status, 0);
    EXPECT_EQ(admin({"key", "set"}, "s3cret").status, 0);
    Ended well = admin({"doctor"});
    EXPECT_EQ(well.status, 0) << well.output;
    EXPECT_FALSE(contains(well.output, "✗") || contains(well.output, "s3cret"));
    EXPECT_EQ(server.requests().at(0).target(), top);
    EXPECT_EQ(server.requests().at(0).header("X-API-Key"), "s3cret");

    struct {
        ServerScript script;
        std::string server;
        std::string key;
    } answers[] = {
        {{sends(answer(401, R"({"error":"No \u001b[2Jsuch \u202ekey"})"))},
         "✓ ",
         "refused (HTTP 401, “No ␛[2Jsuch �key”)"},
        {{sends(answer(403, "no"))}, "✓ ", "refused (HTTP 403)"},
        {{sends(answer(500, R"({"error":"Broken"})"))}, "failure (HTTP 500, “Broken”)", "not tried"},
        {{sends(answer(503, "<html>"))}, "failure (HTTP 503)", "not tried"},
        {{sends(answer(404, "<html>"))}, "not as a Tobrel server", "not tried"},
        {{sends(answer(200, "<html>"))}, "not as a Tobrel server", "not tried"},
        {{closes()}, "✗ ", "not tried"},
    };
    for (const auto& [script, serverLine, keyLine] : answers) {
        server.script(top, script);
        Ended doctor = admin({"doctor"});
        EXPECT_EQ(doctor.status, 1);
        EXPECT_TRUE(contains(diagnosis(doctor, "server").at(0), serverLine)) << doctor.output;
        EXPECT_TRUE(contains(diagnosis(doctor, "key").at(0), keyLine)) << doctor.output;
    }
    server.script(top, {sends(answer(200, "{}"))});

    const std::string home = installation_.home();
    struct {
        std::string path;
        mode_t mode;
        std::string check;
    } modes[] = {{home + "/.tobrel", 0750, "private folder"},
                 {home + "/.local/share/tobrel/keychain/keychain", 0644, "keychain"}};
    for (const auto& [path, mode, check] : modes) {
        struct stat before {};
        stat(path.c_str(), &before);
        chmod(path.c_str(), mode);
        EXPECT_TRUE(contains(diagnosis(admin({"doctor"}), check).at(0), "chmod ")) << check;
        chmod(path.c_str(), before.st_mode);
    }
    std::filesystem::remove_all(installation_.root());
    EXPECT_TRUE(contains(diagnosis(admin({"doctor"}), "domain").at(0), "✗ domain: “work”"));
    std::filesystem::create_directory(installation_.root());

    EXPECT_EQ(admin({"doctor"}).status, 0);
    for (const std::string& line : admin({"doctor", "--json"}).lines())
        EXPECT_EQ(boost::json::parse(line).at("ok"), boost::json::value(true));
}

}  // namespace tobrel::testing
