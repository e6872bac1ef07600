#include "end_to_end/scenario.h"

#include <gtest/gtest.h>

#include <boost/json.hpp>

namespace tobrel::testing {

namespace json = boost::json;

namespace {

json::string_view viewOf(std::string_view text) {
    return {text.data(), text.size()};
}

// The first text field that the view holds.
const Object* fieldIn(const Object& view) {
    if (view.at("kind").as_string() == "field") return &view;
    if (auto* subviews = view.if_contains("subviews"))
        for (const auto& subview : subviews->as_array())
            if (auto* found = fieldIn(subview.as_object())) return found;
    return nullptr;
}

}  // namespace

std::string click(std::string_view title) {
    return json::serialize(Object{{"do", "click"}, {"title", viewOf(title)}}) + "\n";
}

Program start(const Installation& installation, Words words) {
    words.insert(words.begin() + 1, {"--front-end", "json", "--domain", "work"});
    return Program(installation.action(words));
}

Object sheetWith(Program& program, std::string_view piece) {
    std::string line = program.waitForLine(json::serialize(json::value(viewOf(piece))));
    return line.empty() ? Object{} : json::parse(line).as_object();
}

Ended finish(Program& program) {
    Ended ended = program.wait();
    EXPECT_EQ(ended.status, 0) << ended.errors;
    EXPECT_EQ(ended.events("completed").size(), 1u);
    EXPECT_TRUE(ended.events("refused").empty()) << ended.output;
    Words names;
    for (const auto& line : ended.lines()) names.emplace_back(json::parse(line).at("event").as_string());
    std::erase(names, "log");
    EXPECT_EQ(names.back(), "completed");
    return ended;
}

ScriptedTobrel::ScriptedTobrel() {
    installation.configure(server.url(), "secret");
    installation.addFile("file", "report.pdf");
    installation.addFolder("folder", "Projects");
    answers("/tobrel/api/item?id=file", R"({"key":"ann/Docs/report.pdf","path":"Docs/report.pdf"})");
    answers("/tobrel/api/item?id=folder", R"({"path":"Work/Projects/","is_folder":true})");
    answers("/tobrel/api/shares/find", R"({"shares":[]})");
    answers("/tobrel/api/shares", R"({"url":"https://tobrel.test/s/1"})");
    answers("/tobrel/api/grants", "{}");
    answers("/tobrel/api/grants?", R"({"role":"owner","given":[{"id":"g1","email":"bob@tobrel.test"}]})");
}

void ScriptedTobrel::answers(const std::string& target, const std::string& body, int status) {
    server.script(target, {sends(answer(status, body))});
}

Words ScriptedTobrel::asked() const {
    Words asked;
    for (const auto& request : server.requests()) asked.push_back(request.method() + " " + request.target());
    return asked;
}

const std::vector<Step> steps = {
    {"share: lookup", {"share", "id:file"}, "/tobrel/api/item?id=file", 1, ""},
    {"share: create", {"share", "id:file"}, "/tobrel/api/shares", 3, "Create Link"},
    {"share-with: lookup", {"share-with", "id:folder"}, "/tobrel/api/item?id=folder", 1, ""},
    {"share-with: grant", {"share-with", "id:folder"}, "/tobrel/api/grants", 2, "Share"},
    {"manage: lookup", {"manage", "id:folder"}, "/tobrel/api/item?id=folder", 1, ""},
    {"manage: list", {"manage", "id:folder"}, "/tobrel/api/grants?", 2, ""},
    {"manage: revoke", {"manage", "id:folder"}, "/tobrel/api/grants/", 3, "Stop sharing"},
    {"online: lookup", {"online", "id:file"}, "/tobrel/api/item?id=file", 1, ""},
};

void pressButton(Program& program, const Step& step) {
    if (step.button.empty()) return;
    Object sheet = sheetWith(program, step.button);
    auto* field = sheet.empty() ? nullptr : fieldIn(sheet.at("view").as_object());
    if (field && field->at("text").as_string().empty())
        program.write(json::serialize(Object{{"do", "type"}, {"id", field->at("id")}, {"text", "bob@tobrel.test"}}) +
                      "\n");
    program.write(click(step.button));
}

}  // namespace tobrel::testing
