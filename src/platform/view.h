#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The sheet's views: plain values without a toolkit, which every front end maps. Main thread only.
namespace tobrel {

class NSButton;
class NSPopUpButton;
class NSStackView;
class NSTextField;
class NSView;

// Points; the origin of a frame is the bottom-left corner of the superview, y grows upward.
using CGFloat = double;

struct CGSize {
    CGFloat width = 0;
    CGFloat height = 0;
    bool operator==(const CGSize&) const = default;
};

struct NSRect {
    CGFloat x = 0;
    CGFloat y = 0;
    CGFloat width = 0;
    CGFloat height = 0;
    bool operator==(const NSRect&) const = default;
};

enum class NSTextAlignment { natural, left, center, right };
enum class NSLineBreakMode { wordWrapping = 0, clipping = 2, truncatingMiddle = 5 };
enum class NSTextColor { label, secondaryLabel, link };
enum class NSUserInterfaceLayoutOrientation { horizontal, vertical };
enum class NSLayoutAttribute { none = 0, leading = 5, width = 7, centerY = 10 };
enum class NSButtonType { push, checkBox };

inline constexpr int NSBezelStyleRounded = 1;

struct NSFont {
    CGFloat size = 13;
    bool bold = false;
    bool operator==(const NSFont&) const = default;
    static NSFont systemFontOfSize(CGFloat size) { return {size, false}; }
    static NSFont boldSystemFontOfSize(CGFloat size) { return {size, true}; }
};

// Receives a control's action by the selector's text. Returns false, and logs, for a selector it does not have.
class ActionTarget {
public:
    virtual ~ActionTarget() = default;
    virtual bool performSelector(std::string_view selector, NSView* sender) = 0;
};

// One function for every kind of view, so that a front end that misses a kind does not compile.
class ViewVisitor {
public:
    virtual ~ViewVisitor() = default;
    virtual void visit(NSView& plain) = 0;
    virtual void visit(NSTextField& field) = 0;
    virtual void visit(NSButton& button) = 0;
    virtual void visit(NSPopUpButton& popUp) = 0;
    virtual void visit(NSStackView& stack) = 0;
};

class NSView {
public:
    NSView();
    virtual ~NSView();
    NSView(const NSView&) = delete;
    NSView& operator=(const NSView&) = delete;

    // Unique within the process and stable for the view's life.
    std::uint64_t id() const { return id_; }

    const NSRect& frame() const { return frame_; }
    void setFrame(const NSRect& frame) { assign(frame_, frame); }
    bool isHidden() const { return hidden_; }
    void setHidden(bool hidden) { assign(hidden_, hidden); }
    // An exact width in points, where one is constrained.
    std::optional<CGFloat> exactWidth() const { return exactWidth_; }
    void setExactWidth(CGFloat width) { assign(exactWidth_, std::optional(width)); }

    const std::vector<std::shared_ptr<NSView>>& subviews() const { return subviews_; }
    NSView* superview() const { return superview_; }
    // Takes the view out of its former superview first.
    void addSubview(std::shared_ptr<NSView> view);
    // Safe to call on a view that has no superview. Focus inside the removed view is lost.
    void removeFromSuperview();
    void removeAllSubviews();

    // Gives this view the keyboard focus of the tree that it stands in now.
    void becomeFirstResponder();
    // The focused view of the tree that this view stands in, or null.
    NSView* firstResponder() const;

    // On the top view of a tree: called after every change anywhere in the tree; replaces the former one.
    void setObserver(std::function<void()> observer) { observer_ = std::move(observer); }

    virtual void accept(ViewVisitor& visitor) { visitor.visit(*this); }

protected:
    template <class Value, class Given>
    void assign(Value& member, Given&& value) {
        if (member == value) return;
        member = std::forward<Given>(value);
        changed();
    }
    void changed();

private:
    const NSView& top() const;
    NSView& top() { return const_cast<NSView&>(std::as_const(*this).top()); }
    bool contains(const NSView* view) const;

    const std::uint64_t id_;
    NSRect frame_;
    bool hidden_ = false;
    std::optional<CGFloat> exactWidth_;
    NSView* superview_ = nullptr;
    std::vector<std::shared_ptr<NSView>> subviews_;
    NSView* firstResponder_ = nullptr;
    std::function<void()> observer_;
};

// A label (not editable) or an editable one-line field.
class NSTextField : public NSView {
public:
    // An empty editable field.
    NSTextField() = default;
    static std::shared_ptr<NSTextField> labelWithString(std::string text);
    static std::shared_ptr<NSTextField> wrappingLabelWithString(std::string text);

    bool isEditable() const { return editable_; }
    const std::string& stringValue() const { return text_; }
    void setStringValue(std::string text) { assign(text_, std::move(text)); }
    const std::string& placeholderString() const { return placeholder_; }
    void setPlaceholderString(std::string text) { assign(placeholder_, std::move(text)); }
    const NSFont& font() const { return font_; }
    void setFont(const NSFont& font) { assign(font_, font); }
    NSTextColor textColor() const { return color_; }
    void setTextColor(NSTextColor color) { assign(color_, color); }
    NSTextAlignment alignment() const { return alignment_; }
    void setAlignment(NSTextAlignment alignment) { assign(alignment_, alignment); }
    NSLineBreakMode lineBreakMode() const { return lineBreakMode_; }
    void setLineBreakMode(NSLineBreakMode mode) { assign(lineBreakMode_, mode); }
    // 0: no limit.
    int maximumNumberOfLines() const { return maximumNumberOfLines_; }
    void setMaximumNumberOfLines(int lines) { assign(maximumNumberOfLines_, lines); }
    bool isSelectable() const { return selectable_; }
    void setSelectable(bool selectable) { assign(selectable_, selectable); }
    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { assign(enabled_, enabled); }

    void accept(ViewVisitor& visitor) override { visitor.visit(*this); }

private:
    std::string text_;
    std::string placeholder_;
    NSFont font_;
    NSTextColor color_ = NSTextColor::label;
    NSTextAlignment alignment_ = NSTextAlignment::natural;
    NSLineBreakMode lineBreakMode_ = NSLineBreakMode::clipping;
    int maximumNumberOfLines_ = 1;
    bool editable_ = true;
    bool selectable_ = false;
    bool enabled_ = true;
};

class NSButton : public NSView {
public:
    explicit NSButton(NSButtonType type, std::string title) : type_(type), title_(std::move(title)) {}
    static std::shared_ptr<NSButton> buttonWithTitle(std::string title, std::weak_ptr<ActionTarget> target = {},
                                                     std::string action = {});
    static std::shared_ptr<NSButton> checkboxWithTitle(std::string title);

    NSButtonType type() const { return type_; }
    const std::string& title() const { return title_; }
    void setTitle(std::string title) { assign(title_, std::move(title)); }
    int bezelStyle() const { return bezelStyle_; }
    void setBezelStyle(int style) { assign(bezelStyle_, style); }
    // "\r" is Return; empty: none.
    const std::string& keyEquivalent() const { return keyEquivalent_; }
    void setKeyEquivalent(std::string key) { assign(keyEquivalent_, std::move(key)); }
    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { assign(enabled_, enabled); }
    // A check box's state.
    bool isOn() const { return on_; }
    void setOn(bool on) { assign(on_, on); }
    int tag() const { return tag_; }
    void setTag(int tag) { assign(tag_, tag); }
    const std::optional<std::string>& identifier() const { return identifier_; }
    void setIdentifier(std::string identifier) { assign(identifier_, std::optional(std::move(identifier))); }
    void setTarget(std::weak_ptr<ActionTarget> target) { target_ = std::move(target); }
    std::weak_ptr<ActionTarget> target() const { return target_; }
    // The selector's text; empty: none.
    const std::string& action() const { return action_; }
    void setAction(std::string selector) { assign(action_, std::move(selector)); }

    // What a user's click does: toggles a check box, then sends the action to the target.
    // A disabled button does nothing.
    void performClick();

    void accept(ViewVisitor& visitor) override { visitor.visit(*this); }

private:
    const NSButtonType type_;
    std::string title_;
    int bezelStyle_ = 0;
    std::string keyEquivalent_;
    bool enabled_ = true;
    bool on_ = false;
    int tag_ = 0;
    std::optional<std::string> identifier_;
    std::weak_ptr<ActionTarget> target_;
    std::string action_;
};

class NSPopUpButton : public NSView {
public:
    const std::vector<std::string>& itemTitles() const { return items_; }
    // The first item added to an empty pop-up is selected.
    void addItemWithTitle(std::string title);
    void removeAllItems();
    // -1: none.
    int indexOfSelectedItem() const { return selected_; }
    // An index outside the items selects none.
    void selectItemAtIndex(int index);
    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { assign(enabled_, enabled); }

    void accept(ViewVisitor& visitor) override { visitor.visit(*this); }

private:
    std::vector<std::string> items_;
    int selected_ = -1;
    bool enabled_ = true;
};

// Its arranged views are its subviews, in order; the front end places them.
class NSStackView : public NSView {
public:
    explicit NSStackView(NSUserInterfaceLayoutOrientation orientation);
    static std::shared_ptr<NSStackView> stackWithViews(NSUserInterfaceLayoutOrientation orientation,
                                                       std::vector<std::shared_ptr<NSView>> views);

    NSUserInterfaceLayoutOrientation orientation() const { return orientation_; }
    NSLayoutAttribute alignment() const { return alignment_; }
    void setAlignment(NSLayoutAttribute alignment) { assign(alignment_, alignment); }
    CGFloat spacing() const { return spacing_; }
    void setSpacing(CGFloat spacing) { assign(spacing_, spacing); }

    void accept(ViewVisitor& visitor) override { visitor.visit(*this); }

private:
    const NSUserInterfaceLayoutOrientation orientation_;
    NSLayoutAttribute alignment_;
    CGFloat spacing_ = 8;
};

}  // namespace tobrel
