#include "platform/linux/file_provider/local_path.h"

#include <cstdlib>
#include <memory>

namespace tobrel {

namespace {

// Takes the first component off the path, empty ones included.
std::string_view takeComponent(std::string_view& path) {
    std::string_view component = path.substr(0, path.find('/'));
    path.remove_prefix(component.size() == path.size() ? path.size() : component.size() + 1);
    return component;
}

}  // namespace

std::optional<std::string> normalPath(std::string_view path) {
    bool absolute = path.starts_with('/');
    std::string normal;
    normal.reserve(path.size());
    while (!path.empty()) {
        std::string_view component = takeComponent(path);
        if (component.empty() || component == ".") continue;
        if (component == "..") {
            if (normal.empty() && !absolute) return std::nullopt;
            std::size_t slash = normal.rfind('/');
            normal.resize(slash == normal.npos ? 0 : slash);
            continue;
        }
        if (absolute || !normal.empty()) normal += '/';
        normal += component;
    }
    return absolute && normal.empty() ? "/" : normal;
}

bool hasDotDot(std::string_view path) {
    while (!path.empty())
        if (takeComponent(path) == "..") return true;
    return false;
}

std::optional<std::string_view> pathBelow(std::string_view path, std::string_view folder) {
    if (folder == "/") return path.substr(1);
    if (!path.starts_with(folder)) return std::nullopt;
    path.remove_prefix(folder.size());
    if (path.empty()) return path;
    if (path.front() != '/') return std::nullopt;
    return path.substr(1);
}

std::string pathIn(std::string_view folder, std::string_view below) {
    std::string path(folder);
    if (below.empty()) return path;
    if (folder != "/") path += '/';
    return path += below;
}

std::optional<std::string> realPath(const std::string& path) {
    std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    if (!real) return std::nullopt;
    return real.get();
}

std::optional<std::string> FolderResolver::resolve(std::string_view path) {
    path = path.substr(0, path.find_last_not_of('/') + 1);
    std::size_t slash = path.rfind('/');
    if (slash == path.npos) return "/";
    std::string_view name = path.substr(slash + 1);
    if (name == "." || name == "..") return realPath(std::string(path));
    std::string_view folder = path.substr(0, slash + 1);
    if (folder != folder_) {
        folder_ = folder;
        real_ = realPath(folder_);
    }
    if (!real_) return std::nullopt;
    return pathIn(*real_, name);
}

}  // namespace tobrel
