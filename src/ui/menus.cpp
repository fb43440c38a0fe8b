#include "ui/menus.h"

#include <gdk/gdkkeysyms.h>

#include <cstdio>

#include "base/translated_text.h"
#include "side_function/Zev_right_side.h"
#include "side_function/clipboard.h"
#include "side_function/left_side.h"
#include "tree_view_op/file_list_view.h"
#include "ui/navigation.h"
#include "window/closing.h"
#include "window/dialogs/about_dialog.h"
#include "window/dialogs/dialog_parts.h"

namespace {

using relay_hub::fill_translated;
using relay_hub::translated;
using relay_hub::WindowWork;

constexpr about_info kAbout = {"V1.0.780.28", "Relay Hub ", "Relay Hub"};
constexpr gint kDialogSpacing = 12;

using ItemHandler = void (*)(GtkWidget* item, gpointer tree_view);

struct PopupItem {
    _popup_menu_switch bit;
    bool after_separator;
    const char* label;  // may hold the program name's "%s"
    ItemHandler handler;
    guint key;  // does the same in the list; 0 for none
    GdkModifierType modifiers;
};
constexpr auto kNone = static_cast<GdkModifierType>(0);
constexpr auto kControlShift = static_cast<GdkModifierType>(GDK_CONTROL_MASK | GDK_SHIFT_MASK);

// In menu order.
constexpr PopupItem kPopupItems[] = {
    {kMenuCopy, false, "IDS_MN_COPY", on_popup_menu_copy, GDK_KEY_c, GDK_CONTROL_MASK},
    {kMenuPaste, false, "IDS_MN_PASTE", on_popup_menu_paste, GDK_KEY_v, GDK_CONTROL_MASK},
    {kMenuDelete, false, "IDS_MN_DELETE", on_popup_menu_delete, GDK_KEY_Delete, kNone},
    {kMenuNewFolder, true, "IDS_TXT_NEWFOLDER", on_popup_menu_mkdir, GDK_KEY_n, kControlShift},
    {kMenuRename, true, "IDS_MN_RENAME", on_popup_menu_rename, GDK_KEY_F2, kNone},
    {kMenuRefresh, false, "IDS_REFRESH_ALIAS", on_popup_menu_refresh, GDK_KEY_F5, kNone},
    {kMenuAbout, true, "IDS_MENUITEM_ABOUT", on_popup_menu_about, 0, kNone},
};

GtkWidget* main_window() {
    return get_UI_sets()->main_window;
}

// The side whose list the item was opened over, null also while another action runs.
__single* free_side(gconstpointer tree_view) {
    __single* side = relay_hub::side_of(tree_view);
    return side != nullptr && tree_view == side->tree_view && !relay_hub::window_is_busy() ? side : nullptr;
}

using SideAction = int (*)(GtkWidget* item, gpointer data);

void act_on_side(GtkWidget* item, gpointer tree_view, SideAction local, SideAction remote) {
    const __single* side = free_side(tree_view);
    if (side == nullptr)
        return;
    const WindowWork work;
    const SideAction action = relay_hub::is_remote(side) ? remote : local;
    action(item, tree_view);
}

void unselect_all(const __single* side) {
    gtk_tree_selection_unselect_all(gtk_tree_view_get_selection(GTK_TREE_VIEW(side->tree_view)));
}

GtkWidget* new_confirmation() {
    GtkWidget* dialog = relay_hub::new_modal_dialog(main_window(), translated("IDS_CONFIRMATION"));
    gtk_dialog_add_buttons(GTK_DIALOG(dialog), GTK_STOCK_OK, GTK_RESPONSE_ACCEPT, GTK_STOCK_CANCEL,
                           GTK_RESPONSE_REJECT, nullptr);
    gtk_window_set_deletable(GTK_WINDOW(dialog), FALSE);
    gtk_window_unmaximize(GTK_WINDOW(dialog));
    gtk_window_set_resizable(GTK_WINDOW(dialog), FALSE);
    const std::string question =
        fill_translated("IDS_MSG_CONFIRM_DEL_SELETCED_ITEM", {translated("IDS_TRASH_ALIAS")});
    GtkWidget* label = gtk_label_new(question.c_str());
    gtk_misc_set_padding(GTK_MISC(label), kDialogSpacing, kDialogSpacing);
    gtk_container_add(GTK_CONTAINER(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), label);
    gtk_widget_show(label);
    return dialog;
}

bool deletion_confirmed() {
    GtkWidget* dialog = new_confirmation();
    const int response = relay_hub::run_dialog(GTK_DIALOG(dialog));
    gtk_widget_destroy(dialog);
    if (response == GTK_RESPONSE_ACCEPT) {
        std::puts("GTK_RESPONSE_ACCEPT");
        return true;
    }
    std::printf("result:%d\n", response);
    return false;
}

// The letters that choose an item of one menu: of each label the first one that no item before has taken.
// Letters of scripts that are written with an input method cannot be pressed and stay unmarked.
class Mnemonics {
  public:
    std::string mark(const std::string& label) {
        std::string marked;
        bool found = false;
        for (const char* at = label.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
            const char32_t letter = g_unichar_tolower(g_utf8_get_char(at));
            if (!found && g_unichar_isalpha(letter) && !g_unichar_iswide(letter) &&
                taken_.find(letter) == taken_.npos) {
                found = true;
                taken_ += letter;
                marked += '_';
            }
            marked.append(*at == '_' ? "_" : "")
                .append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
        }
        return marked;
    }

  private:
    std::u32string taken_;
};

// keys only lets the items show their keys: the lists act on them.
void append_item(GtkWidget* menu, const PopupItem& row, Mnemonics& mnemonics, GtkAccelGroup* keys,
                 GtkWidget* tree_view) {
    if (row.after_separator)
        gtk_menu_shell_append(GTK_MENU_SHELL(menu), gtk_separator_menu_item_new());
    const std::string label = mnemonics.mark(fill_translated(row.label, {relay_hub::kProgramName}));
    GtkWidget* item = gtk_menu_item_new_with_mnemonic(label.c_str());
    if (row.key != 0)
        gtk_widget_add_accelerator(item, "activate", keys, row.key, row.modifiers, GTK_ACCEL_VISIBLE);
    g_signal_connect(item, "activate", G_CALLBACK(row.handler), tree_view);
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
}

// From the keyboard the menu opens below the cursor's row while that shows, else at the list's corner.
void place_at_cursor(GtkMenu*, gint* x, gint* y, gboolean* push_in, gpointer data) {
    GtkTreeView* tree_view = GTK_TREE_VIEW(data);
    GdkWindow* rows = gtk_tree_view_get_bin_window(tree_view);
    gdk_window_get_origin(rows, x, y);
    *push_in = TRUE;
    GtkTreePath* path = nullptr;
    gtk_tree_view_get_cursor(tree_view, &path, nullptr);
    if (path == nullptr)
        return;
    GdkRectangle cell{};
    gtk_tree_view_get_cell_area(tree_view, path, gtk_tree_view_get_column(tree_view, 0), &cell);
    gtk_tree_path_free(path);
    const int below = cell.y + cell.height;
    if (below > 0 && below < gdk_window_get_height(rows))
        *y += below;
}

}  // namespace

GtkWidget* new_menu_bar(UI*) {
    GtkWidget* bar = gtk_menu_bar_new();
    gtk_menu_shell_append(GTK_MENU_SHELL(bar), gtk_menu_item_new_with_label("File"));
    return bar;
}

int show_opoup_menu(GtkWidget*) {
    return 0;
}

GtkWidget* new_popup_menu(GtkWidget* tree_view, GdkEventButton* event, _popup_menu_switch items, gpointer) {
    GtkWidget* menu = gtk_menu_new();
    GtkAccelGroup* keys = gtk_accel_group_new();
    g_object_set_data_full(G_OBJECT(menu), "relay-hub-keys", keys, g_object_unref);
    Mnemonics mnemonics;
    for (const PopupItem& row : kPopupItems) {
        if ((items & row.bit) != 0)
            append_item(menu, row, mnemonics, keys, tree_view);
    }
    gtk_menu_attach_to_widget(GTK_MENU(menu), tree_view, nullptr);
    g_signal_connect(menu, "selection-done", G_CALLBACK(gtk_widget_destroy), nullptr);
    gtk_widget_show_all(menu);
    gtk_menu_popup(GTK_MENU(menu), nullptr, nullptr, event != nullptr ? nullptr : place_at_cursor, tree_view,
                   event != nullptr ? event->button : 0,
                   event != nullptr ? event->time : gtk_get_current_event_time());
    // While another program holds the pointer no menu opens; choosing an item of it all the same would take
    // every key and click away from the window.
    if (gtk_widget_get_mapped(menu) == FALSE) {
        gtk_widget_destroy(menu);
        return nullptr;
    }
    if (event == nullptr)
        gtk_menu_shell_select_first(GTK_MENU_SHELL(menu), FALSE);
    return menu;
}

void on_popup_menu_copy(GtkWidget* item, gpointer tree_view) {
    std::puts("copy!");
    const __single* side = free_side(tree_view);
    if (side == nullptr)
        return;
    set_old_copy_path(relay_hub::current_folder(side));
    if (relay_hub::is_remote(side))
        std::puts("right_popup_menu_copy");
    act_on_side(item, tree_view, left_popup_menu_copy, right_popup_menu_copy);
}

void on_popup_menu_paste(GtkWidget* item, gpointer tree_view) {
    std::puts("paste!");
    const __single* side = free_side(tree_view);
    if (side == nullptr)
        return;
    act_on_side(item, tree_view, left_popup_menu_paste, right_popup_menu_paste);
    (void)std::fputs("clean tree view\n", stderr);
    unselect_all(relay_hub::other_side(side));
}

void on_popup_menu_delete(GtkWidget* item, gpointer tree_view) {
    std::puts("delete!");
    const __single* side = free_side(tree_view);
    if (side == nullptr || relay_hub::selected_names(side->tree_view).empty())
        return;
    {
        const WindowWork work;
        if (!deletion_confirmed())
            return;
    }
    act_on_side(item, tree_view, left_popup_menu_delete, right_popup_menu_delete);
}

void on_popup_menu_mkdir(GtkWidget* item, gpointer tree_view) {
    std::puts(__func__);
    act_on_side(item, tree_view, left_popup_menu_mkdir, right_popup_menu_mkdir);
}

void on_popup_menu_rename(GtkWidget* item, gpointer tree_view) {
    std::puts(__func__);
    act_on_side(item, tree_view, left_popup_menu_rename, right_popup_menu_rename);
}

void on_popup_menu_refresh(GtkWidget* item, gpointer tree_view) {
    std::puts(__func__);
    act_on_side(item, tree_view, left_popup_menu_refresh, [](GtkWidget*, gpointer) {
        relay_hub::reload_remote_folder();
        return 0;
    });
}

void on_popup_menu_about(GtkWidget*, gpointer) {
    std::puts(__func__);
    if (relay_hub::window_is_busy())
        return;
    const WindowWork work;
    new_about_dialog(main_window(), &kAbout);
}

namespace relay_hub {

_popup_menu_switch offered_items(const GtkWidget* tree_view) {
    const bool pasteable =
        tree_view != g_p_tree_view && (g_copy_source != kNothingCopied || clipboard_offers_files());
    const int items = pasteable ? -1 : -1 - kMenuPaste;
    return static_cast<_popup_menu_switch>(items);
}

}  // namespace relay_hub
