#pragma once

#include <string>

// Where the extension's own files lie. Looked up afresh at each call; any thread.
namespace tobrel::Paths {

std::string home();
// The named file of the private folder ".tobrel". Creates nothing and checks nothing.
std::string in(const std::string& name);
// The private folder itself.
std::string privateFolder();
// The same for a home folder that has been looked up already.
std::string inHome(const std::string& home, const std::string& name);

}  // namespace tobrel::Paths
