#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace tobrel::testing {

// Sets or (with nothing) unsets a variable of the environment until destroyed.
class EnvironmentVariable {
public:
    EnvironmentVariable(std::string name, std::optional<std::string> value) : name_(std::move(name)) {
        if (const char* former = std::getenv(name_.c_str())) former_ = former;
        assign(value);
    }
    ~EnvironmentVariable() { assign(former_); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    void assign(const std::optional<std::string>& value) {
        if (value)
            setenv(name_.c_str(), value->c_str(), 1);
        else
            unsetenv(name_.c_str());
    }

    const std::string name_;
    std::optional<std::string> former_;
};

}  // namespace tobrel::testing
