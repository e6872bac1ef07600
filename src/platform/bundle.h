#pragma once

#include <map>
#include <string>
#include <variant>

namespace tobrel {

// The program's own information dictionary; empty where there is none.
using InfoDictionary = std::map<std::string, std::variant<std::string, double, bool>>;

}  // namespace tobrel
