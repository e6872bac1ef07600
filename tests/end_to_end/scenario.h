#pragma once

#include <boost/json/object.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "support/installation.h"
#include "support/program.h"
#include "support/scripted_server.h"

namespace tobrel::testing {

using Words = std::vector<std::string>;
using Object = boost::json::object;

// Instructions of the JSON front end, each with its line break.
std::string click(std::string_view title);
constexpr const char* closeWindow = "{\"do\":\"close\"}\n";

// A started command with the JSON front end.
Program start(const Installation& installation, Words words);
// The next sheet with such a text, title or other piece.
Object sheetWith(Program& program, std::string_view piece);
// Ends its input and expects that it has completed its request, and that nothing came after that but log lines.
Ended finish(Program& program);

// A server whose answers a test may replace, and an installation with the items "file" and "folder".
class ScriptedTobrel {
public:
    ScriptedTobrel();

    void answers(const std::string& target, const std::string& body, int status = 200);
    // "GET /tobrel/api/..." for each request, in their order.
    Words asked() const;

    ScriptedServer server;
    Installation installation;
};

// A point at which a command waits for an answer of the server, which is the last of so many requests.
struct Step {
    const char* name;
    Words words;
    std::string target;
    std::size_t requests;
    // Pressed to get there; nothing where the command gets there by itself.
    std::string button;
};
extern const std::vector<Step> steps;

// Presses the step's button once it is there, if there is one; an address is typed first where one is asked.
void pressButton(Program& program, const Step& step);

}  // namespace tobrel::testing
