#include "api/answer.h"

#include <utility>

#include "dispatch/uilog.h"
#include "platform/http.h"
#include "platform/platform.h"
#include "text/json.h"

namespace tobrel {

namespace {

// What is read of an answer to any of the operations.
constexpr std::string_view members[] = {"error",  "key",         "path",   "is_folder", "role",
                                        "given",  "id",          "email",  "received",  "owner_email",
                                        "is_top", "folder_name", "shares", "url",       "expires_at"};

ApiResult failure(std::string message) {
    return {nullptr, std::move(message)};
}

}  // namespace

Reading readAnswer(const URLSessionAnswer& answer) {
    if (answer.error)
        return {AnswerKind::unreachable, failure("Could not reach Tobrel: " + answer.error->localizedDescription())};

    int status = answer.statusCode.value_or(0);
    auto json = answer.data ? json::parseMembers(*answer.data, members) : nullptr;
    if (status != 200) {
        auto message = json ? json::string(*json, "error") : std::nullopt;
        return {AnswerKind::refused, failure(message.value_or("Tobrel answered HTTP " + std::to_string(status))),
                status};
    }
    if (!json) return {AnswerKind::unreadable, failure("Tobrel sent an unreadable answer"), status};
    return {AnswerKind::success, {std::move(json), std::nullopt}, status};
}

}  // namespace tobrel

namespace tobrel::API {

namespace {

void log(const Reading& reading, const URLSessionAnswer& answer, const std::string& label) {
    switch (reading.kind) {
        case AnswerKind::success:
            return;
        case AnswerKind::unreachable:
            return osLog(uilog(), OSLogType::error, "%{public}@ failed: %{public}@", label,
                         answer.error->localizedDescription());
        case AnswerKind::refused:
            return osLog(uilog(), OSLogType::error, "%{public}@ -> HTTP %d", label, reading.status);
        case AnswerKind::unreadable:
            return osLog(uilog(), OSLogType::error, "%{public}@ -> unreadable response", label);
    }
}

}  // namespace

void send(URLRequest request, std::function<void(ApiResult)> completion) {
    std::string label = request.url.empty() ? "?" : request.url;
    platform::online().urlSession.dataTask(
        std::move(request),
        [label = std::move(label), completion = std::move(completion)](const URLSessionAnswer& answer) {
            Reading reading = readAnswer(answer);
            log(reading, answer, label);
            completion(std::move(reading.result));
        });
}

}  // namespace tobrel::API
