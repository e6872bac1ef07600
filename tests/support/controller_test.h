#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "dispatch/action_view_controller.h"
#include "support/fake_platform.h"

namespace tobrel::testing {

class FakeExtensionContext : public FPUIActionExtensionContext {
public:
    std::optional<std::string> domain = "work";
    // "completed", or "cancelled DOMAIN CODE TEXT"; each call of the two.
    std::vector<std::string> ends;

    std::optional<std::string> domainIdentifier() const override { return domain; }
    void completeRequest() override { ends.push_back("completed"); }
    void cancelRequestWithError(const NSError& error) override {
        ends.push_back("cancelled " + error.domain + " " + std::to_string(error.code) + " " + error.text);
    }
};

// One controller with its view loaded, in a fake and configured world.
class ControllerTest : public ::testing::Test {
protected:
    ControllerTest();

    // Runs the main queue dry and tells what the sheet shows: the label's text in the label layout, else the JSON of
    // the size and of each view, a line each, indented by depth.
    std::string sheet();
    // The visible, enabled button of that title; fails the test where there is none.
    NSButton& button(const std::string& title);
    void click(const std::string& title) { button(title).performClick(); }

    FakePlatform world;
    std::shared_ptr<FakeExtensionContext> context = std::make_shared<FakeExtensionContext>();
    std::shared_ptr<TobrelActionViewController> controller;
};

}  // namespace tobrel::testing
