#include "frontends/json/sheet_user.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "frontends/sheet/rows.h"
#include "frontends/sheet/user.h"
#include "text/utf8.h"

namespace tobrel::sheet_user {

namespace {

using Matches = std::function<bool(const NSView&)>;

// Hidden ones as well.
NSView* findView(const NSView& parent, const Matches& matches) {
    for (auto& view : parent.subviews()) {
        if (matches(*view)) return view.get();
        if (NSView* inside = findView(*view, matches)) return inside;
    }
    return nullptr;
}

bool isUsable(NSView& root, const NSView& view) {
    auto controls = sheet::controlsOf(sheet::rowsOf(root));
    auto index = sheet::indexOf(&view, controls);
    return index && controls[*index].isEnabled();
}

// The control, or the reason why a user could not use it.
template <class Control>
struct Found {
    Control* control = nullptr;
    Refusal refusal;
};

Refusal noSuch(const std::string& name) {
    return {"There is no " + name + " on the sheet."};
}

Refusal notUsable(const std::string& name) {
    return {"The " + name + " is hidden or disabled."};
}

// The first from the top that a user could press.
Found<NSButton> firstButton(NSView& root, const std::string& name, const std::function<bool(const NSButton&)>& wanted) {
    auto matches = [&](const NSView& view) {
        auto* button = dynamic_cast<const NSButton*>(&view);
        return button && wanted(*button);
    };
    for (auto& control : sheet::controlsOf(sheet::rowsOf(root)))
        if (control.isEnabled() && matches(control.view())) return {dynamic_cast<NSButton*>(&control.view()), {}};
    return {nullptr, findView(root, matches) ? notUsable(name) : noSuch(name)};
}

bool isOfKind(const NSTextField& field) {
    return field.isEditable();
}

bool isOfKind(const NSView&) {
    return true;
}

template <class Control>
Found<Control> controlById(NSView& root, std::int64_t id, const std::string& kind) {
    std::string name = "view " + std::to_string(id);
    NSView* view = findView(root, [&](const NSView& each) { return std::cmp_equal(each.id(), id); });
    if (!view) return {nullptr, noSuch(name)};
    auto* control = dynamic_cast<Control*>(view);
    if (!control || !isOfKind(*control)) return {nullptr, {"The " + name + " is no " + kind + "."}};
    if (!isUsable(root, *control)) return {nullptr, notUsable(name)};
    return {control, {}};
}

Found<NSButton> buttonWithTitle(NSView& root, const std::string& title) {
    return firstButton(root, "button “" + title + "”", [&](auto& button) { return button.title() == title; });
}

std::optional<Refusal> press(const Found<NSButton>& found) {
    if (!found.control) return found.refusal;
    sheet::press(*found.control);
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
    auto contains = [&](const sheet::Piece& piece) {
        return piece.label &&
               wellFormedUtf8(piece.label->stringValue()).find(wait.text.value_or("")) != std::string::npos;
    };
    auto rows = sheet::rowsOf(root);
    return std::any_of(rows.begin(), rows.end(), [&](const sheet::Row& row) {
        return std::any_of(row.pieces.begin(), row.pieces.end(), contains);
    });
}

}  // namespace tobrel::sheet_user
