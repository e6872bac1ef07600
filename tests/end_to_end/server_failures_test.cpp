#include <gmock/gmock.h>

#include "end_to_end/scenario.h"

namespace tobrel::testing {

namespace {

struct Failure {
    ServerScript script;
    std::string reason;
    // The end of the log line about it.
    std::string logged;
};

std::vector<Failure> failures(const std::string& host) {
    return {
        {{sends(answer(500, R"({"error":"Closed for repairs."})"))}, "Closed for repairs.", " -> HTTP 500"},
        {{sends(answer(500, R"({"error":7})"))}, "Tobrel answered HTTP 500", " -> HTTP 500"},
        {{sends(answer(204, ""))}, "Tobrel answered HTTP 204", " -> HTTP 204"},
        {{sends(answer(200, "[]"))}, "Tobrel sent an unreadable answer", " -> unreadable response"},
        {{sends(answer(200, R"({"url":)"))}, "Tobrel sent an unreadable answer", " -> unreadable response"},
        {{resets()},
         "Could not reach Tobrel: The connection to “" + host + "” was lost before the answer was complete; try again.",
         "try again."},
    };
}

}  // namespace

TEST(ServerFailure, IsShownAtEachStepAndNothingIsAskedAgain) {
    for (const auto& step : steps) {
        ScriptedTobrel tobrel;
        std::size_t before = 0;
        for (const auto& [script, reason, logged] : failures("127.0.0.1:" + std::to_string(tobrel.server.port()))) {
            SCOPED_TRACE(step.name + (": " + reason));
            tobrel.server.script(step.target, script);
            Program program = start(tobrel.installation, step.words);
            program.write(submit(formOf(program, step), step) + waitForText(reason));
            Ended ended = finish(program);
            EXPECT_EQ(message(ended), step.failure + reason);
            EXPECT_THAT(values(ended, "log", "message"), ::testing::Contains(::testing::EndsWith(logged)));
            EXPECT_TRUE(ended.events("clipboard").empty() && ended.events("open").empty());
            EXPECT_EQ(tobrel.asked().size() - before, step.requests);
            before = tobrel.asked().size();
        }
    }
}

TEST(ServerFailure, IsSaidWhereNothingIsSetUpOrNobodyListens) {
    SilentPort port;
    std::string host = "127.0.0.1:" + std::to_string(port.number());
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        ScriptedTobrel tobrel;
        for (const auto& [server, reason] : std::vector<std::pair<std::string, std::string>>{
                 {"", "Tobrel is not set up on this Mac"},
                 {"not an address", "Tobrel is not set up on this Mac"},
                 {"http://" + host, "Could not reach Tobrel: The server “" + host +
                                        "” refused the connection; check the server address, or try again later."},
             }) {
            // The setting is read afresh for each request: it goes wrong just before the last one.
            tobrel.installation.configure(step.button.empty() ? server : tobrel.server.url(), "secret");
            Program program = start(tobrel.installation, step.words);
            Object form = formOf(program, step);
            tobrel.installation.configure(server, "secret");
            program.write(submit(form, step) + waitForText(reason));
            EXPECT_EQ(message(finish(program)), step.failure + reason);
        }
    }
}

}  // namespace tobrel::testing
