#include "platform/linux/data_folder.h"

#include "platform/user_database.h"

namespace tobrel {

std::string dataFolder(UserDatabase& users) {
    return users.homeDirectory().value_or(users.NSHomeDirectory()) + "/.local/share/tobrel";
}

}  // namespace tobrel
