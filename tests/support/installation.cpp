#include "support/installation.h"

#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

namespace tobrel::testing {

Installation::Installation() {
    std::filesystem::create_directories(root());
    EXPECT_EQ(admin({"domain", "add", "work", root()}).errors, "");
}

std::string Installation::addFile(const std::string& item, const std::string& path) {
    std::string absolute = root() + "/" + path;
    std::filesystem::create_directories(std::filesystem::path(absolute).parent_path());
    writeFile(absolute, "content");
    EXPECT_EQ(admin({"item", "add", "--", "work", item, absolute}).errors, "");
    return absolute;
}

std::string Installation::addFolder(const std::string& item, const std::string& path) {
    std::string absolute = root() + "/" + path;
    std::filesystem::create_directories(absolute);
    EXPECT_EQ(admin({"item", "add", "--", "work", item, absolute}).errors, "");
    return absolute;
}

void Installation::configure(const std::string& server, const std::string& key) const {
    std::filesystem::create_directories(home() + "/.tobrel");
    writeFile(privateFile("config.json"),
              boost::json::serialize(boost::json::object{{"server", server}, {"api_key", key}}));
}

std::vector<std::string> Installation::action(std::vector<std::string> words) const {
    std::vector<std::string> line{"tobrel-action", "--home", home()};
    line.insert(line.end(), words.begin(), words.end());
    return line;
}

Ended Installation::admin(const std::vector<std::string>& words, const std::string& input) const {
    std::vector<std::string> line{"tobrel-admin", "--home", home()};
    line.insert(line.end(), words.begin(), words.end());
    return run(line, input);
}

long Installation::signals() const {
    return boost::json::parse(admin({"domain", "list", "--json"}).lines().at(0)).at("signals").to_number<long>();
}

std::vector<boost::json::object> Installation::pins() const {
    std::vector<boost::json::object> pins;
    for (const auto& line : admin({"pins", "--json"}).lines()) pins.push_back(boost::json::parse(line).as_object());
    return pins;
}

}  // namespace tobrel::testing
