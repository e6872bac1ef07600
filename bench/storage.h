#pragma once

#include <memory>
#include <string>

#include "contest.h"

namespace tobrel::bench {

// A home folder whose one domain holds so many files in the folder "Docs", and the development server that knows them.
class Storage {
public:
    explicit Storage(int files);

    // tobrel-action on this home: the words behind the program's name, without --home.
    Command action(Command words) const;
    // The items of the first files, a word each.
    std::vector<std::string> items(int count) const;
    // The folder that holds the files.
    std::string folderItem() const { return folderItem_; }

    // A user of the server to share with, counted from 0.
    static std::string user(int number) { return "user-" + std::to_string(number) + "@tobrel.example"; }
    static constexpr int users = 1000;

    const std::string& server() const { return server_; }
    std::string key() const { return "0123456789abcdef0123456789abcdef"; }
    std::filesystem::path path() const { return folder_.path; }

private:
    void serve();
    void readItems();

    Folder folder_;
    std::unique_ptr<Service> service_;
    std::string server_;
    std::vector<std::string> items_;
    std::string folderItem_;
};

}  // namespace tobrel::bench
