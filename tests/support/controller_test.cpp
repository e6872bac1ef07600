#include "support/controller_test.h"

#include <sstream>
#include <stdexcept>

namespace tobrel::testing {

namespace {

const char* name(NSTextColor color) {
    switch (color) {
        case NSTextColor::label:
            return "label";
        case NSTextColor::secondaryLabel:
            return "secondaryLabel";
        case NSTextColor::link:
            return "link";
    }
    return "?";
}

const char* name(NSLineBreakMode mode) {
    switch (mode) {
        case NSLineBreakMode::wordWrapping:
            return "wordWrapping";
        case NSLineBreakMode::clipping:
            return "clipping";
        case NSLineBreakMode::truncatingMiddle:
            return "truncatingMiddle";
    }
    return "?";
}

class Describer : public ViewVisitor {
public:
    explicit Describer(const NSView* focused) : focused_(focused) {}

    std::string text() const { return out_.str(); }

    void visit(NSView& plain) override {
        out_ << "view";
        end(plain);
    }

    void visit(NSTextField& field) override {
        out_ << (field.isEditable() ? "field" : "label") << " “" << field.stringValue() << "”";
        if (!field.placeholderString().empty()) out_ << " placeholder “" << field.placeholderString() << "”";
        if (field.font().bold) out_ << " bold";
        if (field.font() != NSFont{}) out_ << " " << field.font().size;
        if (field.textColor() != NSTextColor::label) out_ << " " << name(field.textColor());
        if (field.alignment() == NSTextAlignment::right) out_ << " right";
        if (field.lineBreakMode() != NSLineBreakMode::clipping) out_ << " " << name(field.lineBreakMode());
        if (field.maximumNumberOfLines() != 1) out_ << " lines " << field.maximumNumberOfLines();
        if (field.isSelectable()) out_ << " selectable";
        if (!field.isEnabled()) out_ << " disabled";
        end(field);
    }

    void visit(NSButton& button) override {
        out_ << (button.type() == NSButtonType::checkBox ? "checkbox" : "button") << " “" << button.title() << "”";
        if (button.isOn()) out_ << " on";
        if (button.keyEquivalent() == "\r") out_ << " return";
        if (button.bezelStyle() != 0) out_ << " bezel " << button.bezelStyle();
        if (button.tag() != 0) out_ << " tag " << button.tag();
        if (button.identifier()) out_ << " identifier “" << *button.identifier() << "”";
        out_ << " " << button.action();
        if (!button.isEnabled()) out_ << " disabled";
        end(button);
    }

    void visit(NSPopUpButton& popUp) override {
        out_ << "popup";
        for (auto& title : popUp.itemTitles()) out_ << " “" << title << "”";
        out_ << " selected " << popUp.indexOfSelectedItem();
        end(popUp);
    }

    void visit(NSStackView& stack) override {
        out_ << (stack.orientation() == NSUserInterfaceLayoutOrientation::vertical ? "vertical" : "horizontal")
             << " alignment " << static_cast<int>(stack.alignment()) << " spacing " << stack.spacing();
        end(stack);
    }

private:
    // What every kind has, then its subviews.
    void end(NSView& view) {
        const NSRect& frame = view.frame();
        if (frame != NSRect{})
            out_ << " (" << frame.x << ", " << frame.y << ", " << frame.width << ", " << frame.height << ")";
        if (view.exactWidth()) out_ << " width " << *view.exactWidth();
        if (&view == focused_) out_ << " focused";
        out_ << "\n";
        indent_ += "  ";
        for (auto& each : view.subviews()) {
            if (each->isHidden()) continue;
            out_ << indent_;
            each->accept(*this);
        }
        indent_.resize(indent_.size() - 2);
    }

    const NSView* const focused_;
    std::ostringstream out_;
    std::string indent_;
};

NSButton* findButton(NSView& view, const std::string& title) {
    if (auto* found = dynamic_cast<NSButton*>(&view);
        found && !found->isHidden() && found->isEnabled() && found->title() == title)
        return found;
    for (auto& each : view.subviews())
        if (auto* found = findButton(*each, title)) return found;
    return nullptr;
}

}  // namespace

std::string sheetText(const NSView& view) {
    Describer describer(view.firstResponder());
    const_cast<NSView&>(view).accept(describer);
    return describer.text();
}

ControllerTest::ControllerTest() {
    world.configure();
    controller = TobrelActionViewController::initWithNibName(std::nullopt, nullptr);
    controller->setExtensionContext(context);
    controller->loadView();
}

std::string ControllerTest::sheet() {
    world.mainQueue.run();
    if (controller->label->superview()) return controller->label->stringValue();
    return sheetText(*controller->view());
}

NSButton& ControllerTest::button(const std::string& title) {
    NSButton* found = findButton(*controller->view(), title);
    if (!found) throw std::logic_error("no button " + title + " on\n" + sheetText(*controller->view()));
    return *found;
}

void ControllerTest::click(const std::string& title) {
    button(title).performClick();
}

}  // namespace tobrel::testing
