#pragma once

#include <boost/json/fwd.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tobrel {

struct URLRequest;

// The server's answer: either its JSON object or a message for the user, never both, never neither.
struct ApiResult {
    std::shared_ptr<const boost::json::object> json;
    std::optional<std::string> error;
};

// The Tobrel server's operations. Any thread; all return at once. Each completion runs exactly once: on the HTTP
// client's thread, or on the request queue's where no request can be built because no server is set up. Server and key
// are read after the call, once for all requests that wait for them together.
namespace API {

inline constexpr const char* notSetUp = "Tobrel is not set up on this Mac";

// An authenticated request for the path, which begins with "/", behind the configured server's address, read now: it
// takes what the keychain takes. Nothing where no server is configured or the joined address does not parse.
std::optional<URLRequest> request(std::string_view path, std::string_view method,
                                  const boost::json::object* body = nullptr);
void send(URLRequest request, std::function<void(ApiResult)> completion);

// What the server knows of an item; on failure only an error.
struct Item {
    std::optional<std::string> key;
    std::optional<std::string> path;
    bool isFolder = false;
    std::optional<std::string> error;
};
void lookup(std::string_view item, std::function<void(Item)> completion);

void grants(std::string_view folderID, std::function<void(ApiResult)> completion);
// The role is "read" or "write".
void createGrant(std::string_view folderID, std::string_view email, std::string_view role,
                 std::function<void(ApiResult)> completion);
void revokeGrant(std::string_view id, std::function<void(ApiResult)> completion);

struct ShareLink {
    std::string url;
    // In UTC, as the server wrote it; nothing where the link does not expire.
    std::optional<std::string> expiresAt;
};
// The live links for a folder, or, without a prefix, for the files of the keys; none on any failure.
void findShares(const std::vector<std::string>& keys, const std::optional<std::string>& folderPrefix,
                std::function<void(std::vector<ShareLink>)> completion);

// The new link, as far as the answer tells, or an error.
struct CreatedShare {
    std::optional<std::string> url;
    std::optional<std::string> expiresAt;
    std::optional<std::string> error;
};
// Without days (0 or fewer) the server applies its own expiry.
void createShare(std::string_view name, const std::vector<std::string>& keys,
                 const std::optional<std::string>& folderPrefix, int expiresInDays,
                 std::function<void(CreatedShare)> completion);

}  // namespace API
}  // namespace tobrel
