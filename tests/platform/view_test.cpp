#include "platform/view.h"

#include <gtest/gtest.h>

namespace tobrel {

TEST(View, TellsTheTopOfItsTreeOfEachChangeAndOfNothingElse) {
    NSView top;
    int changes = 0;
    top.setObserver([&] { ++changes; });
    auto stack = std::make_shared<NSStackView>(NSUserInterfaceLayoutOrientation::vertical);
    auto label = NSTextField::labelWithString("a");
    stack->addSubview(label);
    EXPECT_EQ(changes, 0);
    top.addSubview(stack);
    EXPECT_EQ(changes, 1);
    label->setStringValue("b");
    EXPECT_EQ(changes, 2);
    label->setStringValue("b");
    label->setHidden(false);
    EXPECT_EQ(changes, 2);
    stack->removeFromSuperview();
    EXPECT_EQ(changes, 3);
    label->setStringValue("c");
    EXPECT_EQ(changes, 3);
}

TEST(View, MovesToTheViewThatItIsAddedToLast) {
    NSView first;
    NSView second;
    auto child = std::make_shared<NSView>();
    first.addSubview(child);
    second.addSubview(child);
    EXPECT_TRUE(first.subviews().empty());
    EXPECT_EQ(child->superview(), &second);
    child->removeFromSuperview();
    child->removeFromSuperview();
    EXPECT_EQ(child->superview(), nullptr);
}

TEST(View, LosesFocusWithTheBranchThatHoldsIt) {
    auto top = std::make_shared<NSView>();
    auto branch = std::make_shared<NSView>();
    auto field = std::make_shared<NSTextField>();
    auto other = std::make_shared<NSTextField>();
    branch->addSubview(field);
    top->addSubview(branch);
    top->addSubview(other);
    field->becomeFirstResponder();
    other->removeFromSuperview();
    EXPECT_EQ(top->firstResponder(), field.get());
    branch->removeFromSuperview();
    EXPECT_EQ(top->firstResponder(), nullptr);
}

TEST(View, OutlivesNoSuperview) {
    auto child = std::make_shared<NSView>();
    {
        NSView top;
        top.addSubview(child);
    }
    EXPECT_EQ(child->superview(), nullptr);
}

TEST(PopUpButton, SelectsItsFirstItemAndNothingOutsideItsItems) {
    NSPopUpButton popUp;
    EXPECT_EQ(popUp.indexOfSelectedItem(), -1);
    popUp.addItemWithTitle("view");
    popUp.addItemWithTitle("edit");
    EXPECT_EQ(popUp.indexOfSelectedItem(), 0);
    popUp.selectItemAtIndex(1);
    EXPECT_EQ(popUp.indexOfSelectedItem(), 1);
    popUp.selectItemAtIndex(2);
    EXPECT_EQ(popUp.indexOfSelectedItem(), -1);
    popUp.removeAllItems();
    popUp.addItemWithTitle("view");
    EXPECT_EQ(popUp.indexOfSelectedItem(), 0);
}

TEST(Button, ActsOnItsTargetOnlyWhileEnabledAndAlive) {
    struct Target : ActionTarget {
        std::vector<std::string> selectors;
        bool performSelector(std::string_view selector, NSView*) override {
            selectors.emplace_back(selector);
            return true;
        }
    };
    auto target = std::make_shared<Target>();
    auto check = NSButton::checkboxWithTitle("Check");
    check->setTarget(target);
    check->setAction("toggled:");
    check->performClick();
    EXPECT_TRUE(check->isOn());
    check->setEnabled(false);
    check->performClick();
    EXPECT_TRUE(check->isOn());
    EXPECT_EQ(target->selectors, std::vector<std::string>{"toggled:"});
    check->setEnabled(true);
    target.reset();
    check->performClick();
    EXPECT_FALSE(check->isOn());
}

}  // namespace tobrel
