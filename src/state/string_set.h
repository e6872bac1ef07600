#pragma once

#include <set>
#include <string>

namespace tobrel {

class Files;

using StringSet = std::set<std::string>;

// The strings of a JSON array; empty where the file is none, cannot be read or holds anything else.
StringSet readStringSet(Files& files, const std::string& path);

// As a compact JSON array.
std::string serialized(const StringSet& strings);

}  // namespace tobrel
