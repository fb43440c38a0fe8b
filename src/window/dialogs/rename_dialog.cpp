#include "window/dialogs/rename_dialog.h"

#include <cstdio>
#include <memory>

#include "base/glib_owners.h"
#include "base/path_text.h"
#include "base/shown_text.h"
#include "base/translated_text.h"
#include "tree_view_op/row_store.h"
#include "window/dialogs/message_dialog.h"

using relay_hub::base_name;
using relay_hub::shown_text;
using relay_hub::translated;

namespace {

constexpr std::string& old_name = relay_hub::name_prompts.old_name;
constexpr std::string& new_name = relay_hub::name_prompts.new_name;
constexpr std::string& base_path = relay_hub::name_prompts.base_path;
constexpr int& g_iside = relay_hub::name_prompts.side;
constexpr GtkWidget*& g_treeview = relay_hub::name_prompts.tree_view;

// The bytes that the entry stands for: the old name's own as long as its text was not changed.
std::string entered_name(const _rename_dialog& record) {
    const char* text = gtk_entry_get_text(GTK_ENTRY(record.entry));
    const std::string current = base_name(old_name);
    return shown_text(current) == text ? current : text;
}

void refuse(const _rename_dialog& record, const std::string& message) {
    relay_hub::show_error_box(record.dialog, GTK_BUTTONS_OK, message);
    gtk_widget_grab_focus(record.entry);
}

void refuse_slash(const _rename_dialog& record) {
    refuse(record, relay_hub::fill_translated("IDS_MSG_ERR_FAIL_TO_RENAME_FILE",
                                              {shown_text(old_name), translated("IDS_ERROR_SLASHES")}));
}

void refuse_duplicate(const _rename_dialog& record) {
    refuse(record, relay_hub::fill_translated("IDS_MSG_ERR_FAIL_ADD_SAME_FILE", {shown_text(old_name)}));
}

void accept(const _rename_dialog& record, const std::string& name) {
    new_name = name;
    gtk_dialog_response(GTK_DIALOG(record.dialog), GTK_RESPONSE_OK);
}

bool has_other_entry(GDir* folder, const std::string& name) {
    while (const char* entry = g_dir_read_name(folder))
        if (old_name != entry && name == entry)
            return true;
    return false;
}

void check_local(GtkButton*, gpointer data) {
    const auto& record = *static_cast<const _rename_dialog*>(data);
    const std::string name = entered_name(record);
    if (name.find('/') != std::string::npos)
        return refuse_slash(record);
    GError* failure = nullptr;
    const relay_hub::GDirPtr folder(g_dir_open(base_path.c_str(), 0, &failure));
    if (folder == nullptr) {
        const relay_hub::GErrorPtr owner(failure);
        std::printf("g_dir_open() fail: [%s]\n", owner->message);
        return;
    }
    if (has_other_entry(folder.get(), name))
        return refuse_duplicate(record);
    accept(record, name);
}

// The pane's rows, null when there are none.
GtkTreeModel* listed_rows() {
    return g_treeview != nullptr ? gtk_tree_view_get_model(GTK_TREE_VIEW(g_treeview)) : nullptr;
}

bool has_other_row(const std::string& name) {
    return name != ".." && name != old_name && relay_hub::find_row_named(listed_rows(), name);
}

void check_remote(GtkButton*, gpointer data) {
    const auto& record = *static_cast<const _rename_dialog*>(data);
    const std::string name = entered_name(record);
    const bool drive_path = base_path.size() > 1 && base_path[1] == ':';
    if (!drive_path && name.find('/') != std::string::npos)
        return refuse_slash(record);
    if (has_other_row(name))
        return refuse_duplicate(record);
    accept(record, name);
}

// As the list shows it: the stem of a folder's name is all of it.
bool names_a_file(const std::string& name) {
    std::optional<GtkTreeIter> row = relay_hub::find_row_named(listed_rows(), name);
    return row && relay_hub::row_text(listed_rows(), &*row, kColumnKind) == kKindFile;
}

// What stands before the last dot is what a new name usually changes.
void select_stem(GtkEntry* entry) {
    const std::string text = gtk_entry_get_text(entry);
    const std::size_t dot = text.rfind('.');
    if (dot != std::string::npos && dot > 0)
        gtk_editable_select_region(GTK_EDITABLE(entry), 0,
                                   static_cast<gint>(g_utf8_strlen(text.c_str(), static_cast<gssize>(dot))));
}

void fill_entry(GtkWidget*, gpointer entry) {
    gtk_entry_set_text(GTK_ENTRY(entry), shown_text(base_name(old_name)).c_str());
    gtk_widget_grab_focus(GTK_WIDGET(entry));
    if (names_a_file(base_name(old_name)))
        select_stem(GTK_ENTRY(entry));
}

}  // namespace

_rename_dialog* create_rename_dialog() {
    new_name.clear();
    return std::make_unique<_rename_dialog>().release();
}

void set_rename_dialog_oldname(const char* old_text, const char* new_text, const char* base, int is_remote,
                               GtkWidget* tree_view) {
    if (old_text != nullptr)
        old_name = old_text;
    if (new_text != nullptr)
        new_name = new_text;
    if (base != nullptr)
        base_path = base;
    g_iside = is_remote;
    g_treeview = tree_view;
}

void set_rename_dialog_old_name(const char* path, GtkWidget* tree_view) {
    base_path =
        g_file_test(path, G_FILE_TEST_IS_DIR) ? std::string(path) + "/.." : relay_hub::parent_path(path);
    old_name = base_name(path);
    g_treeview = tree_view;
    std::printf("old_name: %s\t base_path: %s\n%s\n", old_name.c_str(), base_path.c_str(), path);
}

void init_rename_dialog(_rename_dialog* record) {
    *record = relay_hub::new_name_prompt(translated("IDS_MN_RENAME"), translated("IDS_NEW_NAME"));
    g_signal_connect(record->ok_button, "clicked", G_CALLBACK(g_iside != 0 ? check_remote : check_local),
                     record);
    g_signal_connect(record->dialog, "show", G_CALLBACK(fill_entry), record->entry);
}

void show_rename_dialog(_rename_dialog* record) {
    if (!relay_hub::run_name_prompt(*record))
        new_name.clear();
}

void get_rename_dialog_new_name(std::string& out) {
    out = new_name;
}

void destroy_rename_dialog(_rename_dialog* record) {
    relay_hub::destroy_name_prompt(record);
}

std::string relay_hub::ask_new_name(const std::string& old, const std::string& folder, bool is_remote,
                                    GtkWidget* list) {
    _rename_dialog* const dialog = create_rename_dialog();
    set_rename_dialog_oldname(old.c_str(), "", folder.c_str(), is_remote ? 1 : 0, list);
    init_rename_dialog(dialog);
    show_rename_dialog(dialog);
    destroy_rename_dialog(dialog);
    return new_name;
}
