#include "storage.h"

#include <fstream>

namespace tobrel::bench {

namespace fs = std::filesystem;

namespace {

constexpr const char* owner = "ann@tobrel.example";

}  // namespace

Storage::Storage(int files) {
    for (const char* place : {"storage/ann@tobrel.example/Docs", "home/Tobrel/Docs"}) {
        fs::create_directories(folder_.path / place);
        for (int number = 0; number < files; ++number)
            std::ofstream(folder_.path / place / ("file-" + std::to_string(number) + ".txt")) << number;
    }
    serve();
    readItems();
    std::string admin = ownFolder() / "tobrel-admin", home = folder_.path / "home";
    std::ofstream(folder_.path / "key") << key();
    milliseconds({admin, "--home", home, "server", server_});
    milliseconds({admin, "--home", home, "key", "set"}, folder_.path / "key");
    milliseconds({admin, "--home", home, "domain", "add", "work", home + "/Tobrel"});
    milliseconds({admin, "--home", home, "item", "import", "work"}, folder_.path / "items");
}

void Storage::serve() {
    Command line{ownFolder() / "tobrel-devserver",
                 "--storage",
                 folder_.path / "storage",
                 "--user",
                 owner + ("=" + key()),
                 "--web-user",
                 owner};
    Command list = line;
    list.insert(list.end(), {"--list-items", owner});
    std::string quoted = "exec";
    for (auto& word : list) quoted += " '" + word + "'";
    milliseconds({"sh", "-c", quoted + " >'" + (folder_.path / "items").native() + "'"});
    line.insert(line.end(), {"--log", "/dev/null"});
    for (int number = 0; number < users; ++number) {
        fs::create_directory(folder_.path / "storage" / user(number));
        line.insert(line.end(), {"--user", user(number) + "=key-" + std::to_string(number)});
    }
    service_ = std::make_unique<Service>(line);
    std::string said = service_->firstLine();
    if (said.find("http://") == said.npos) fail("the development server does not start");
    server_ = said.substr(said.find("http://"));
}

void Storage::readItems() {
    std::ifstream listing(folder_.path / "items");
    for (std::string item, path; std::getline(listing, item, '\t') && std::getline(listing, path);)
        if (path == "Docs")
            folderItem_ = item;
        else if (path.starts_with("Docs/"))
            items_.push_back(item);
}

Command Storage::action(Command words) const {
    words.insert(words.begin(), {ownFolder() / "tobrel-action", "--home", folder_.path / "home", "--domain", "work"});
    return words;
}

std::vector<std::string> Storage::items(int count) const {
    return {items_.begin(), items_.begin() + count};
}

}  // namespace tobrel::bench
