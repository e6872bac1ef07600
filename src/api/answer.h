#pragma once

#include <string>

#include "api/api.h"

namespace tobrel {

struct URLSessionAnswer;

// What became of a request.
enum class AnswerKind { success, unreachable, refused, unreadable };

struct Reading {
    AnswerKind kind;
    ApiResult result;
    // 0 where the answer has none.
    int status = 0;
};

// Only status 200 with a JSON object succeeds; a refusal's message is the server's own where it gives one.
Reading readAnswer(const URLSessionAnswer& answer);

}  // namespace tobrel
