#include "support/controller_test.h"

#include <boost/json.hpp>
#include <stdexcept>

#include "frontends/json/view_json.h"

namespace tobrel::testing {

namespace {

namespace json = boost::json;

// Indented by depth, without the numbers that differ from run to run.
void describe(const json::object& view, const std::string& indent, std::string& text) {
    json::object own;
    for (const auto& [name, value] : view)
        if (name != "id" && name != "subviews" && name != "view") own[name] = value;
    text += indent + json::serialize(own) + "\n";
    if (const auto* root = view.if_contains("view")) describe(root->as_object(), "", text);
    if (const auto* subviews = view.if_contains("subviews"))
        for (const auto& each : subviews->as_array()) describe(each.as_object(), indent + "  ", text);
}

NSButton* findButton(NSView& view, const std::string& title) {
    if (auto* found = dynamic_cast<NSButton*>(&view);
        found && !found->isHidden() && found->isEnabled() && found->title() == title)
        return found;
    for (auto& each : view.subviews())
        if (auto* found = findButton(*each, title)) return found;
    return nullptr;
}

}  // namespace

ControllerTest::ControllerTest() {
    world.configure();
    controller = TobrelActionViewController::initWithNibName(std::nullopt, nullptr);
    controller->setExtensionContext(context);
    controller->loadView();
}

std::string ControllerTest::sheet() {
    world.mainQueue.run();
    if (controller->label->superview()) return controller->label->stringValue();
    std::string text;
    describe(sheetEvent(controller->preferredContentSize(), *controller->view()), "", text);
    return text;
}

NSButton& ControllerTest::button(const std::string& title) {
    NSButton* found = findButton(*controller->view(), title);
    if (!found) throw std::logic_error("no button " + title + " on\n" + sheet());
    return *found;
}

}  // namespace tobrel::testing
