#include "frontends/json/view_json.h"

#include <boost/json.hpp>
#include <cmath>

#include "text/utf8.h"

namespace tobrel {

namespace json = boost::json;

namespace {

// Without a fraction where there is none: some readers hold 380 and 380.0 to be different.
json::value number(CGFloat value) {
    bool whole = std::trunc(value) == value && std::abs(value) < 1e15;
    return whole ? json::value(static_cast<std::int64_t>(value)) : json::value(value);
}

const char* name(NSUserInterfaceLayoutOrientation orientation) {
    return orientation == NSUserInterfaceLayoutOrientation::horizontal ? "horizontal" : "vertical";
}

const char* name(NSLayoutAttribute alignment) {
    switch (alignment) {
        case NSLayoutAttribute::leading:
            return "leading";
        case NSLayoutAttribute::width:
            return "width";
        case NSLayoutAttribute::centerY:
            return "centerY";
        case NSLayoutAttribute::none:
            break;
    }
    return "none";
}

const char* name(NSTextAlignment alignment) {
    switch (alignment) {
        case NSTextAlignment::left:
            return "left";
        case NSTextAlignment::center:
            return "center";
        case NSTextAlignment::right:
            return "right";
        case NSTextAlignment::natural:
            break;
    }
    return "natural";
}

const char* name(NSTextColor color) {
    switch (color) {
        case NSTextColor::secondaryLabel:
            return "secondaryLabel";
        case NSTextColor::link:
            return "link";
        case NSTextColor::label:
            break;
    }
    return "label";
}

const char* name(NSLineBreakMode mode) {
    switch (mode) {
        case NSLineBreakMode::truncatingMiddle:
            return "truncatingMiddle";
        case NSLineBreakMode::wordWrapping:
            return "wordWrapping";
        case NSLineBreakMode::clipping:
            break;
    }
    return "clipping";
}

// Who places a view: its own frame, or the stack that it stands in.
enum class Placement { frame, stack };

class ViewWriter : public ViewVisitor {
public:
    ViewWriter(const NSView* focused, Placement placement) : focused_(focused), placement_(placement) {}

    json::object write(NSView& view) && {
        view.accept(*this);
        return std::move(object_);
    }

    void visit(NSView& plain) override {
        begin(plain, "view");
        object_["subviews"] = subviews(plain, Placement::frame);
    }

    void visit(NSTextField& field) override {
        begin(field, field.isEditable() ? "field" : "label");
        object_["text"] = wellFormedUtf8(field.stringValue());
        object_["align"] = name(field.alignment());
        if (field.isEditable()) {
            object_["placeholder"] = wellFormedUtf8(field.placeholderString());
            object_["enabled"] = field.isEnabled();
            return;
        }
        object_["font"] = {{"size", number(field.font().size)}, {"bold", field.font().bold}};
        object_["color"] = name(field.textColor());
        object_["lineBreak"] = name(field.lineBreakMode());
        object_["maxLines"] = field.maximumNumberOfLines();
        object_["selectable"] = field.isSelectable();
    }

    void visit(NSButton& button) override {
        bool isCheckBox = button.type() == NSButtonType::checkBox;
        begin(button, isCheckBox ? "checkbox" : "button");
        object_["title"] = wellFormedUtf8(button.title());
        object_["enabled"] = button.isEnabled();
        if (!button.action().empty()) object_["action"] = wellFormedUtf8(button.action());
        if (isCheckBox) {
            object_["on"] = button.isOn();
            return;
        }
        object_["bezel"] = button.bezelStyle();
        object_["key"] = wellFormedUtf8(button.keyEquivalent());
        object_["tag"] = button.tag();
        if (button.identifier()) object_["identifier"] = wellFormedUtf8(*button.identifier());
    }

    void visit(NSPopUpButton& popUp) override {
        begin(popUp, "popup");
        json::array items;
        for (auto& title : popUp.itemTitles()) items.emplace_back(wellFormedUtf8(title));
        object_["items"] = std::move(items);
        object_["selected"] = popUp.indexOfSelectedItem();
        object_["enabled"] = popUp.isEnabled();
    }

    void visit(NSStackView& stack) override {
        begin(stack, "stack");
        object_["orientation"] = name(stack.orientation());
        object_["spacing"] = number(stack.spacing());
        object_["alignment"] = name(stack.alignment());
        object_["subviews"] = subviews(stack, Placement::stack);
    }

private:
    void begin(const NSView& view, const char* kind) {
        object_["id"] = view.id();
        object_["kind"] = kind;
        if (placement_ == Placement::frame) {
            const NSRect& frame = view.frame();
            object_["frame"] = {number(frame.x), number(frame.y), number(frame.width), number(frame.height)};
        }
        object_["hidden"] = view.isHidden();
        if (view.exactWidth()) object_["width"] = number(*view.exactWidth());
        if (&view == focused_) object_["focused"] = true;
    }

    json::array subviews(const NSView& parent, Placement placement) const {
        json::array list;
        for (auto& view : parent.subviews()) list.emplace_back(ViewWriter(focused_, placement).write(*view));
        return list;
    }

    const NSView* const focused_;
    const Placement placement_;
    json::object object_;
};

}  // namespace

json::object sheetEvent(const CGSize& size, NSView& root) {
    return {{"event", "sheet"},
            {"size", {number(size.width), number(size.height)}},
            {"view", ViewWriter(root.firstResponder(), Placement::frame).write(root)}};
}

}  // namespace tobrel
