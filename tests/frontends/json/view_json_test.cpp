#include "frontends/json/view_json.h"

#include <gtest/gtest.h>

#include <boost/json.hpp>
#include <tuple>

namespace tobrel {
namespace {

namespace json = boost::json;

TEST(ViewJson, GivesEachKindItsMembersAndLeavesOutWhatWasNeverSet) {
    NSView root;
    root.setFrame({0, 0, 460, 166.5});
    auto label = NSTextField::wrappingLabelWithString("bad \xE2\x82 byte\xFF\n");
    label->setExactWidth(420);
    auto field = std::make_shared<NSTextField>();
    auto wired = NSButton::buttonWithTitle("Leave", {}, "revokeTapped:");
    wired->setIdentifier("");
    auto check = NSButton::checkboxWithTitle("Link expires after");
    check->setOn(true);
    auto popUp = std::make_shared<NSPopUpButton>();
    popUp->addItemWithTitle("read");
    popUp->addItemWithTitle("write");
    auto stack =
        NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::vertical, {label, field, wired, check, popUp});
    stack->setAlignment(NSLayoutAttribute::leading);
    root.addSubview(stack);
    field->becomeFirstResponder();

    std::string line = json::serialize(sheetEvent({460, 166.5}, root));
    // Written as whole numbers, not as numbers that some readers hold to be others.
    EXPECT_NE(line.find(R"("frame":[0,0,460,1.665E2])"), line.npos) << line;
    json::value view = json::parse(line).at("view");

    const std::tuple<const char*, const char*, json::value> cases[] = {
        {"", "kind", "view"},
        {"/subviews/0", "orientation", "vertical"},
        {"/subviews/0", "alignment", "leading"},
        {"/subviews/0", "frame", {0, 0, 0, 0}},
        {"/subviews/0/subviews/0", "kind", "label"},
        {"/subviews/0/subviews/0", "text", "bad \uFFFD\uFFFD byte\uFFFD\n"},
        {"/subviews/0/subviews/0", "width", 420},
        {"/subviews/0/subviews/0", "lineBreak", "wordWrapping"},
        {"/subviews/0/subviews/1", "focused", true},
        {"/subviews/0/subviews/2", "action", "revokeTapped:"},
        {"/subviews/0/subviews/2", "identifier", ""},
        {"/subviews/0/subviews/3", "on", true},
        {"/subviews/0/subviews/4", "items", {"read", "write"}},
        {"/subviews/0/subviews/4", "selected", 0},
    };
    for (auto& [path, name, value] : cases) EXPECT_EQ(view.at_pointer(path).at(name), value) << path << name;
    for (auto& [index, name] : {std::pair(0, "focused"), {0, "frame"}, {1, "width"}, {3, "action"}, {3, "identifier"}})
        EXPECT_FALSE(view.at_pointer("/subviews/0/subviews").at(index).as_object().contains(name)) << index << name;
}

}  // namespace
}  // namespace tobrel
