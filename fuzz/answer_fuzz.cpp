#include <boost/json/object.hpp>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#include "api/answer.h"
#include "check.h"
#include "flows/expiry.h"
#include "flows/manage_rows.h"
#include "platform/http.h"

// Whatever a server answers: an object or a message comes of it, the list of grants is told from it, and a text that
// counts as an instant is that instant's only spelling.

namespace {

std::string spelled(std::int64_t instant) {
    using namespace std::chrono;
    sys_seconds time{seconds(instant)};
    auto day = floor<days>(time);
    year_month_day date(day);
    hh_mm_ss clock(time - day);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    for (int status : {200, 404}) {
        auto reading = tobrel::readAnswer({.data = text, .statusCode = status});
        check((reading.result.json != nullptr) != reading.result.error.has_value());
        if (reading.result.json) check(!tobrel::manageRows("Docs", *reading.result.json).empty());
    }
    if (auto instant = tobrel::parseExpiry(text)) check(spelled(*instant) == text);
    return 0;
}
