#include "flows/labels.h"

#include <utility>

namespace tobrel {

std::shared_ptr<NSTextField> formTitle(std::string text) {
    auto label = NSTextField::labelWithString(std::move(text));
    label->setFont(NSFont::boldSystemFontOfSize(13));
    return label;
}

void makeNote(NSTextField& label) {
    label.setTextColor(NSTextColor::secondaryLabel);
    label.setFont(NSFont::systemFontOfSize(11));
}

}  // namespace tobrel
