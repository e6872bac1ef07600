#pragma once

#include <string>
#include <vector>

#include "support/program.h"
#include "support/temporary_folder.h"

namespace tobrel::testing {

// A home folder of its own with one registered domain, "work", whose root is an empty folder: what the built programs
// need to be driven for real.
class Installation {
public:
    Installation();

    std::string home() const { return folder_.file("home"); }
    std::string root() const { return folder_.file("home/Tobrel"); }
    std::string privateFile(const std::string& name) const { return home() + "/.tobrel/" + name; }

    // Makes the file below the root and registers it; returns its absolute path.
    std::string addFile(const std::string& item, const std::string& path);
    std::string addFolder(const std::string& item, const std::string& path);

    // Replaces config.json.
    void configure(const std::string& server, const std::string& key) const;

    // The command line of tobrel-action or tobrel-admin on this home: the first words, --home, the rest.
    std::vector<std::string> action(std::vector<std::string> words) const;
    Ended admin(const std::vector<std::string>& words, const std::string& input = {}) const;
    // As `domain list` tells.
    long signals() const;
    std::vector<boost::json::object> pins() const;

private:
    TemporaryFolder folder_;
};

}  // namespace tobrel::testing
