#include "frontends/gtk/sheet_window.h"

#include <algorithm>
#include <utility>

#include "frontends/gtk/toolkit.h"
#include "platform/main_loop.h"

namespace tobrel::gtk {

namespace {

constexpr int outerDistance = 18;
constexpr CGFloat sideDistances = 40;
constexpr CGFloat leastBodyHeight = 56;
constexpr CGFloat leastRowHeight = 13;
// So many lines of a long list are built for one frame.
constexpr std::size_t linesOfAFrame = 20;
// What the desktop may keep for itself, in parts of the screen's height.
constexpr double mostOfScreen = 0.8;

// The theme names no colour for the text of an address; this one is told apart and read on light and dark.
constexpr const char* styles = "label.address { color: mix(@theme_selected_bg_color, @theme_fg_color, 0.6); }";

void addStyles() {
    static const bool added = [] {
        Object<GtkCssProvider> provider(gtk_css_provider_new());
#if GTK_CHECK_VERSION(4, 12, 0)
        gtk_css_provider_load_from_string(provider.get(), styles);
#else
        gtk_css_provider_load_from_data(provider.get(), styles, -1);
#endif
        gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(provider.get()),
                                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
        return true;
    }();
    static_cast<void>(added);
}

GtkWindow* makeWindow() {
    addStyles();
    auto* window = GTK_WINDOW(g_object_new(GTK_TYPE_WINDOW, "accessible-role", GTK_ACCESSIBLE_ROLE_DIALOG, nullptr));
    gtk_window_set_title(window, "Tobrel");
    gtk_window_set_icon_name(window, "tobrel");
    gtk_window_set_resizable(window, false);
    if (!activationToken().empty()) gtk_window_set_startup_id(window, activationToken().c_str());
    return window;
}

int smallestScreenHeight() {
    GListModel* monitors = gdk_display_get_monitors(gdk_display_get_default());
    int smallest = G_MAXINT;
    for (guint i = 0; i < g_list_model_get_n_items(monitors); ++i) {
        Object<GdkMonitor> monitor(GDK_MONITOR(g_list_model_get_item(monitors, i)));
        GdkRectangle place;
        gdk_monitor_get_geometry(monitor.get(), &place);
        smallest = std::min(smallest, place.height);
    }
    return smallest;
}

int heightOf(GtkWidget* widget, int width) {
    int least = 0;
    int natural = 0;
    gtk_widget_measure(widget, GTK_ORIENTATION_VERTICAL, width, &least, &natural, nullptr, nullptr);
    return natural;
}

void announce(GtkWidget* near, const std::string& text) {
#if GTK_CHECK_VERSION(4, 14, 0)
    gtk_accessible_announce(GTK_ACCESSIBLE(near), text.c_str(), GTK_ACCESSIBLE_ANNOUNCEMENT_PRIORITY_MEDIUM);
#else
    // Older toolkits have no call for it.
    static_cast<void>(near), static_cast<void>(text);
#endif
}

bool isReturn(guint key) {
    return key == GDK_KEY_Return || key == GDK_KEY_KP_Enter || key == GDK_KEY_ISO_Enter;
}

bool isInside(GtkWidget* widget, GType kind) {
    return widget && gtk_widget_get_ancestor(widget, kind);
}

// Newer toolkits give it no role, and nothing without a role is read out.
GtkWidget* makeSpinner() {
    auto* spinner = static_cast<GtkWidget*>(
        g_object_new(GTK_TYPE_SPINNER, "accessible-role", GTK_ACCESSIBLE_ROLE_PROGRESS_BAR, nullptr));
    gtk_accessible_update_property(GTK_ACCESSIBLE(spinner), GTK_ACCESSIBLE_PROPERTY_LABEL, "Working", -1);
    return spinner;
}

}  // namespace

SheetWindow::SheetWindow(Sheet& sheet, MainLoop& loop, sheet::Unanswered& unanswered,
                         std::function<void(bool)> attention)
    : sheet_(sheet),
      loop_(loop),
      unanswered_(unanswered),
      window_(makeWindow()),
      body_(gtk_box_new(GTK_ORIENTATION_VERTICAL, outerDistance / 2)),
      note_(makeNote()),
      footerRow_(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, outerDistance)),
      spinner_(makeSpinner()),
      widgets_(*this) {
    GtkWidget* all = gtk_box_new(GTK_ORIENTATION_VERTICAL, outerDistance);
    for (auto set : {gtk_widget_set_margin_start, gtk_widget_set_margin_end, gtk_widget_set_margin_top,
                     gtk_widget_set_margin_bottom})
        set(all, outerDistance);
    gtk_box_append(GTK_BOX(footerRow_), spinner_);
    gtk_box_append(GTK_BOX(body_), note_);
    gtk_box_append(GTK_BOX(all), body_);
    gtk_box_append(GTK_BOX(all), footerRow_);
    gtk_window_set_child(window_, all);

    connect(window_, "close-request", std::function([this]() -> gboolean {
                sheet_.close();
                return true;
            }));
    onNotify(window_, "focus-widget", [this] { focusMoved(); });
    onNotify(window_, "is-active", [this, attention] {
        if (!gtk_window_is_active(window_)) attention(false);
    });
    GtkEventController* any = gtk_event_controller_legacy_new();
    gtk_event_controller_set_propagation_phase(any, GTK_PHASE_CAPTURE);
    connect(any, "event", std::function([attention = std::move(attention)](GdkEvent* event) -> gboolean {
                GdkEventType kind = gdk_event_get_event_type(event);
                if (kind == GDK_KEY_PRESS || kind == GDK_BUTTON_PRESS || kind == GDK_TOUCH_BEGIN) attention(true);
                return false;
            }));
    gtk_widget_add_controller(GTK_WIDGET(window_), any);

    GtkEventController* before = gtk_event_controller_key_new();
    gtk_event_controller_set_propagation_phase(before, GTK_PHASE_CAPTURE);
    connect(before, "key-pressed", std::function([this](guint key, guint, GdkModifierType) -> gboolean {
                return isReturn(key) && returnPressed();
            }));
    connect(before, "key-released", std::function([this](guint key, guint, GdkModifierType) {
                if (isReturn(key)) returnIsDown_ = false;
            }));
    gtk_widget_add_controller(GTK_WIDGET(window_), before);

    // After whatever has the focus, which may have a use of its own for the key.
    GtkEventController* after = gtk_event_controller_key_new();
    connect(after, "key-pressed", std::function([this](guint key, guint, GdkModifierType) -> gboolean {
                if (key != GDK_KEY_Escape) return false;
                sheet_.close();
                return true;
            }));
    gtk_widget_add_controller(GTK_WIDGET(window_), after);
}

SheetWindow::~SheetWindow() {
    updating_ = true;
    gtk_window_destroy(window_);
    gdk_display_flush(gdk_display_get_default());
}

void SheetWindow::update(const std::string& note) {
    updating_ = true;
    auto rows = sheet::rowsOf(sheet_.rootView());
    int most = mostHeight();
    bool isOther =
        widgets_.show(sheet_.rootView(), rows, static_cast<std::size_t>(most / pixels(body_, leastRowHeight)));
    if (isOther) placeContent(most);
    gtk_label_set_text(GTK_LABEL(note_), note.c_str());
    gtk_widget_set_visible(note_, !note.empty());
    showButtons(rows);
    settleFocus(rows);
    if (std::exchange(pressed_, false) && !isOther) markRefusedField(rows);
    changes_.look(rows);
    updating_ = false;
    if (!widgets_.isComplete()) askForFrames();
}

void SheetWindow::buildMore() {
    if (!std::exchange(hasFrame_, false) || widgets_.isComplete()) return;
    updating_ = true;
    widgets_.showMore(sheet::rowsOf(sheet_.rootView()), linesOfAFrame);
    updating_ = false;
}

// A long list is seen before its last line is built, and can be scrolled meanwhile.
void SheetWindow::askForFrames() {
    if (std::exchange(wantsFrames_, true)) return;
    auto frame = [](GtkWidget*, GdkFrameClock*, gpointer data) -> gboolean {
        auto& window = *static_cast<SheetWindow*>(data);
        window.wantsFrames_ = !window.widgets_.isComplete();
        // The first frame shows what there is.
        if (std::exchange(window.drawn_, true)) {
            window.hasFrame_ = true;
            window.loop_.async([] {});
        }
        return window.wantsFrames_ ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    };
    gtk_widget_add_tick_callback(body_, frame, this, nullptr);
}

int SheetWindow::mostHeight() const {
    int ofScreen = static_cast<int>(mostOfScreen * smallestScreenHeight());
    return std::max(ofScreen - pixels(body_, 2 * leastBodyHeight), pixels(body_, leastBodyHeight));
}

void SheetWindow::placeContent(int most) {
    // A sheet never gets narrower while the user looks at it.
    width_ = std::max(width_, pixels(body_, sheet_.preferredContentSize().width - sideDistances));
    gtk_widget_set_size_request(body_, width_, pixels(body_, leastBodyHeight));
    // Else the toolkit looks for another focus by itself, after this has found one.
    gtk_window_set_focus(window_, nullptr);
    gtk_window_set_default_widget(window_, nullptr);
    while (GtkWidget* former = gtk_widget_get_first_child(body_)) {
        if (former == note_) break;
        gtk_box_remove(GTK_BOX(body_), former);
    }
    if (GtkWidget* former = gtk_widget_get_last_child(footerRow_); former != spinner_)
        gtk_box_remove(GTK_BOX(footerRow_), former);

    GtkWidget* placed = widgets_.content();
    if (!widgets_.isComplete() || heightOf(placed, width_) > most) {
        GtkWidget* scrolled = gtk_scrolled_window_new();
        gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scrolled), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
        // Seen at once, and never over the buttons at the rows' ends.
        gtk_scrolled_window_set_overlay_scrolling(GTK_SCROLLED_WINDOW(scrolled), false);
        gtk_scrolled_window_set_min_content_height(GTK_SCROLLED_WINDOW(scrolled), most);
        gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), placed);
        placed = scrolled;
    }
    gtk_box_prepend(GTK_BOX(body_), placed);
    gtk_box_append(GTK_BOX(footerRow_), widgets_.footer());
}

void SheetWindow::showButtons(const sheet::Rows& rows) {
    bool working = sheet_.isWorking();
    gtk_spinner_set_spinning(GTK_SPINNER(spinner_), working);
    gtk_widget_set_visible(spinner_, working);
    NSButton* button = sheet::defaultButton(rows);
    GtkWidget* widget = widgets_.widgetOf(button);
    gtk_window_set_default_widget(window_, widget);
    if (widget && button != sheet::closingButton(rows)) gtk_widget_add_css_class(widget, "suggested-action");
}

void SheetWindow::settleFocus(const sheet::Rows& rows) {
    NSView* view = sheet_.rootView().firstResponder();
    GtkWidget* widget = widgets_.widgetOf(view);
    if (!widget || !gtk_widget_get_sensitive(widget)) {
        view = sheet::firstFocus(rows);
        if (!view) return;
        view->becomeFirstResponder();
        widget = widgets_.widgetOf(view);
    }
    GtkWidget* focused = gtk_window_get_focus(window_);
    bool isThere = focused && (focused == widget || gtk_widget_is_ancestor(focused, widget));
    if (!isThere) gtk_widget_grab_focus(widget);
}

// Where all that a press did was to move the focus to a field, the sheet has refused what is in that field.
void SheetWindow::markRefusedField(const sheet::Rows& rows) {
    auto controls = sheet::controlsOf(rows);
    auto index = sheet::indexOf(sheet_.rootView().firstResponder(), controls);
    if (!index || !controls[*index].field || sheet_.isWorking()) return;
    GtkWidget* field = widgets_.widgetOf(controls[*index].field);
    markRefused(field, true);
    announce(field, refusedText);
}

void SheetWindow::focusMoved() {
    if (updating_) return;
    auto rows = sheet::rowsOf(sheet_.rootView());
    if (NSView* view = widgets_.viewOf(gtk_window_get_focus(window_), rows)) view->becomeFirstResponder();
}

void SheetWindow::present() {
    presented_ = true;
    gtk_window_present(window_);
}

void SheetWindow::press(NSButton& button) {
    if (updating_) return;
    loop_.async([this, id = button.id()] {
        auto rows = sheet::rowsOf(sheet_.rootView());
        for (auto& control : sheet::controlsOf(rows)) {
            NSButton* pressed = control.button ? control.button : control.checkBox;
            if (!pressed || pressed->id() != id) continue;
            // What closes the sheet asks for nothing itself.
            if (pressed != sheet::closingButton(rows)) unanswered_.pressed(*pressed);
            pressed_ = sheet::press(*pressed);
            return;
        }
    });
}

gboolean SheetWindow::returnPressed() {
    if (std::exchange(returnIsDown_, true) || sheet_.isWorking()) return true;
    GtkWidget* focused = gtk_window_get_focus(window_);
    // They have a use of their own for it: an input method's text, an open list.
    if (isInside(focused, GTK_TYPE_ENTRY) || isInside(focused, GTK_TYPE_POPOVER)) return false;
    pressReturn();
    return true;
}

void SheetWindow::pressReturn() {
    auto rows = sheet::rowsOf(sheet_.rootView());
    NSButton* button = sheet::buttonForReturn(rows, sheet_.rootView().firstResponder(), changes_);
    if (button) press(*button);
}

}  // namespace tobrel::gtk
