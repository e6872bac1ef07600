#pragma once

// How one file manager calls what all of them have: the build says which by TOBREL_NAUTILUS, TOBREL_NEMO, TOBREL_CAJA
// or TOBREL_THUNAR.
#include <gio/gio.h>
#include <gmodule.h>

extern "C" {
#if defined(TOBREL_NAUTILUS)
#include <nautilus-extension.h>
#define FM_FUNCTION(name) nautilus_##name
#define FM_TYPE(name) Nautilus##name
#define FM_PROVIDER_TYPE NAUTILUS_TYPE_MENU_PROVIDER
#define FM_ENTRY_PREFIX "nautilus_module_"
#define FM_ENTRY(name) nautilus_module_##name
#elif defined(TOBREL_NEMO)
#include <libnemo-extension/nemo-menu-provider.h>
#define FM_FUNCTION(name) nemo_##name
#define FM_TYPE(name) Nemo##name
#define FM_PROVIDER_TYPE NEMO_TYPE_MENU_PROVIDER
#define FM_ENTRY_PREFIX "nemo_module_"
#define FM_ENTRY(name) nemo_module_##name
#elif defined(TOBREL_CAJA)
#include <libcaja-extension/caja-menu-provider.h>
#define FM_FUNCTION(name) caja_##name
#define FM_TYPE(name) Caja##name
#define FM_PROVIDER_TYPE CAJA_TYPE_MENU_PROVIDER
#define FM_ENTRY_PREFIX "caja_module_"
#define FM_ENTRY(name) caja_module_##name
#elif defined(TOBREL_THUNAR)
#include <thunarx/thunarx.h>
#define FM_FUNCTION(name) thunarx_##name
#define FM_TYPE(name) Thunarx##name
#define FM_PROVIDER_TYPE THUNARX_TYPE_MENU_PROVIDER
#define FM_ENTRY_PREFIX "thunar_extension_"
#define FM_ENTRY(name) thunar_extension_##name
#endif
}

#if defined(TOBREL_NAUTILUS) || defined(TOBREL_NEMO)
#define FM_INTERFACE(name) FM_TYPE(name##Interface)
#else
#define FM_INTERFACE(name) FM_TYPE(name##Iface)
#endif

#if defined(TOBREL_NAUTILUS)
#define FM_WINDOW
#else
#define FM_WINDOW GtkWidget*,
#endif

#if defined(TOBREL_THUNAR)
#define FM_MODULE ThunarxProviderPlugin
#define FM_ITEMS_METHOD get_file_menu_items
#define FM_SUBMENU thunarx_menu_item_set_menu
#else
#define FM_MODULE GTypeModule
#define FM_ITEMS_METHOD get_file_items
#define FM_SUBMENU FM_FUNCTION(menu_item_set_submenu)
#endif
