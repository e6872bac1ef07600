#include "frontends/json/view_json.h"

#include <gtest/gtest.h>

#include <boost/json.hpp>
#include <tuple>

namespace tobrel {
namespace {

namespace json = boost::json;

// As a reader gets it.
json::value viewAsRead(NSView& root) {
    return json::parse(json::serialize(sheetEvent({460, 166.5}, root))).at("view");
}

TEST(ViewJson, GivesFramesOutsideStacksOnlyAndWholeNumbersWithoutAFraction) {
    NSView root;
    root.setFrame({0, 0, 460, 166.5});
    auto stack = NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::vertical,
                                             {NSTextField::labelWithString("inside")});
    stack->setAlignment(NSLayoutAttribute::leading);
    stack->setSpacing(10);
    root.addSubview(stack);

    std::string line = json::serialize(sheetEvent({460, 166.5}, root));
    json::value event = json::parse(line);
    json::value shown = event.at("view").at("subviews").at(0);

    EXPECT_EQ(line.find('\n'), line.npos);
    EXPECT_EQ(event.at("size"), (json::array{460, 166.5}));
    EXPECT_EQ(event.at("view").at("kind"), "view");
    EXPECT_EQ(event.at("view").at("frame"), (json::array{0, 0, 460, 166.5}));
    EXPECT_EQ(shown.at("kind"), "stack");
    EXPECT_EQ(shown.at("orientation"), "vertical");
    EXPECT_EQ(shown.at("alignment"), "leading");
    EXPECT_EQ(shown.at("spacing"), 10);
    EXPECT_TRUE(shown.as_object().contains("frame"));
    EXPECT_EQ(shown.at("subviews").at(0).at("text"), "inside");
    EXPECT_FALSE(shown.at("subviews").at(0).as_object().contains("frame"));
}

TEST(ViewJson, GivesEachKindItsMembersAndLeavesOutWhatWasNeverSet) {
    NSView root;
    auto label = NSTextField::wrappingLabelWithString("bad \xE2\x82 byte\xFF\n");
    label->setExactWidth(420);
    label->setTextColor(NSTextColor::secondaryLabel);
    auto field = std::make_shared<NSTextField>();
    field->setPlaceholderString("their Tobrel email");
    auto plain = NSButton::buttonWithTitle("Plain");
    auto wired = NSButton::buttonWithTitle("Leave", {}, "revokeTapped:");
    wired->setIdentifier("");
    wired->setTag(1);
    wired->setKeyEquivalent("\r");
    auto check = NSButton::checkboxWithTitle("Link expires after");
    check->setOn(true);
    auto popUp = std::make_shared<NSPopUpButton>();
    popUp->addItemWithTitle("read");
    popUp->addItemWithTitle("write");
    for (std::shared_ptr<NSView> view :
         std::initializer_list<std::shared_ptr<NSView>>{label, field, plain, wired, check, popUp})
        root.addSubview(view);
    field->becomeFirstResponder();

    json::value view = viewAsRead(root);
    auto shown = [&](int index) { return view.at("subviews").at(index).as_object(); };

    const std::tuple<int, const char*, json::value> cases[] = {
        {0, "kind", "label"},
        {0, "text", "bad \uFFFD byte\uFFFD\n"},
        {0, "width", 420},
        {0, "color", "secondaryLabel"},
        {0, "lineBreak", "wordWrapping"},
        {0, "maxLines", 0},
        {1, "kind", "field"},
        {1, "placeholder", "their Tobrel email"},
        {1, "focused", true},
        {2, "key", ""},
        {3, "action", "revokeTapped:"},
        {3, "identifier", ""},
        {3, "key", "\r"},
        {3, "tag", 1},
        {4, "kind", "checkbox"},
        {4, "on", true},
        {5, "kind", "popup"},
        {5, "items", {"read", "write"}},
        {5, "selected", 0},
    };
    for (auto& [index, name, value] : cases) EXPECT_EQ(shown(index).at(name), value) << index << name;
    for (auto& [index, name] : {std::pair(0, "focused"), {1, "width"}, {2, "action"}, {2, "identifier"}})
        EXPECT_FALSE(shown(index).contains(name)) << index << name;
}

}  // namespace
}  // namespace tobrel
