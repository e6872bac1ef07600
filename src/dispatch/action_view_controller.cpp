#include "dispatch/action_view_controller.h"

#include "dispatch/uilog.h"

namespace tobrel {

TobrelActionViewController::TobrelActionViewController()
    : label(NSTextField::labelWithString("")),
      done(NSButton::buttonWithTitle("Done")),
      emailField(std::make_shared<NSTextField>()),
      rolePopup(std::make_shared<NSPopUpButton>()),
      expiresCheck(NSButton::checkboxWithTitle("Link expires after")),
      expiresDays(std::make_shared<NSTextField>()) {}

std::shared_ptr<TobrelActionViewController> TobrelActionViewController::initWithNibName(
    const std::optional<std::string>& nibName, const NSBundle* bundle) {
    std::shared_ptr<TobrelActionViewController> controller(new TobrelActionViewController);
    return controller->FPUIActionExtensionViewController::initWithNibName(nibName, bundle) ? controller : nullptr;
}

std::shared_ptr<TobrelActionViewController> TobrelActionViewController::initWithCoder(const NSCoder* coder) {
    std::shared_ptr<TobrelActionViewController> controller(new TobrelActionViewController);
    return controller->FPUIActionExtensionViewController::initWithCoder(coder) ? controller : nullptr;
}

std::shared_ptr<TobrelActionViewController> TobrelActionViewController::self() {
    return std::static_pointer_cast<TobrelActionViewController>(shared_from_this());
}

bool TobrelActionViewController::performSelector(std::string_view selector, NSView* sender) {
    static constexpr struct {
        std::string_view selector;
        void (TobrelActionViewController::*method)(NSView* sender);
    } actions[] = {
        {"closeSheet:", &TobrelActionViewController::closeSheet},
        {"copyExisting:", &TobrelActionViewController::copyExisting},
        {"expiryToggled:", &TobrelActionViewController::expiryToggled},
        {"submitLink:", &TobrelActionViewController::submitLink},
        {"submitShare:", &TobrelActionViewController::submitShare},
        {"revokeTapped:", &TobrelActionViewController::revokeTapped},
    };
    for (const auto& action : actions) {
        if (action.selector != selector) continue;
        (this->*action.method)(sender);
        return true;
    }
    osLog(uilog(), OSLogType::error, "no action %{public}@", selector);
    return false;
}

}  // namespace tobrel
