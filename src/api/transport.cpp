#include <utility>

#include "api/answer.h"
#include "api/api.h"
#include "dispatch/uilog.h"
#include "platform/http.h"
#include "platform/platform.h"

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
