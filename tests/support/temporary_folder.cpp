#include "support/temporary_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tobrel::testing {

TemporaryFolder::TemporaryFolder() {
    // Digits alone, so that no test finds its own secret in a path.
    static std::atomic<int> made = 0;
    const std::string start =
        std::filesystem::temp_directory_path() / ("tobrel-test." + std::to_string(getpid()) + ".");
    do path_ = start + std::to_string(++made);
    while (mkdir(path_.c_str(), 0700) != 0 && errno == EEXIST);
    if (!std::filesystem::is_directory(path_)) throw std::runtime_error("no temporary folder: " + path_.string());
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const std::filesystem::path& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace tobrel::testing
