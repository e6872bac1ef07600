#pragma once

#include <set>
#include <string>

namespace tobrel {

class FileReader;

using StringSet = std::set<std::string>;

// The strings of a JSON array; empty where the file is null, cannot be read or holds anything else.
StringSet readStringSet(FileReader* file);

// As a compact JSON array.
std::string serialized(const StringSet& strings);

}  // namespace tobrel
