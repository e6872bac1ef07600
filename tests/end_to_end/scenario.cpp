#include "end_to_end/scenario.h"

#include <gtest/gtest.h>

#include <boost/json.hpp>

namespace tobrel::testing {

namespace json = boost::json;

namespace {

std::string line(const json::object& instruction) {
    return json::serialize(instruction) + "\n";
}

json::string_view viewOf(std::string_view text) {
    return {text.data(), text.size()};
}

std::string quoted(std::string_view text) {
    return json::serialize(json::value(viewOf(text)));
}

void collect(const json::object& view, std::string_view kind, std::vector<Object>& found) {
    if (view.at("kind").as_string() == viewOf(kind)) found.push_back(view);
    if (auto* subviews = view.if_contains("subviews"))
        for (const auto& subview : subviews->as_array()) collect(subview.as_object(), kind, found);
}

Words members(const std::vector<Object>& objects, const std::string& member) {
    Words values;
    for (const auto& object : objects) values.emplace_back(object.at(member).as_string());
    return values;
}

}  // namespace

std::string click(std::string_view title) {
    return line({{"do", "click"}, {"title", viewOf(title)}});
}

std::string type(const Object& view, std::string_view text) {
    return line({{"do", "type"}, {"id", view.at("id")}, {"text", viewOf(text)}});
}

std::string key(std::string_view key) {
    return line({{"do", "key"}, {"key", viewOf(key)}});
}

std::string waitForText(std::string_view text) {
    return line({{"do", "wait"}, {"text", viewOf(text)}});
}

std::vector<Object> views(const Object& sheet, std::string_view kind) {
    std::vector<Object> found;
    if (!sheet.empty()) collect(sheet.at("view").as_object(), kind, found);
    return found;
}

Program start(const Installation& installation, Words words) {
    words.insert(words.begin() + 1, {"--front-end", "json", "--domain", "work"});
    return Program(installation.action(words));
}

Object sheetWith(Program& program, std::string_view piece) {
    std::string line = program.waitForLine(quoted(piece));
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

std::string message(const Ended& ended) {
    auto sheets = ended.events("sheet");
    return sheets.empty() ? "" : std::string(views(sheets.back(), "label").at(0).at("text").as_string());
}

Words values(const Ended& ended, const std::string& event, const std::string& member) {
    return members(ended.events(event), member);
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
    {"share: lookup", {"share", "id:file"}, "/tobrel/api/item?id=file", 1, "", ""},
    {"share: create",
     {"share", "id:file"},
     "/tobrel/api/shares",
     3,
     "Could not create the share link: ",
     "Create Link"},
    {"share-with: lookup", {"share-with", "id:folder"}, "/tobrel/api/item?id=folder", 1, "", ""},
    {"share-with: grant", {"share-with", "id:folder"}, "/tobrel/api/grants", 2, "Could not share: ", "Share"},
    {"manage: lookup", {"manage", "id:folder"}, "/tobrel/api/item?id=folder", 1, "", ""},
    {"manage: list", {"manage", "id:folder"}, "/tobrel/api/grants?", 2, "", ""},
    {"manage: revoke", {"manage", "id:folder"}, "/tobrel/api/grants/", 3, "Could not stop sharing: ", "Stop sharing"},
    {"online: lookup", {"online", "id:file"}, "/tobrel/api/item?id=file", 1, "", ""},
};

Object formOf(Program& program, const Step& step) {
    return step.button.empty() ? Object{} : sheetWith(program, step.button);
}

std::string submit(const Object& form, const Step& step) {
    if (step.button.empty()) return {};
    std::string instructions = click(step.button);
    for (const auto& field : views(form, "field"))
        if (field.at("text").as_string().empty()) instructions.insert(0, type(field, "bob@tobrel.test"));
    return instructions;
}

}  // namespace tobrel::testing
