// The menu in a file manager: one source, built once for each of them.
#include "file_managers/dialect.h"

#include <dlfcn.h>
#include <gdk/gdk.h>

#include <memory>
#include <string>

#include "file_managers/commands.h"
#include "file_managers/launch.h"
#include "file_managers/registered_roots.h"

namespace {

using namespace tobrel::menu;

struct TobrelMenuProvider {
    GObject parent;
};
struct TobrelMenuProviderClass {
    GObjectClass parent;
};

// Made once; the file manager keeps the module loaded.
RegisteredRoots* registeredRoots = nullptr;
GObject* provider = nullptr;

// Paths, each followed by NUL; nothing unless all of them lie in a domain.
std::shared_ptr<std::string> itemsInDomains(GList* files) {
    const DomainRoots& roots = registeredRoots->look();
    auto items = std::make_shared<std::string>();
    for (GList* file = files; file; file = file->next) {
        GFile* location = FM_FUNCTION(file_info_get_location)(static_cast<FM_TYPE(FileInfo)*>(file->data));
        const char* path = location ? g_file_peek_path(location) : nullptr;
        bool isInside = path && roots.contain(path);
        if (isInside) items->append(path).push_back('\0');
        if (location) g_object_unref(location);
        if (!isInside) return nullptr;
    }
    return items;
}

// What lets the command's window come to the front, in exchange for this click.
std::string activationToken() {
    GdkDisplay* display = gdk_display_get_default();
    GAppInfo* program = display
                            ? g_app_info_create_from_commandline(
                                  "tobrel-action", "Tobrel", G_APP_INFO_CREATE_SUPPORTS_STARTUP_NOTIFICATION, nullptr)
                            : nullptr;
    if (!program) return {};
    auto* context = G_APP_LAUNCH_CONTEXT(gdk_display_get_app_launch_context(display));
    char* token = g_app_launch_context_get_startup_notify_id(context, program, nullptr);
    std::string text = token ? token : "";
    g_free(token);
    g_object_unref(context);
    g_object_unref(program);
    return text;
}

std::string ownFile() {
    Dl_info info{};
    return dladdr(reinterpret_cast<const void*>(&ownFile), &info) && info.dli_fname ? info.dli_fname : "";
}

struct Choice {
    const Command& command;
    std::shared_ptr<const std::string> items;
};

void activate(FM_TYPE(MenuItem) *, gpointer data) {
    const auto& choice = *static_cast<Choice*>(data);
    static const std::string program = actionProgram(ownFile());
    launch(choice.command, {program, *choice.items, choice.command.opensWindow ? activationToken() : ""});
}

FM_TYPE(MenuItem) * makeItem(const std::string& name, const char* title, const char* icon) {
    // Caja takes no null for what is not there.
    return FM_FUNCTION(menu_item_new)(("Tobrel::" + name).c_str(), title, "", icon);
}

GList* fileItems(FM_TYPE(MenuProvider) *, FM_WINDOW GList* files) {
    auto items = files ? itemsInDomains(files) : nullptr;
    if (!items) return nullptr;
    bool one = !files->next;
    bool isFolder = one && FM_FUNCTION(file_info_is_directory)(static_cast<FM_TYPE(FileInfo)*>(files->data));
    auto* menu = FM_FUNCTION(menu_new)();
    for (const Command& command : commands) {
        auto* item = makeItem(command.word, command.title, "");
        g_object_set(item, "sensitive", applies(command, one ? 1 : 2, isFolder), nullptr);
        auto destroy = [](gpointer data, GClosure*) { delete static_cast<Choice*>(data); };
        g_signal_connect_data(item, "activate", G_CALLBACK(activate), new Choice{command, items}, destroy,
                              static_cast<GConnectFlags>(0));
        FM_FUNCTION(menu_append_item)(menu, item);
        g_object_unref(item);
    }
    auto* top = makeItem("menu", "Tobrel", "tobrel");
    FM_SUBMENU(top, menu);
    g_object_unref(menu);
    return g_list_prepend(nullptr, top);
}

void setMethods(gpointer interface, gpointer) {
    static_cast<FM_INTERFACE(MenuProvider)*>(interface)->FM_ITEMS_METHOD = fileItems;
}

static void tobrel_menu_provider_init(TobrelMenuProvider* self) {
    provider = &self->parent;
}
static void tobrel_menu_provider_class_init(TobrelMenuProviderClass*) {}
static void tobrel_menu_provider_class_finalize(TobrelMenuProviderClass*) {}

G_DEFINE_DYNAMIC_TYPE_EXTENDED(TobrelMenuProvider, tobrel_menu_provider, G_TYPE_OBJECT, 0,
                               G_IMPLEMENT_INTERFACE_DYNAMIC(FM_PROVIDER_TYPE, setMethods))

}  // namespace

extern "C" {

G_MODULE_EXPORT void FM_ENTRY(initialize)(FM_MODULE* module) {
    tobrel_menu_provider_register_type(G_TYPE_MODULE(module));
    if (registeredRoots) return;
    registeredRoots = new RegisteredRoots([] {
#if !defined(TOBREL_THUNAR)
        // Thunar has no way to be told; it asks again at the next selection.
        if (provider)
            FM_FUNCTION(menu_provider_emit_items_updated_signal)(reinterpret_cast<FM_TYPE(MenuProvider)*>(provider));
#endif
    });
}

G_MODULE_EXPORT void FM_ENTRY(shutdown)() {}

G_MODULE_EXPORT void FM_ENTRY(list_types)(const GType** types, int* count) {
    static GType type = 0;
    type = tobrel_menu_provider_get_type();
    *types = &type;
    *count = 1;
}
}
