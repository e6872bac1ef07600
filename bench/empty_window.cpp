// The least that a program with a window can be, drawn as the sheet's window is.
#include <gtk/gtk.h>

#include <cstdlib>

int main() {
    setenv("GSK_RENDERER", "cairo", 1);
    setenv(gtk_get_minor_version() >= 16 ? "GDK_DISABLE" : "GDK_DEBUG",
           gtk_get_minor_version() >= 16 ? "gl,vulkan" : "gl-disable", 1);
    gtk_init();
    GtkWidget* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 460, 166);
    gtk_window_present(GTK_WINDOW(window));
    while (true) g_main_context_iteration(nullptr, true);
}
