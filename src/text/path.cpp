#include "text/path.h"

#include <algorithm>

namespace tobrel {

std::string_view lastPathComponent(std::string_view path) {
    std::size_t end = path.find_last_not_of('/');
    if (end == path.npos) return path.substr(0, path.empty() ? 0 : 1);
    path = path.substr(0, end + 1);
    return path.substr(path.rfind('/') + 1);
}

std::string withoutDots(std::string_view absolutePath) {
    std::string path;
    while (!absolutePath.empty()) {
        std::string_view component = absolutePath.substr(0, absolutePath.find('/'));
        absolutePath.remove_prefix(std::min(component.size() + 1, absolutePath.size()));
        if (component.empty() || component == ".") continue;
        path += '/';
        path += component;
    }
    return path.empty() ? "/" : path;
}

}  // namespace tobrel
