#include "platform/file_provider_ui.h"

namespace tobrel {

bool FPUIActionExtensionViewController::initWithNibName(const std::optional<std::string>&, const NSBundle*) {
    return true;
}

bool FPUIActionExtensionViewController::initWithCoder(const NSCoder* coder) {
    return coder && coder->holdsViewController;
}

void FPUIActionExtensionViewController::setPreferredContentSize(CGSize size) {
    if (preferredContentSize_ == size) return;
    preferredContentSize_ = size;
    if (sizeObserver_) sizeObserver_();
}

}  // namespace tobrel
