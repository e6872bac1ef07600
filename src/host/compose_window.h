#pragma once

#include <optional>
#include <string>
#include <vector>

// Two processes for one request with a window: the caller's, which ends with the request, and the window's, which may
// be needed longer.
namespace tobrel::host {

// The caller's side. Starts the program in a session of its own, hands the signals on that ask this process to end, and
// returns the request's exit status as soon as it is known. Nothing where the program cannot be started.
std::optional<int> runWindowProgram(const std::string& path, char* words[]);

// The window's side.
class WindowProcess {
public:
    // Takes what the caller left in the environment, before another program inherits it.
    WindowProcess();
    // Gives back all that the process has of its caller and tells the exit status. What follows is nobody's wait.
    void leaveCaller(int exitStatus);

private:
    int report_ = -1;
    std::vector<int> inherited_;
};

}  // namespace tobrel::host
