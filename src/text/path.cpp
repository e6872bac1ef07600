#include "text/path.h"

namespace tobrel {

std::string_view lastPathComponent(std::string_view path) {
    std::size_t end = path.find_last_not_of('/');
    if (end == path.npos) return path.substr(0, path.empty() ? 0 : 1);
    path = path.substr(0, end + 1);
    return path.substr(path.rfind('/') + 1);
}

}  // namespace tobrel
