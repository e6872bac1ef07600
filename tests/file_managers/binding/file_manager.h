#pragma once

// A file manager as its menu extension sees it: the real library of extensions around files that are only told of.
#include "file_managers/dialect.h"

#include <dlfcn.h>
#include <pwd.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/file_provider/registry.h"

// The home folder of whoever asks in this program, in place of the user's own.
inline std::string testHome;
extern "C" inline __attribute__((visibility("default"), used)) int getpwuid_r(uid_t, passwd* entry, char*, std::size_t,
                                                                              passwd** found) {
    entry->pw_dir = testHome.data();
    *found = entry;
    return 0;
}

namespace tobrel::testing {

struct ToldFile {
    GObject parent;
    GFile* location;
    gboolean isFolder;
};
struct ToldFileClass {
    GObjectClass parent;
};
static void told_file_init(ToldFile*) {}
static void told_file_class_init(ToldFileClass* type) {
    G_OBJECT_CLASS(type)->finalize = [](GObject* file) { g_object_unref(reinterpret_cast<ToldFile*>(file)->location); };
}
static void told_file_methods(gpointer methods, gpointer) {
    auto* file = static_cast<FM_INTERFACE(FileInfo)*>(methods);
    file->get_location = [](FM_TYPE(FileInfo) * self) {
        return G_FILE(g_object_ref(reinterpret_cast<ToldFile*>(self)->location));
    };
    file->is_directory = [](FM_TYPE(FileInfo) * self) { return reinterpret_cast<ToldFile*>(self)->isFolder; };
}
G_DEFINE_TYPE_WITH_CODE(ToldFile, told_file, G_TYPE_OBJECT,
                        G_IMPLEMENT_INTERFACE(FM_FUNCTION(file_info_get_type)(), told_file_methods))

struct ToldModule {
    GTypeModule parent;
};
struct ToldModuleClass {
    GTypeModuleClass parent;
};
static void told_module_init(ToldModule*) {}
static void told_module_class_init(ToldModuleClass* type) {
    G_TYPE_MODULE_CLASS(type)->load = [](GTypeModule*) { return gboolean{TRUE}; };
    G_TYPE_MODULE_CLASS(type)->unload = [](GTypeModule*) {};
}
G_DEFINE_TYPE(ToldModule, told_module, G_TYPE_TYPE_MODULE)

// A selection: the files' addresses; one that ends in a slash is a folder.
class Selection {
public:
    explicit Selection(const std::vector<std::string>& addresses) {
        for (const std::string& address : addresses) {
            auto* file = static_cast<ToldFile*>(g_object_new(told_file_get_type(), nullptr));
            file->location = g_file_new_for_commandline_arg(address.c_str());
            file->isFolder = address.ends_with('/');
            files_ = g_list_prepend(files_, file);
        }
        files_ = g_list_reverse(files_);
    }
    ~Selection() { g_list_free_full(files_, g_object_unref); }
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;
    GList* files() const { return files_; }

private:
    GList* files_ = nullptr;
};

class FileManager {
public:
    explicit FileManager(const std::string& module) {
        void* library = dlopen(module.c_str(), RTLD_NOW);
        if (!library) throw std::runtime_error(dlerror());
        auto entry = [&](const char* name) { return dlsym(library, (FM_ENTRY_PREFIX + std::string(name)).c_str()); };
        auto* plugin = static_cast<GTypeModule*>(g_object_new(told_module_get_type(), nullptr));
        g_type_module_use(plugin);
        reinterpret_cast<void (*)(GTypeModule*)>(entry("initialize"))(plugin);
        const GType* types = nullptr;
        int count = 0;
        reinterpret_cast<void (*)(const GType**, int*)>(entry("list_types"))(&types, &count);
        provider_ = static_cast<FM_TYPE(MenuProvider)*>(g_object_new(types[0], nullptr));
        methods_ = static_cast<FM_INTERFACE(MenuProvider)*>(
            g_type_interface_peek(G_OBJECT_GET_CLASS(provider_), FM_PROVIDER_TYPE));
    }

    static void free(GList* items) { g_list_free_full(items, g_object_unref); }
    // What the extension adds for the selection, the caller's to free.
    GList* items(const Selection& selection) const {
#if defined(TOBREL_NAUTILUS)
        return methods_->FM_ITEMS_METHOD(provider_, selection.files());
#else
        return methods_->FM_ITEMS_METHOD(provider_, nullptr, selection.files());
#endif
    }

    // Until the extension has read the registry.
    void waitForMenu(const Selection& selection) const {
        for (gint64 end = g_get_monotonic_time() + 30 * G_TIME_SPAN_SECOND; g_get_monotonic_time() < end;) {
            GList* found = items(selection);
            free(found);
            if (found) return;
            g_main_context_iteration(nullptr, FALSE);
            g_usleep(1000);
        }
        throw std::runtime_error("the menu did not come");
    }

private:
    FM_TYPE(MenuProvider) * provider_;
    FM_INTERFACE(MenuProvider) * methods_;
};

}  // namespace tobrel::testing
