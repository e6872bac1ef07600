#include "frontends/json/sheet_user.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "text/utf8.h"

namespace tobrel::sheet_user {

namespace {

struct Shown {
    std::shared_ptr<NSView> view;
    // Neither it nor what it stands in is hidden.
    bool isVisible;
};

// Everything inside the view, from the top of the sheet to its bottom, each row from left to right.
void collect(const NSView& parent, bool isVisible, std::vector<Shown>& list) {
    auto views = parent.subviews();
    bool isStack = dynamic_cast<const NSStackView*>(&parent);
    if (!isStack)
        std::stable_sort(views.begin(), views.end(), [](auto& one, auto& other) {
            return std::pair(-one->frame().y, one->frame().x) < std::pair(-other->frame().y, other->frame().x);
        });
    for (auto& view : views) {
        bool isSeen = isVisible && !view->isHidden();
        list.push_back({view, isSeen});
        collect(*view, isSeen, list);
    }
}

std::vector<Shown> viewsFromTheTop(const NSView& root) {
    std::vector<Shown> list;
    collect(root, !root.isHidden(), list);
    return list;
}

// The control, or the reason why a user could not use it.
template <class Control>
struct Found {
    std::shared_ptr<Control> control;
    Refusal refusal;
};

using Matches = std::function<bool(const NSButton&)>;

Found<NSButton> firstButton(const NSView& root, const std::string& name, const Matches& matches) {
    bool exists = false;
    for (auto& [view, isVisible] : viewsFromTheTop(root)) {
        auto button = std::dynamic_pointer_cast<NSButton>(view);
        if (!button || !matches(*button)) continue;
        if (isVisible && button->isEnabled()) return {button, {}};
        exists = true;
    }
    return {nullptr, {exists ? "The " + name + " is hidden or disabled." : "There is no " + name + " on the sheet."}};
}

bool isOfKind(const NSTextField& field) {
    return field.isEditable();
}

bool isOfKind(const NSView&) {
    return true;
}

template <class Control>
Found<Control> controlById(const NSView& root, std::int64_t id, const std::string& kind) {
    std::string name = "view " + std::to_string(id);
    for (auto& [view, isVisible] : viewsFromTheTop(root)) {
        if (!std::cmp_equal(view->id(), id)) continue;
        auto control = std::dynamic_pointer_cast<Control>(view);
        if (!control || !isOfKind(*control)) return {nullptr, {"The " + name + " is no " + kind + "."}};
        if (!isVisible || !control->isEnabled()) return {nullptr, {"The " + name + " is hidden or disabled."}};
        return {control, {}};
    }
    return {nullptr, {"There is no " + name + " on the sheet."}};
}

Found<NSButton> buttonWithTitle(const NSView& root, const std::string& title) {
    return firstButton(root, "button “" + title + "”", [&](auto& button) { return button.title() == title; });
}

// The control is kept alive meanwhile: its action may take it off the sheet.
std::optional<Refusal> press(const Found<NSButton>& found) {
    if (!found.control) return found.refusal;
    found.control->performClick();
    return std::nullopt;
}

}  // namespace

std::optional<Refusal> click(NSView& root, const instruction::Click& click) {
    if (click.title) return press(buttonWithTitle(root, *click.title));
    return press(controlById<NSButton>(root, click.id.value_or(0), "button"));
}

std::optional<Refusal> type(NSView& root, const instruction::Type& type) {
    auto [field, refusal] = controlById<NSTextField>(root, type.id, "text field");
    if (!field) return refusal;
    field->setStringValue(type.text);
    return std::nullopt;
}

std::optional<Refusal> select(NSView& root, const instruction::Select& select) {
    auto [popUp, refusal] = controlById<NSPopUpButton>(root, select.id, "pop-up");
    if (!popUp) return refusal;
    if (select.index < 0 || !std::cmp_less(select.index, popUp->itemTitles().size()))
        return Refusal{"The view " + std::to_string(select.id) + " has no item " + std::to_string(select.index) + "."};
    popUp->selectItemAtIndex(static_cast<int>(select.index));
    return std::nullopt;
}

std::optional<Refusal> pressKey(NSView& root, const std::string& key) {
    return press(firstButton(root, "button with this key",
                             [&](auto& button) { return !key.empty() && button.keyEquivalent() == key; }));
}

bool sees(NSView& root, const instruction::Wait& wait) {
    if (wait.title) return buttonWithTitle(root, *wait.title).control != nullptr;
    auto views = viewsFromTheTop(root);
    return std::any_of(views.begin(), views.end(), [&](const Shown& shown) {
        auto label = dynamic_cast<const NSTextField*>(shown.view.get());
        return shown.isVisible && label && !label->isEditable() &&
               wellFormedUtf8(label->stringValue()).find(wait.text.value_or("")) != std::string::npos;
    });
}

bool hasResult(const NSView& root) {
    for (auto& [view, isVisible] : viewsFromTheTop(root)) {
        auto* label = dynamic_cast<const NSTextField*>(view.get());
        if (label && isVisible && !label->stringValue().empty() && !label->stringValue().ends_with("…")) return true;
    }
    return false;
}

}  // namespace tobrel::sheet_user
