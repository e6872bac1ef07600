#include "platform/view.h"

#include <algorithm>
#include <utility>

namespace tobrel {

namespace {

std::uint64_t nextId() {
    static std::uint64_t last = 0;
    return ++last;
}

}  // namespace

NSView::NSView() : id_(nextId()) {}

NSView::~NSView() {
    for (auto& view : subviews_) view->superview_ = nullptr;
}

const NSView& NSView::top() const {
    const NSView* view = this;
    while (view->superview_) view = view->superview_;
    return *view;
}

bool NSView::contains(const NSView* view) const {
    for (; view; view = view->superview_)
        if (view == this) return true;
    return false;
}

void NSView::changed() {
    if (auto& observer = top().observer_) observer();
}

void NSView::addSubview(std::shared_ptr<NSView> view) {
    view->removeFromSuperview();
    view->superview_ = this;
    subviews_.push_back(std::move(view));
    changed();
}

void NSView::removeFromSuperview() {
    if (!superview_) return;
    NSView& parent = *superview_;
    NSView*& focused = top().firstResponder_;
    if (contains(focused)) focused = nullptr;
    superview_ = nullptr;
    auto& siblings = parent.subviews_;
    auto self = std::find_if(siblings.begin(), siblings.end(), [this](auto& view) { return view.get() == this; });
    // The list may hold the last reference to this view.
    std::shared_ptr<NSView> keep = std::move(*self);
    siblings.erase(self);
    parent.changed();
}

void NSView::removeAllSubviews() {
    while (!subviews_.empty()) subviews_.back()->removeFromSuperview();
}

void NSView::becomeFirstResponder() {
    top().assign(top().firstResponder_, this);
}

NSView* NSView::firstResponder() const {
    return top().firstResponder_;
}

std::shared_ptr<NSTextField> NSTextField::labelWithString(std::string text) {
    auto label = std::make_shared<NSTextField>();
    label->editable_ = false;
    label->text_ = std::move(text);
    return label;
}

std::shared_ptr<NSTextField> NSTextField::wrappingLabelWithString(std::string text) {
    auto label = labelWithString(std::move(text));
    label->lineBreakMode_ = NSLineBreakMode::wordWrapping;
    label->maximumNumberOfLines_ = 0;
    return label;
}

std::shared_ptr<NSButton> NSButton::buttonWithTitle(std::string title, std::weak_ptr<ActionTarget> target,
                                                    std::string action) {
    auto button = std::make_shared<NSButton>(NSButtonType::push, std::move(title));
    button->target_ = std::move(target);
    button->action_ = std::move(action);
    return button;
}

std::shared_ptr<NSButton> NSButton::checkboxWithTitle(std::string title) {
    return std::make_shared<NSButton>(NSButtonType::checkBox, std::move(title));
}

void NSButton::performClick() {
    if (!enabled_) return;
    if (type_ == NSButtonType::checkBox) setOn(!on_);
    if (auto target = target_.lock(); target && !action_.empty()) target->performSelector(action_, this);
}

void NSPopUpButton::addItemWithTitle(std::string title) {
    items_.push_back(std::move(title));
    if (items_.size() == 1) selected_ = 0;
    changed();
}

void NSPopUpButton::removeAllItems() {
    if (items_.empty()) return;
    items_.clear();
    selected_ = -1;
    changed();
}

void NSPopUpButton::selectItemAtIndex(int index) {
    bool known = index >= 0 && index < static_cast<int>(items_.size());
    assign(selected_, known ? index : -1);
}

NSStackView::NSStackView(NSUserInterfaceLayoutOrientation orientation)
    : orientation_(orientation),
      alignment_(orientation == NSUserInterfaceLayoutOrientation::horizontal ? NSLayoutAttribute::centerY
                                                                             : NSLayoutAttribute::none) {}

std::shared_ptr<NSStackView> NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation orientation,
                                                         std::vector<std::shared_ptr<NSView>> views) {
    auto stack = std::make_shared<NSStackView>(orientation);
    for (auto& view : views) stack->addSubview(std::move(view));
    return stack;
}

}  // namespace tobrel
