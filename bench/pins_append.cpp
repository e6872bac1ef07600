#include "platform/linux/files_posix.h"
#include "platform/linux/user_database_posix.h"
#include "platform/platform.h"
#include "state/pin_file.h"

using namespace tobrel;

// Appends one request to the queue under the given home folder.
int main(int, char* words[]) {
    PosixUserDatabase users{std::string(words[1])};
    PosixFiles files;
    platform::Installation installation({users, files});
    PinFile::request({"4f1c2a90-new-item"}, true);
}
