#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <memory>

namespace {

// Each test begins alike, whoever started this program and whichever test ran before, and none waits for ever.
class FreshStart : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        constexpr unsigned longestTest = 120;
        alarm(longestTest);
        umask(022);
        for (int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP, SIGCHLD}) std::signal(signal, SIG_DFL);
    }
};

}  // namespace

int main(int count, char* words[]) {
    testing::InitGoogleTest(&count, words);
    testing::UnitTest::GetInstance()->listeners().Append(std::make_unique<FreshStart>().release());
    return RUN_ALL_TESTS();
}
