#include "own_memory.h"
#include "platform/linux/data_folder.h"
#include "platform/linux/file_provider_sqlite.h"
#include "platform/linux/files_posix.h"
#include "platform/linux/log_stream.h"
#include "platform/linux/main_loop_poll.h"
#include "platform/linux/user_database_posix.h"
#include "platform/platform.h"
#include "state/pin_file.h"

using namespace tobrel;

// Appends one request to the queue under the given home folder.
int main(int, char* words[]) {
    PosixUserDatabase users{std::string(words[1])};
    PosixFiles files;
    StreamLog log(2);
    PollMainLoop loop;
    SqliteFileProvider fileProvider(std::make_unique<FileProviderRegistry>(dataFolder(users)));
    const platform::Platform platform{users, files, log, loop, fileProvider};
    platform::install(&platform, nullptr);
    PinFile::request({"4f1c2a90-new-item"}, true);
    bench::printMemoryIfAsked();
}
