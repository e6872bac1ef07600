#include "support/server.h"

#include <gtest/gtest.h>

#include <sstream>

namespace tobrel::testing {

namespace {

std::string keyOf(const std::string& user) {
    return "key of " + user;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace

DevelopmentServer::DevelopmentServer() {
    for (const char* folder : {"ann@tobrel.test/Docs", "ann@tobrel.test/Projects/2024", "bob@tobrel.test"})
        std::filesystem::create_directories(folder_.path() / "storage" / folder);
    for (const char* file : {"report.pdf", "Docs/notes.txt", "Projects/2024/q1.pdf"})
        writeFile(folder_.path() / "storage" / ann / file, "content");
    program_ = std::make_unique<Program>(words({"--now", "2030-01-15 12:00:00", "--log", folder_.file("log")}));
    std::string line = program_->waitForLine("listening on ");
    url_ = line.substr(line.rfind(' ') + 1);
}

std::vector<std::string> DevelopmentServer::words(std::vector<std::string> more) const {
    std::vector<std::string> words{"tobrel-devserver",
                                   "--storage",
                                   folder_.file("storage"),
                                   "--database",
                                   folder_.file("database"),
                                   "--user",
                                   std::string(ann) + "=" + keyOf(ann),
                                   "--user",
                                   std::string(bob) + "=" + keyOf(bob)};
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

std::string DevelopmentServer::items(const std::string& user) const {
    return run(words({"--list-items", user})).output;
}

std::vector<std::string> DevelopmentServer::log() const {
    return linesOf(readFile(folder_.path() / "log"));
}

SignedIn::SignedIn(const DevelopmentServer& server, const std::string& user) {
    configure(server.url(), keyOf(user));
    std::string items = server.items(user);
    // Something has to stand there; what it is on this side does not matter.
    for (const auto& line : linesOf(items)) std::filesystem::create_directories(at(line.substr(line.find('\t') + 1)));
    EXPECT_EQ(admin({"item", "import", "work"}, items).errors, "");
}

}  // namespace tobrel::testing
