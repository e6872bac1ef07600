#include "platform/linux_online/http/curl_trust.h"

#include <curl/curl.h>

#include <cstdlib>
#include <filesystem>

namespace tobrel {
namespace {

std::optional<std::string> environment(const char* name) {
    const char* value = std::getenv(name);
    if (!value || !*value) return std::nullopt;
    return value;
}

std::optional<std::string> given(const char* text) {
    if (!text) return std::nullopt;
    return text;
}

// A folder serves only with its certificates under the names by which they are looked up.
bool hasHashedNames(const std::string& folder) {
    std::error_code failed;
    for (std::filesystem::directory_iterator entry(folder, failed), end; !failed && entry != end;
         entry.increment(failed))
        if (entry->path().extension() == ".0") return true;
    return false;
}

}  // namespace

CurlTrust trustedCertificates() {
    const curl_version_info_data* library = curl_version_info(CURLVERSION_NOW);
    CurlTrust trust{given(library->cainfo), given(library->capath)};
    if (auto file = environment("CURL_CA_BUNDLE")) {
        trust.file = file;
    } else if (auto folder = environment("SSL_CERT_DIR")) {
        trust.folder = folder;
    } else if (auto file = environment("SSL_CERT_FILE")) {
        trust.file = file;
    } else if (trust.folder && hasHashedNames(*trust.folder)) {
        // The file holds the same certificates and takes 30 ms to read, for every connection.
        trust.file.reset();
    }
    return trust;
}

}  // namespace tobrel
