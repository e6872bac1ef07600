#include "platform/file_descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <thread>

namespace tobrel {
namespace {

TEST(WriteWhole, WaitsForASlowReaderOfWhatDoesNotBlockAndNotForOneThatHasLeft) {
    signal(SIGPIPE, SIG_IGN);
    auto pipe = openPipe();
    ASSERT_TRUE(pipe);
    EXPECT_EQ(fcntl(pipe->writing.number(), F_GETFD), FD_CLOEXEC);
    fcntl(pipe->writing.number(), F_SETFL, O_NONBLOCK);
    std::string sent(300'000, '.'), received;
    sent.back() = '!';

    EXPECT_FALSE(writeWhole(pipe->writing.number(), sent, std::chrono::milliseconds(1)));

    std::thread reader([&] {
        char bytes[4096];
        while (!received.ends_with('!'))
            received.append(bytes, static_cast<std::size_t>(read(pipe->reading.number(), bytes, sizeof bytes)));
    });
    EXPECT_TRUE(writeWhole(pipe->writing.number(), sent));
    reader.join();
    EXPECT_TRUE(received.ends_with(sent));

    pipe->reading = FileDescriptor();
    EXPECT_FALSE(writeWhole(pipe->writing.number(), sent));
}

}  // namespace
}  // namespace tobrel
