#include <cstdlib>
#include <fstream>

#include "dispatch/action_view_controller.h"
#include "platform/linux/file_provider/file_provider.h"
#include "platform/linux/files_posix.h"
#include "platform/linux/main_loop_poll.h"
#include "platform/linux/user_database_posix.h"
#include "platform/platform.h"

using namespace tobrel;

namespace {

class Context : public FPUIActionExtensionContext {
public:
    std::optional<std::string> domainIdentifier() const override { return "work"; }
    void completeRequest() override {}
    void cancelRequestWithError(const NSError&) override {}
};

}  // namespace

// HOME COUNT ITEMS: resolves the items of the file, "id:ITEM" a line, in the domain "work".
int main(int, char* words[]) {
    std::string home = words[1];
    std::vector<NSFileProviderItemIdentifier> items;
    std::ifstream list(words[3]);
    for (std::string line; std::getline(list, line);) items.push_back(line.substr(3));

    PosixUserDatabase users{home};
    PosixFiles files;
    PollMainLoop loop;
    SqliteFileProvider provider(std::make_unique<FileProviderRegistry>(home + "/.local/share/tobrel"));
    platform::Installation installation({users, files}, platform::Request{loop, provider});
    auto controller = TobrelActionViewController::initWithNibName(std::nullopt, nullptr);
    controller->setExtensionContext(std::make_shared<Context>());
    std::size_t resolved = 0;
    controller->resolve(items, [&](const auto& identifiers, const auto&) {
        resolved = identifiers.size();
        loop.stop();
    });
    loop.run();
    return resolved == items.size() ? 0 : 1;
}
