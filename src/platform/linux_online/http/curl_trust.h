#pragma once

#include <optional>
#include <string>

namespace tobrel {

// Where the trusted certificates come from: a file, a folder or both.
struct CurlTrust {
    std::optional<std::string> file;
    std::optional<std::string> folder;
};

// As the environment names them, by the curl command's rules; else this computer's own.
CurlTrust trustedCertificates();

}  // namespace tobrel
