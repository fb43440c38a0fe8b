#pragma once
// The context menu of both lists, and what its items do. An item is given the list it was opened over and
// acts on that list's side; on any other widget it does nothing. Window's thread, GDK lock held.
#include <gtk/gtk.h>

#include <cstdint>

#include "window/ui_sets.h"

// Which items a menu has, one bit each.
using _popup_menu_switch = std::uint8_t;
inline constexpr _popup_menu_switch kMenuCopy = 1;
inline constexpr _popup_menu_switch kMenuPaste = 4;
inline constexpr _popup_menu_switch kMenuDelete = 8;
inline constexpr _popup_menu_switch kMenuRename = 16;
inline constexpr _popup_menu_switch kMenuNewFolder = 32;
inline constexpr _popup_menu_switch kMenuRefresh = 64;
inline constexpr _popup_menu_switch kMenuAbout = 128;

// A menu bar with the one item "File". The window has no menu bar: it is not packed anywhere.
GtkWidget* new_menu_bar(UI* interface);
int show_opoup_menu(GtkWidget* widget);
// Builds the menu, shows it and pops it up for the event; a null event stands for the keyboard. The menu
// destroys itself once the user has chosen or left it. Null when another program holds pointer or keyboard.
GtkWidget* new_popup_menu(GtkWidget* tree_view, GdkEventButton* event, _popup_menu_switch items,
                          gpointer data);

void on_popup_menu_copy(GtkWidget* item, gpointer tree_view);
void on_popup_menu_paste(GtkWidget* item, gpointer tree_view);
void on_popup_menu_delete(GtkWidget* item, gpointer tree_view);
void on_popup_menu_mkdir(GtkWidget* item, gpointer tree_view);
void on_popup_menu_rename(GtkWidget* item, gpointer tree_view);
void on_popup_menu_refresh(GtkWidget* item, gpointer tree_view);
void on_popup_menu_about(GtkWidget* item, gpointer tree_view);

namespace relay_hub {

// The items that a list offers now: all, or all but Paste when nothing can be pasted there.
_popup_menu_switch offered_items(const GtkWidget* tree_view);

}  // namespace relay_hub
