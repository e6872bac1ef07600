#include "frontends/gtk/clipboard.h"

#include <gtk/gtk.h>

#include <string_view>
#include <utility>

#include "frontends/gtk/gobject.h"
#include "platform/main_loop.h"

namespace tobrel::gtk {

namespace {

// After this time a display that refused the text has said so.
constexpr std::chrono::milliseconds refusalTime{300};

GdkClipboard* clipboard() {
    GdkDisplay* display = gdk_display_get_default();
    return display ? gdk_display_get_clipboard(display) : nullptr;
}

// Asking for the type by its macro would need a header that not every build of the toolkit has.
bool refusesLater() {
    return std::string_view(G_OBJECT_TYPE_NAME(gdk_display_get_default())) == "GdkWaylandDisplay";
}

}  // namespace

Clipboard::Clipboard(MainLoop& loop, std::function<void()> noteChanged)
    : loop_(loop), noteChanged_(std::move(noteChanged)) {}

Clipboard::~Clipboard() = default;

void Clipboard::clear() {
    text_.clear();
    taken_ = true;
    timer_.reset();
    say("");
    // A text usually follows at once. Two claims in a row are one too many for X11: the answer to the first ends the
    // second.
    loop_.async([this] {
        if (text_.empty()) gdk_clipboard_set_content(clipboard(), nullptr);
    });
}

void Clipboard::set(const std::string& text) {
    text_ = text;
    taken_ = false;
    put();
}

void Clipboard::userActed() {
    actedHere_ = true;
    if (!taken_ && !timer_) put();
}

void Clipboard::put() {
    Object<GdkContentProvider> content(gdk_content_provider_new_typed(G_TYPE_STRING, text_.c_str()));
    bool accepted = gdk_clipboard_set_content(clipboard(), content.get());
    if (!accepted || !refusesLater()) return check();
    say("It is being put on the clipboard.");
    timer_ = loop_.startTimer(refusalTime, [this] { check(); });
}

void Clipboard::check() {
    timer_.reset();
    taken_ = gdk_clipboard_is_local(clipboard()) && (actedHere_ || !refusesLater());
    say(taken_ ? "" : "The clipboard may not have taken it: please copy it from here.");
}

void Clipboard::say(std::string note) {
    if (note == note_) return;
    note_ = std::move(note);
    noteChanged_();
}

bool clipboardNeedsProcess() {
    GdkClipboard* own = clipboard();
    return own && gdk_clipboard_is_local(own) && gdk_clipboard_get_content(own);
}

void holdClipboard() {
    while (clipboardNeedsProcess()) g_main_context_iteration(nullptr, true);
}

}  // namespace tobrel::gtk
