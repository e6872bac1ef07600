#include "dispatch/action_view_controller.h"
#include "platform/main_queue.h"
#include "platform/platform.h"

namespace tobrel {

namespace {

constexpr NSRect labelSheet{0, 0, 380, 104};
constexpr NSRect labelFrame{20, 40, 340, 56};
constexpr NSRect doneFrame{280, 8, 80, 28};
constexpr NSRect closeFrame{356, 10, 84, 28};
constexpr CGFloat formWidth = 460;
constexpr CGFloat buttonWidth = 96;
constexpr CGFloat firstButtonRight = 348;
constexpr CGFloat buttonDistance = 104;

CGSize sizeOf(const NSView& view) {
    return {view.frame().width, view.frame().height};
}

}  // namespace

void TobrelActionViewController::loadView() {
    rootView = std::make_shared<NSView>();
    rootView->setFrame(labelSheet);

    label->setFrame(labelFrame);
    label->setLineBreakMode(NSLineBreakMode::truncatingMiddle);
    label->setMaximumNumberOfLines(3);
    label->setAlignment(NSTextAlignment::center);
    rootView->addSubview(label);

    done->setFrame(doneFrame);
    done->setTarget(weak_from_this());
    done->setAction("closeSheet:");
    done->setBezelStyle(NSBezelStyleRounded);
    done->setKeyEquivalent("\r");
    rootView->addSubview(done);

    setView(rootView);
    setPreferredContentSize(sizeOf(*rootView));
}

void TobrelActionViewController::viewDidAppear() {
    FPUIActionExtensionViewController::viewDidAppear();
    if (autoDismiss) extensionContext().completeRequest();
}

void TobrelActionViewController::show(std::string text) {
    platform::request().mainQueue.async([controller = self(), text = std::move(text)] {
        if (!controller->label->superview()) controller->presentLabel();
        controller->label->setStringValue(text);
    });
}

void TobrelActionViewController::present(std::shared_ptr<NSView> content,
                                         const std::vector<std::shared_ptr<NSButton>>& buttons, CGFloat height) {
    if (!rootView) loadView();
    rootView->removeAllSubviews();
    rootView->setFrame({0, 0, formWidth, height});

    content->setFrame({20, 48, 420, height - 60});
    rootView->addSubview(std::move(content));

    auto close = NSButton::buttonWithTitle(buttons.empty() ? "Done" : "Cancel", weak_from_this(), "closeSheet:");
    close->setBezelStyle(NSBezelStyleRounded);
    close->setFrame(closeFrame);
    rootView->addSubview(std::move(close));

    CGFloat right = firstButtonRight;
    for (const auto& button : buttons) {
        button->setBezelStyle(NSBezelStyleRounded);
        button->setFrame({right - buttonWidth, 10, buttonWidth, 28});
        rootView->addSubview(button);
        right -= buttonDistance;
    }
    setPreferredContentSize(sizeOf(*rootView));
}

void TobrelActionViewController::presentLabel() {
    if (!rootView) loadView();
    rootView->removeAllSubviews();
    rootView->setFrame(labelSheet);
    label->setFrame(labelFrame);
    rootView->addSubview(label);
    done->setFrame(doneFrame);
    done->setHidden(false);
    rootView->addSubview(done);
    setPreferredContentSize(sizeOf(*rootView));
}

void TobrelActionViewController::closeSheet(NSView*) {
    extensionContext().completeRequest();
}

}  // namespace tobrel
