// Runs one target over the files of a folder, with any compiler: what fuzzing has once found stays found.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int, char** arguments) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
        std::printf("%s\n", entry.path().c_str());
        std::fflush(stdout);
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        ++count;
    }
    return count > 0 ? 0 : 1;
}
