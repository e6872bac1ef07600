#pragma once

#include <string>

namespace tobrel {

struct NSError {
    std::string domain;
    int code = 0;
    // A sentence for people; empty: the error says no more than its domain and code.
    std::string text;

    std::string localizedDescription() const {
        if (!text.empty()) return text;
        return "The operation couldn’t be completed. (" + domain + " error " + std::to_string(code) + ".)";
    }
};

}  // namespace tobrel
