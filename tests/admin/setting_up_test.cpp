#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <boost/json/parse.hpp>
#include <thread>

#include "support/installation.h"
#include "support/pty_child.h"
#include "support/scripted_server.h"

namespace tobrel::testing {

using ::testing::HasSubstr;
using ::testing::Not;

class SettingUp : public ::testing::Test {
protected:
    Ended admin(const std::vector<std::string>& words, const std::string& input = {}) {
        return installation_.admin(words, input);
    }
    std::string status() { return admin({"key", "status"}).output; }
    // The check's line of `doctor`; every check has one whatever it finds.
    std::string diagnosis(const std::string& check) {
        for (auto& line : admin({"doctor"}).lines())
            if (line.find(" " + check + ": ") != line.npos) return line;
        return "";
    }
    void configure(const std::string& json) {
        std::filesystem::create_directories(private_);
        std::filesystem::permissions(private_, std::filesystem::perms::owner_all);
        writeFile(config_, json);
    }

    Installation installation_;
    const std::string private_ = installation_.privateFile("");
    const std::string config_ = installation_.privateFile("config.json");
    const std::string keychain_ = installation_.home() + "/.local/share/tobrel/keychain";
};

TEST_F(SettingUp, server_writes_its_member_and_keeps_the_rest_and_the_mode) {
    EXPECT_EQ(admin({"server", "https://tobrel.example/base/"}).status, 0);
    EXPECT_EQ(readFile(config_), R"({"server":"https://tobrel.example/base/"})");
    configure("{\"api_key\": \"k\",\n \"server\": 7}\n");
    chmod(config_.c_str(), 0640);
    EXPECT_EQ(admin({"server", "HTTP://[::1]:8080"}).status, 0);
    EXPECT_EQ(readFile(config_), "{\"api_key\": \"k\",\n \"server\": \"HTTP://[::1]:8080\"}\n");
    EXPECT_EQ(std::filesystem::status(config_).permissions(), std::filesystem::perms(0640));

    EXPECT_EQ(admin({"server", "https://Bücher.example:8443/base"}).status, 0);
    EXPECT_THAT(readFile(config_), HasSubstr("https://xn--bcher-kva.example:8443/base"));
    const std::string elsewhere = installation_.home() + "/settings.json";
    std::filesystem::rename(config_, elsewhere);
    std::filesystem::create_symlink("../settings.json", config_);
    EXPECT_EQ(admin({"server", "https://a.example"}).status, 0);
    EXPECT_THAT(readFile(elsewhere), HasSubstr("https://a.example"));
    EXPECT_TRUE(std::filesystem::is_symlink(config_));
    chmod(elsewhere.c_str(), 0666);
    EXPECT_THAT(admin({"server", "https://b.example"}).errors, HasSubstr("chmod go-w"));
    EXPECT_THAT(readFile(elsewhere), HasSubstr("https://a.example"));
}

TEST_F(SettingUp, server_refuses_what_is_no_web_address_and_a_file_that_is_no_object) {
    for (const char* address :
         {"", "tobrel.example", "ftp://a.example", "https://", "http://:80", "http://a b", "http://a.example\n",
          "http://a/?b", "http://a/#", "http://u@a", "http://a:99999", "http://a:x", "http://a:0", "http://a..b",
          "http://%61.b", "http://[::1]x", "http://\u00AD"}) {
        Ended ended = admin({"server", "--", address});
        EXPECT_EQ(ended.status, 1) << address;
        EXPECT_THAT(ended.errors, HasSubstr("The address “"));
        EXPECT_EQ(std::count(ended.errors.begin(), ended.errors.end(), '\n'), 1);
        EXPECT_FALSE(std::filesystem::exists(config_));
    }
    for (const char* content : {"{broken", "[]"}) {
        configure(content);
        EXPECT_EQ(admin({"server", "https://a.example"}).status, 1);
        EXPECT_EQ(readFile(config_), content);
    }
    std::filesystem::remove(config_);
    mkfifo(config_.c_str(), 0600);
    EXPECT_EQ(admin({"server", "https://a.example"}).status, 1);
}

TEST_F(SettingUp, a_key_is_stored_without_its_final_line_break_and_never_shown) {
    const std::pair<std::string, const char*> cases[] = {
        {"s3cret-s3cret", "length 13,"},
        {"s3cret\n", "length 6,"},
        {"s3cret\r\n", "length 6,"},
        {" s3 \n\n", "length 5,"},
        {"s3clé", "length 5,"},
        {"", nullptr},
        {"\n", nullptr},
        {"s3\xFF", nullptr},
        {"s3" + std::string(100000, 'k'), nullptr},
    };
    for (const auto& [input, length] : cases) {
        admin({"key", "delete"});
        Ended set = admin({"key", "set"}, input);
        EXPECT_EQ(set.status, length ? 0 : 1) << input;
        EXPECT_EQ(std::count(set.errors.begin(), set.errors.end(), '\n'), length ? 0 : 1);
        EXPECT_THAT(status(), HasSubstr(length ? length : "no usable key"));
        EXPECT_THAT(status() + set.output + set.errors, Not(HasSubstr("s3")));
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
    chmod(keychain_.c_str(), 0755);
    EXPECT_EQ(source(), "config.json");
    EXPECT_THAT(admin({"key", "set"}, "k").errors, HasSubstr("chmod 700"));
    EXPECT_EQ(admin({"key", "delete"}).status, 1);
    chmod(keychain_.c_str(), 0700);
    for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(admin({"key", "delete"}).status, 0);
    EXPECT_EQ(source(), "config.json");
    EXPECT_EQ(admin({"key", "set", "k3y"}).status, 2);
    EXPECT_EQ(admin({"key", "status", "--account", "a"}).status, 2);
    EXPECT_EQ(admin({"key", "status"}).status, 0);
    std::filesystem::remove(config_);
    EXPECT_EQ(admin({"key", "status"}).status, 1);
    EXPECT_EQ(admin({"key", "set", "--store", "nowhere"}, "k").status, 2);
    EXPECT_THAT(admin({"key", "set", "--store", "keychain"}, "k").errors, HasSubstr("--store file"));
    EXPECT_EQ(admin({"key", "set", "--store", "file"}, "k").status, 0);
    EXPECT_EQ(admin({"key", "set", "--account", "\xFF"}, "other").status, 1);
    EXPECT_THAT(status(), HasSubstr("length 1,"));
}

TEST_F(SettingUp, a_terminal_shows_nothing_of_the_key_and_is_left_as_it_was) {
    for (const auto& [keys, ended] : {std::pair("s3cret\n", 0), {"s3\x03", SIGINT}}) {
        PtyChild terminal([home = installation_.home()] {
            return execl(TOBREL_BIN_DIR "/tobrel-admin", "tobrel-admin", "--home", home.c_str(), "key", "set", nullptr);
        });
        terminal.expect("API key: ");
        while (terminal.has(ECHO)) std::this_thread::yield();
        terminal.send(keys);
        EXPECT_THAT(terminal.rest(), Not(HasSubstr("s3")));
        EXPECT_TRUE(terminal.has(ECHO));
        EXPECT_EQ(terminal.waitStatus(), ended);
        EXPECT_THAT(status(), HasSubstr("length 6,"));
    }
}

TEST_F(SettingUp, doctor_says_for_each_fault_what_to_do) {
    for (const char* check : {"private folder", "settings", "server", "key"})
        EXPECT_THAT(diagnosis(check), HasSubstr("✗ ")) << check;
    for (const char* check : {"keychain", "file manager"}) EXPECT_THAT(diagnosis(check), HasSubstr("✓ ")) << check;
    EXPECT_THAT(diagnosis("domain"), HasSubstr("! domain: “work”")) << "no item yet";
    installation_.addFile("a", "a.txt");
    EXPECT_THAT(diagnosis("domain"), HasSubstr("✓ "));

    ScriptedServer server;
    const std::string top = "/tobrel/api/item?id=root";
    server.script(top, {sends(answer(200, R"({"key":"","path":"","is_folder":true})"))});
    EXPECT_EQ(admin({"server", server.url("")}).status, 0);
    EXPECT_EQ(admin({"key", "set"}, "s3cret").status, 0);
    Ended well = admin({"doctor"});
    EXPECT_EQ(well.status, 0) << well.output;
    EXPECT_THAT(well.output, Not(HasSubstr("s3cret")));
    for (const std::string& line : admin({"doctor", "--json"}).lines())
        EXPECT_EQ(boost::json::parse(line).at("ok"), boost::json::value(true));
    EXPECT_EQ(server.requests().at(0).target(), top);
    EXPECT_EQ(server.requests().at(0).header("X-API-Key"), "s3cret");

    const std::tuple<ServerStep, const char*, const char*> answers[] = {
        {sends(answer(401, R"({"error":"No \u001b[2Jsuch \u202ekey"})")), "✓ ",
         "refused (HTTP 401, “No ␛[2Jsuch �key”)"},
        {sends(answer(500, R"({"error":"Broken"})")), "failure (HTTP 500, “Broken”)", "not tried"},
        {sends(answer(503, "<html>")), "failure (HTTP 503)", "not tried"},
        {sends(answer(404, "<html>")), "not as a Tobrel server", "not tried"},
        {sends(answer(200, "<html>")), "not as a Tobrel server", "not tried"},
        {closes(), "✗ ", "not tried"},
    };
    for (const auto& [step, serverLine, keyLine] : answers) {
        server.script(top, {step});
        EXPECT_THAT(diagnosis("server"), HasSubstr(serverLine));
        EXPECT_THAT(diagnosis("key"), HasSubstr(keyLine));
        EXPECT_EQ(admin({"doctor"}).status, 1);
    }

    chmod(config_.c_str(), 0660);
    EXPECT_THAT(diagnosis("settings"), HasSubstr("! settings: "));
    chmod(config_.c_str(), 0606);
    EXPECT_THAT(diagnosis("settings"), HasSubstr("is not used, because every user can write"));
    chmod(config_.c_str(), 0600);
    EXPECT_EQ(admin({"key", "delete"}).status, 0);
    EXPECT_THAT(diagnosis("key"), HasSubstr("there is none")) << "even while the server is down";
    EXPECT_EQ(admin({"key", "set"}, "s3cret").status, 0);
    chmod(private_.c_str(), 0750);
    EXPECT_THAT(diagnosis("private folder"), HasSubstr("chmod "));
    chmod((keychain_ + "/keychain").c_str(), 0644);
    EXPECT_THAT(diagnosis("keychain"), HasSubstr("chmod "));
    std::filesystem::remove_all(installation_.root());
    EXPECT_THAT(diagnosis("domain"), HasSubstr("✗ domain: “work”"));
}

}  // namespace tobrel::testing
