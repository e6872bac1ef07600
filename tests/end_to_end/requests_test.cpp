#include <gmock/gmock.h>

#include <boost/json.hpp>

#include "end_to_end/scenario.h"

namespace tobrel::testing {

TEST(Requests, AreOnTheWireAsTheServerTakesThem) {
    ScriptedTobrel tobrel;
    struct Case {
        const char *line, *body;
    };
    const std::vector<Case> expected = {
        {"GET /tobrel/api/item?id=file", ""},
        {"POST /tobrel/api/shares/find", R"({"keys":["ann/Docs/report.pdf"]})"},
        {"POST /tobrel/api/shares", R"({"name":"report.pdf","keys":["ann/Docs/report.pdf"],"expires_in_days":30})"},
        {"GET /tobrel/api/item?id=folder", ""},
        {"POST /tobrel/api/grants", R"({"folder_id":"folder","email":"bob@tobrel.test","role":"read"})"},
        {"GET /tobrel/api/item?id=folder", ""},
        {"GET /tobrel/api/grants?folder_id=folder", ""},
        {"DELETE /tobrel/api/grants/g1", ""},
        {"GET /tobrel/api/grants?folder_id=folder", ""},
        {"GET /tobrel/api/item?id=file", ""},
    };
    std::size_t asked = 0;
    for (const auto& [name, requests] : std::vector<std::pair<std::string, std::size_t>>{
             {"share: create", 3}, {"share-with: grant", 2}, {"manage: revoke", 4}, {"online: lookup", 1}}) {
        auto step = std::ranges::find(steps, name, &Step::name);
        Program program = start(tobrel.installation, step->words);
        program.write(submit(formOf(program, *step), *step));
        tobrel.server.waitForRequests(asked += requests);
        finish(program);
    }
    auto requests = tobrel.server.requests();
    ASSERT_EQ(requests.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto& [line, body] = expected[i];
        EXPECT_EQ(tobrel.asked()[i], line);
        EXPECT_EQ(requests[i].header("X-API-Key"), "secret");
        EXPECT_EQ(requests[i].header("X-Tobrel-Client"),
                  "macos/" TOBREL_VERSION " (" TOBREL_VERSION "); tobrel-action");
        EXPECT_EQ(requests[i].header("Content-Type"), *body ? "application/json" : "");
        EXPECT_EQ(requests[i].body(), *body ? boost::json::serialize(boost::json::parse(requests[i].body())) : "");
        if (*body) {
            EXPECT_EQ(boost::json::parse(requests[i].body()), boost::json::parse(body));
        }
    }
}

}  // namespace tobrel::testing
