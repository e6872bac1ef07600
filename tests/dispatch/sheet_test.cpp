#include <thread>

#include "support/controller_test.h"

namespace tobrel::testing {

using SheetTest = ControllerTest;

namespace {

std::vector<NSRect> frames(const NSView& view) {
    std::vector<NSRect> frames;
    for (const auto& child : view.subviews()) frames.push_back(child->frame());
    return frames;
}

}  // namespace

TEST_F(SheetTest, StartsAsAnEmptyLineWithADoneButtonThatReturnPresses) {
    EXPECT_EQ(controller->preferredContentSize(), (CGSize{380, 104}));
    EXPECT_EQ(controller->view(), controller->rootView);
    EXPECT_EQ(frames(*controller->rootView), (std::vector<NSRect>{{20, 40, 340, 56}, {280, 8, 80, 28}}));
    EXPECT_EQ(controller->label->stringValue(), "");
    EXPECT_EQ(controller->label->maximumNumberOfLines(), 3);
    EXPECT_EQ(controller->label->lineBreakMode(), NSLineBreakMode::truncatingMiddle);
    EXPECT_EQ(controller->label->alignment(), NSTextAlignment::center);
    EXPECT_FALSE(controller->done->isHidden());
    EXPECT_EQ(controller->done->keyEquivalent(), "\r");
    EXPECT_EQ(controller->done->bezelStyle(), 1);
    controller->done->performClick();
    EXPECT_EQ(context->ends.size(), 1u);
}

TEST_F(SheetTest, ShowTakesEffectFromTheMainQueueInTheOrderOfItsCalls) {
    controller->show("first");
    std::thread([&] { controller->show("second"); }).join();
    EXPECT_EQ(controller->label->stringValue(), "");
    world.mainQueue.runOne();
    EXPECT_EQ(controller->label->stringValue(), "first");
    EXPECT_EQ(sheet(), "second");
    EXPECT_EQ(controller->preferredContentSize(), (CGSize{380, 104}));
}

TEST_F(SheetTest, ShowLeavesDoneAsItIsWhileTheLabelIsInPlaceAndBringsItBackAfterAForm) {
    controller->done->setHidden(true);
    controller->show("still hidden");
    EXPECT_EQ(sheet(), "still hidden");
    EXPECT_TRUE(controller->done->isHidden());

    controller->present(std::make_shared<NSView>(), {}, 200);
    controller->show("back");
    EXPECT_EQ(sheet(), "back");
    EXPECT_FALSE(controller->done->isHidden());
    EXPECT_EQ(controller->preferredContentSize(), (CGSize{380, 104}));
    EXPECT_EQ(frames(*controller->rootView), (std::vector<NSRect>{{20, 40, 340, 56}, {280, 8, 80, 28}}));
}

TEST_F(SheetTest, BuildsTheViewFirstWhereAFormComesBeforeIt) {
    auto early = TobrelActionViewController::initWithNibName(std::nullopt, nullptr);
    early->setExtensionContext(context);
    early->present(std::make_shared<NSView>(), {}, 100);
    EXPECT_EQ(early->preferredContentSize(), (CGSize{460, 100}));
}

TEST_F(SheetTest, CompletesEachTimeItComesOnScreenOnceItDismissesItself) {
    controller->viewDidAppear();
    EXPECT_TRUE(context->ends.empty());
    controller->autoDismiss = true;
    controller->viewDidAppear();
    controller->viewDidAppear();
    EXPECT_EQ(context->ends.size(), 2u);
}

}  // namespace tobrel::testing
