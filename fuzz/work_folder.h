#pragma once

#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "check.h"

// A folder for as long as the target runs, without symbolic links in its path; quickest where TMPDIR is in memory.
struct WorkFolder {
    WorkFolder() {
        std::string name = std::filesystem::temp_directory_path() / "tobrel-fuzz.XXXXXX";
        check(mkdtemp(name.data()) != nullptr);
        path = std::filesystem::canonical(name);
    }
    ~WorkFolder() { std::filesystem::remove_all(path); }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    std::string subfolder(const std::string& name) const {
        mkdir((path + "/" + name).c_str(), 0700);
        return path + "/" + name;
    }

    std::string path;
};

inline void put(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
    check(chmod(path.c_str(), 0600) == 0);
}

inline std::string read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
