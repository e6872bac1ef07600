#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

// Runs a command without output and prints its peak of resident memory in KiB. A process of its own and a small one,
// because the kernel counts a parent's memory as its child's until that has begun.
int main(int, char* words[]) {
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDIN_FILENO, "/dev/null", 0, 0);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", 1, 0);
    pid_t child = 0;
    int status = -1;
    rusage usage{};
    if (posix_spawnp(&child, words[1], &quiet, nullptr, words + 1, environ) == 0) wait4(child, &status, 0, &usage);
    if (status != 0) return 1;
    std::printf("%ld\n", usage.ru_maxrss);
}
