#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/file_provider/local_path.h"
#include "platform/linux/file_provider/registry.h"
#include "platform/linux/outcome.h"

namespace tobrel {

struct MappedItem {
    std::string domain;
    std::string item;
};

// Which registered item a word of the command line names. The registry is opened with the first word and seen as it was
// then; no change goes through it while this lives.
class ItemMapping {
public:
    // The working directory is absolute, or empty where there is none any more.
    ItemMapping(FileProviderRegistry& registry, std::string workingDirectory)
        : registry_(registry), workingDirectory_(std::move(workingDirectory)) {}

    // The word is a path, absolute or relative to the working directory, or a file:// URI. A symbolic link names the
    // item that it is, not what it points to; whether a file is there does not matter.
    Outcome<MappedItem> map(std::string_view word);

private:
    // No domain where the path lies in none, no item where the domain does not know it.
    struct Place {
        const RegisteredDomain* domain = nullptr;
        std::optional<std::string> item;
    };
    Outcome<Place> find(const std::string& path);
    Outcome<Place> placeOf(const std::string& normalPath) const;

    FileProviderRegistry& registry_;
    const std::string workingDirectory_;
    std::unique_ptr<FileProviderRegistry::Snapshot> snapshot_;
    FolderResolver resolver_;
};

// The path that a file:// URI stands for: its host is empty or localhost, its percent escapes are whole.
std::optional<std::string> pathOfFileUri(std::string_view uri);
bool isFileUri(std::string_view word);

}  // namespace tobrel
