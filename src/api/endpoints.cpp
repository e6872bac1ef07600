#include <any>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <utility>

#include "api/api.h"
#include "api/request.h"
#include "platform/batch_queue.h"
#include "platform/platform.h"
#include "text/json.h"

namespace tobrel::API {

namespace {

// The settings may be long in coming: a keyring's owner may have to unlock it first.
void perform(std::string path, const char* method, std::optional<boost::json::object> body,
             std::function<void(ApiResult)> completion) {
    platform::online().requestQueue.async([path = std::move(path), method, body = std::move(body),
                                           completion = std::move(completion)](std::any& shared) mutable {
        if (!shared.has_value()) shared.emplace<RequestSettings>();
        auto& settings = std::any_cast<RequestSettings&>(shared);
        if (auto built = buildRequest(settings, path, method, body ? &*body : nullptr))
            return send(std::move(*built), std::move(completion));
        completion({nullptr, notSetUp});
    });
}

// Names what a share link covers: the folder, or else the files.
void addCoverage(boost::json::object& body, const std::vector<std::string>& keys,
                 const std::optional<std::string>& folderPrefix) {
    if (folderPrefix && !folderPrefix->empty())
        body["folder_prefix"] = *folderPrefix;
    else
        body["keys"] = boost::json::array(keys.begin(), keys.end());
}

}  // namespace

void lookup(std::string_view item, std::function<void(Item)> completion) {
    perform("/tobrel/api/item?id=" + std::string(item), "GET", std::nullopt,
            [completion = std::move(completion)](ApiResult result) {
                if (!result.json) return completion({.error = std::move(result.error)});
                completion({.key = json::string(*result.json, "key"),
                            .path = json::string(*result.json, "path"),
                            .isFolder = json::truth(*result.json, "is_folder")});
            });
}

void grants(std::string_view folderID, std::function<void(ApiResult)> completion) {
    perform("/tobrel/api/grants?folder_id=" + std::string(folderID), "GET", std::nullopt, std::move(completion));
}

void createGrant(std::string_view folderID, std::string_view email, std::string_view role,
                 std::function<void(ApiResult)> completion) {
    boost::json::object body{{"folder_id", folderID}, {"email", email}, {"role", role}};
    perform("/tobrel/api/grants", "POST", std::move(body), std::move(completion));
}

void revokeGrant(std::string_view id, std::function<void(ApiResult)> completion) {
    perform("/tobrel/api/grants/" + std::string(id), "DELETE", std::nullopt, std::move(completion));
}

void findShares(const std::vector<std::string>& keys, const std::optional<std::string>& folderPrefix,
                std::function<void(std::vector<ShareLink>)> completion) {
    boost::json::object body;
    addCoverage(body, keys, folderPrefix);
    perform("/tobrel/api/shares/find", "POST", std::move(body),
            [completion = std::move(completion)](const ApiResult& result) {
                std::vector<ShareLink> links;
                if (result.json)
                    for (auto* share : json::objects(*result.json, "shares"))
                        if (auto url = json::string(*share, "url"))
                            links.push_back({std::move(*url), json::string(*share, "expires_at")});
                completion(std::move(links));
            });
}

void createShare(std::string_view name, const std::vector<std::string>& keys,
                 const std::optional<std::string>& folderPrefix, int expiresInDays,
                 std::function<void(CreatedShare)> completion) {
    boost::json::object body{{"name", name}};
    addCoverage(body, keys, folderPrefix);
    if (expiresInDays > 0) body["expires_in_days"] = expiresInDays;
    perform("/tobrel/api/shares", "POST", std::move(body), [completion = std::move(completion)](ApiResult result) {
        if (!result.json) return completion({.error = std::move(result.error)});
        completion({.url = json::string(*result.json, "url"), .expiresAt = json::string(*result.json, "expires_at")});
    });
}

}  // namespace tobrel::API
