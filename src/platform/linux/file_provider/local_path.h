#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tobrel {

// The path without empty and "." components and without slashes at its end; ".." takes away the component before it,
// whatever that is on the disk. "/" stays; of a relative path "" is its own beginning, and nothing comes back where
// ".." leads beyond that.
std::optional<std::string> normalPath(std::string_view path);

bool hasDotDot(std::string_view path);

// What stands below the folder, "" for the folder itself; nothing for a path elsewhere. Both absolute and normal.
std::optional<std::string_view> pathBelow(std::string_view path, std::string_view folder);

// The place below a folder, the other way round.
std::string pathIn(std::string_view folder, std::string_view below);

// Where an existing file really is, every symbolic link followed.
std::optional<std::string> realPath(const std::string& path);

// Where a path really leads when the links of all its components but the last are followed; nothing where its folder
// does not exist. Keeps the last folder's answer, because selections lie close together.
class FolderResolver {
public:
    std::optional<std::string> resolve(std::string_view path);

private:
    std::string folder_;
    std::optional<std::string> real_;
};

}  // namespace tobrel
