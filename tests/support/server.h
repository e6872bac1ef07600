#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/installation.h"
#include "support/program.h"
#include "support/temporary_folder.h"

namespace tobrel::testing {

constexpr const char* ann = "ann@tobrel.test";
constexpr const char* bob = "bob@tobrel.test";

// The built development server on a free loopback port. Its clock starts at noon of 15 January 2030 in UTC. Ann has
// report.pdf, Docs/notes.txt and Projects/2024/q1.pdf; bob has nothing.
class DevelopmentServer {
public:
    DevelopmentServer();

    const std::string& url() const { return url_; }
    // An "IDENTIFIER<TAB>PATH" line for each item that the user sees.
    std::string items(const std::string& user) const;
    // A line a request: method, target, status, user, body.
    std::vector<std::string> log() const;

private:
    std::vector<std::string> words(std::vector<std::string> more) const;

    TemporaryFolder folder_;
    std::unique_ptr<Program> program_;
    std::string url_;
};

// The installation of a user of that server, with everything that the user sees by now.
class SignedIn : public Installation {
public:
    SignedIn(const DevelopmentServer& server, const std::string& user);

    std::string at(const std::string& path) const { return root() + "/" + path; }
};

}  // namespace tobrel::testing
